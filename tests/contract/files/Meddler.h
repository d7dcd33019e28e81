// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/posix/CopyObserver.h"

/// Changes things while they are copied, at a chosen moment.
namespace qm::testing {

/// Acts when an item's turn comes, or after a block.
class Meddler : public posix::CopyObserver {
 public:
  using OnItem = std::function<int(const std::string& path)>;
  using OnBytes = std::function<int(std::uint64_t count)>;
  explicit Meddler(OnItem onItem, OnBytes onBytes = {}) : onItem_(std::move(onItem)), onBytes_(std::move(onBytes)) {}

  int itemBegins(std::string_view folder, std::string_view name) override {
    return onItem_ ? onItem_(std::string(folder) + "/" + std::string(name)) : 0;
  }
  int bytesCopied(std::uint64_t count) override {
    bytes += count;
    return onBytes_ ? onBytes_(count) : 0;
  }
  void itemCopied() override { ++items; }

  std::uint64_t bytes = 0;
  std::uint64_t items = 0;

 private:
  OnItem onItem_;
  OnBytes onBytes_;
};

/// When the turn of this one item comes.
inline Meddler::OnItem at(const std::string& wanted, std::function<void()> action) {
  return [wanted, action = std::move(action)](const std::string& path) {
    if (path == wanted) action();
    return 0;
  };
}

/// After the first block.
inline Meddler::OnBytes afterTheFirst(std::function<void()> action) {
  return [action = std::move(action), done = false](std::uint64_t) mutable {
    if (!std::exchange(done, true)) action();
    return 0;
  };
}

}  // namespace qm::testing
