// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/SystemRefusal.h"

namespace qm::macos {
namespace {

unsigned flagsOf(const std::string& path) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 ? found.st_flags : 0;
}

}  // namespace

std::string systemRefusalAt(int error, const std::string& path) {
  return systemRefusal(error, {path, flagsOf(path), flagsOf(foundation::deletingLastPathComponent(path))});
}

}  // namespace qm::macos
