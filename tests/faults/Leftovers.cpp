// SPDX-License-Identifier: MIT
#include "tests/faults/Leftovers.h"

#include <sys/stat.h>

#include <algorithm>

#include "tests/privileges/LaunchMachine.h"

namespace qm::testing {
namespace {

bool isRootsAlone(const std::string& path) {
  struct stat found {};
  constexpr mode_t permissions = 0777;
  return ::lstat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == 0 &&
         (found.st_mode & permissions) == S_IRWXU;
}

}  // namespace

bool isLeftoverName(const std::string& name) { return name.starts_with(".tessaly-uninstaller-"); }

std::string shownName(const std::string& name) { return isLeftoverName(name) ? ".tessaly-uninstaller-..." : name; }

std::vector<std::string> othersIn(const std::string& folder, const std::vector<std::string>& known) {
  std::vector<std::string> names = namesIn(folder);
  std::erase_if(names, [&](const std::string& name) { return std::ranges::find(known, name) != known.end(); });
  return names;
}

std::string strayIn(const std::string& folder, const std::vector<std::string>& known) {
  for (const std::string& name : othersIn(folder, known)) {
    const std::string path = folder + "/" + name;
    if (!isLeftoverName(name)) return path + " is not expected";
    if (!isRootsAlone(path)) return folder + "/" + shownName(name) + " is not root's alone";
  }
  return {};
}

}  // namespace qm::testing
