// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "Platform/Packages.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Strings.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// Folders of the fake disk that end in .app, .bundle, .framework, .plugin, .kext or .pkg, or contain
/// Contents/Info.plist, and whatever the test declares to be one.
class FakePackages : public platform::Packages {
 public:
  FakePackages(Calls& calls, FakeDisk& disk) : calls_(calls), disk_(disk) {}

  /// The result for a path from now on.
  void set(const std::string& path, bool isPackage) {
    const std::scoped_lock lock(mutex_);
    answers_[path] = isPackage;
  }

  bool isFilePackage(const std::string& path) const override {
    if (calls_.question("packages.isFilePackage", path)) return false;
    const std::scoped_lock lock(mutex_);
    const auto answer = answers_.find(path);
    return answer == answers_.end() ? looksLikePackage(path) : answer->second;
  }

 private:
  bool looksLikePackage(const std::string& path) const {
    static constexpr std::array<std::string_view, 6> known = {"app", "bundle", "framework", "plugin", "kext", "pkg"};
    if (!disk_.isDirectory(path)) return false;
    const std::string extension = foundation::lowercaseString(foundation::pathExtension(path));
    return std::find(known.begin(), known.end(), extension) != known.end() ||
           disk_.exists(foundation::appendingPathComponent(path, "Contents/Info.plist"));
  }

  Calls& calls_;
  FakeDisk& disk_;
  mutable std::mutex mutex_;
  std::map<std::string, bool> answers_;
};

}  // namespace qm::testing
