// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/ItemLocks.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// The immutable flag of the fake disk's items.
class FakeItemLocks : public platform::ItemLocks {
 public:
  FakeItemLocks(Calls& calls, FakeDisk& disk) : calls_(calls), disk_(disk) {}

  platform::Status setImmutable(const std::string& path, bool immutable) override {
    if (calls_.command("itemLocks.setImmutable", path, immutable)) return calls_.failure();
    return statusOf(disk_.setImmutable(path, immutable));
  }

  std::optional<bool> isImmutable(const std::string& path) const override {
    if (calls_.question("itemLocks.isImmutable", path)) return std::nullopt;
    return disk_.isImmutable(path);
  }

 private:
  Calls& calls_;
  FakeDisk& disk_;
};

}  // namespace qm::testing
