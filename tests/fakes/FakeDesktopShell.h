// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/DesktopShell.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeFileReferences.h"

namespace qm::testing {

/// A desktop that records what it receives. Recorded as "desktopShell.newMinimalAlias(/d)",
/// "desktopShell.sendUpdateEvent(/d)" and "desktopShell.registerApplication(/A.app)". It is listening unless told
/// otherwise, and accepts every folder as an application. Injected failures return fnfErr, procNotFound and
/// kLSUnknownErr.
class FakeDesktopShell : public platform::DesktopShell {
 public:
  FakeDesktopShell(Calls& calls, FakeDisk& disk) : calls_(calls), disk_(disk) {}

  /// Paths of the notices that were received, and of the applications that are registered.
  std::vector<std::string> notices() const { return copyOf(notices_); }
  std::vector<std::string> applications() const { return copyOf(applications_); }
  /// Whether somebody is listening from now on.
  void setListening(bool listening) {
    const std::scoped_lock lock(mutex_);
    listening_ = listening;
  }
  /// Aliases that were made and not released.
  long openAliases() const { return open_.use_count() - 1; }

  platform::OSStatus newMinimalAlias(const platform::FileReference& reference,
                                     std::unique_ptr<platform::Alias>* alias) override {
    const DiskNode* item = FakeFileReferences::itemOf(reference);
    const std::optional<std::string> path = item == nullptr ? std::nullopt : disk_.pathOf(*item);
    if (calls_.question("desktopShell.newMinimalAlias", path) || !path) return platform::fnfErr;
    *alias = std::make_unique<ItemAlias>(*path, open_);
    return platform::noErr;
  }

  platform::OSStatus sendUpdateEvent(const platform::Alias& alias) override {
    const auto& item = dynamic_cast<const ItemAlias&>(alias);
    if (calls_.command("desktopShell.sendUpdateEvent", item.path)) return platform::procNotFound;
    const std::scoped_lock lock(mutex_);
    if (!listening_) return platform::procNotFound;
    notices_.push_back(item.path);
    return platform::noErr;
  }

  platform::OSStatus registerApplication(const std::string& path) override {
    if (calls_.command("desktopShell.registerApplication", path)) return platform::kLSUnknownErr;
    if (!disk_.isDirectory(path)) return platform::kLSNotAnApplicationErr;
    const std::scoped_lock lock(mutex_);
    applications_.push_back(path);
    return platform::noErr;
  }

 private:
  struct ItemAlias : platform::Alias {
    ItemAlias(std::string at, std::shared_ptr<int> counted) : path(std::move(at)), count(std::move(counted)) {}
    std::string path;
    std::shared_ptr<int> count;
  };

  std::vector<std::string> copyOf(const std::vector<std::string>& list) const {
    const std::scoped_lock lock(mutex_);
    return list;
  }

  Calls& calls_;
  FakeDisk& disk_;
  mutable std::mutex mutex_;
  bool listening_ = true;
  std::vector<std::string> notices_;
  std::vector<std::string> applications_;
  std::shared_ptr<int> open_ = std::make_shared<int>(0);
};

}  // namespace qm::testing
