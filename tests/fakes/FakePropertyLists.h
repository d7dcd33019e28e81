// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "Platform/PropertyLists.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// Property lists by path, whatever is on the fake disk.
class FakePropertyLists : public platform::PropertyLists {
 public:
  explicit FakePropertyLists(Calls& calls) : calls_(calls) {}

  void set(const std::string& path, platform::PropertyList list) {
    const std::scoped_lock lock(mutex_);
    lists_[path] = std::move(list);
  }

  std::optional<platform::PropertyList> read(const std::string& path) const override {
    if (calls_.question("propertyLists.read", path)) return std::nullopt;
    const std::scoped_lock lock(mutex_);
    const auto list = lists_.find(path);
    if (list == lists_.end()) return std::nullopt;
    return list->second;
  }

 private:
  Calls& calls_;
  mutable std::mutex mutex_;
  std::map<std::string, platform::PropertyList> lists_;
};

}  // namespace qm::testing
