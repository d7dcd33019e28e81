// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/FileReferences.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// References to the fake disk's items. A reference follows its item when that is moved.
class FakeFileReferences : public platform::FileReferences {
 public:
  FakeFileReferences(Calls& calls, FakeDisk& disk) : calls_(calls), disk_(disk) {}

  platform::FileReference make(const std::string& path) const override {
    if (calls_.question("fileReferences.make", path)) return {};
    std::shared_ptr<DiskNode> item = disk_.item(path);
    return item ? platform::FileReference(std::make_shared<Item>(item)) : platform::FileReference();
  }

  std::optional<std::string> path(const platform::FileReference& reference) const override {
    if (calls_.question("fileReferences.path")) return std::nullopt;
    const DiskNode* item = itemOf(reference);
    return item == nullptr ? std::nullopt : disk_.pathOf(*item);
  }

  /// The item of a reference; null for an unfilled one.
  static DiskNode* itemOf(const platform::FileReference& reference) {
    const auto* item = dynamic_cast<const Item*>(reference.item());
    return item == nullptr ? nullptr : item->node.get();
  }

 private:
  struct Item : platform::ReferencedItem {
    explicit Item(std::shared_ptr<DiskNode> shared) : node(std::move(shared)) {}
    std::shared_ptr<DiskNode> node;
  };

  Calls& calls_;
  FakeDisk& disk_;
};

}  // namespace qm::testing
