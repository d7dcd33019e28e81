// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <cstdint>
#include <optional>

#include "Platform/FinderInformation.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeFileReferences.h"

namespace qm::testing {

/// The Finder flags of the fake disk's items. Recorded as "finderInformation.setFinderFlags(262)".
class FakeFinderInformation : public platform::FinderInformation {
 public:
  FakeFinderInformation(Calls& calls, FakeDisk& disk) : calls_(calls), disk_(disk) {}

  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override {
    if (calls_.question("finderInformation.finderFlags")) return std::nullopt;
    const DiskNode* item = FakeFileReferences::itemOf(reference);
    return item == nullptr ? std::nullopt : disk_.finderFlags(*item);
  }

  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override {
    if (calls_.command("finderInformation.setFinderFlags", static_cast<long long>(flags))) return calls_.failure();
    DiskNode* item = FakeFileReferences::itemOf(reference);
    return statusOf(item == nullptr ? ENOENT : disk_.setFinderFlags(*item, flags));
  }

 private:
  Calls& calls_;
  FakeDisk& disk_;
};

}  // namespace qm::testing
