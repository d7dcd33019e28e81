// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/ToolTrees.h"

#include <sys/stat.h>

#include <algorithm>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/rights/PathWriters.h"

namespace qm::posix {
namespace {

bool isRecursion(const std::string& argument) {
  return argument.starts_with('-') && argument.find_first_of("Rr") != std::string::npos;
}

/// Whether an item gets to another volume if it is moved to the destination. True if that cannot be determined.
bool leavesItsVolume(const std::string& path, const std::string& destination) {
  struct stat item {};
  struct stat goal {};
  const bool isIntoFolder = ::stat(destination.c_str(), &goal) == 0 && S_ISDIR(goal.st_mode);
  const bool isKnown = isIntoFolder || ::stat(folderOf(destination).c_str(), &goal) == 0;
  return !isKnown || ::lstat(path.c_str(), &item) != 0 || item.st_dev != goal.st_dev;
}

bool goesInto(const std::string& tool, const std::vector<std::string>& arguments, const std::string& path) {
  if (tool == "/usr/bin/ditto") return true;
  if (tool == "/bin/rm") return std::ranges::any_of(arguments, isRecursion);
  const bool isDestination = path == arguments.back();
  if (tool == "/bin/cp") return !isDestination;
  return tool == "/bin/mv" && !isDestination && leavesItsVolume(path, arguments.back());
}

}  // namespace

std::string treeThatOthersChange(const std::string& tool, const std::vector<std::string>& arguments,
                                 const std::vector<std::string>& paths) {
  const auto found = std::ranges::find_if(
      paths, [&](const std::string& path) { return goesInto(tool, arguments, path) && othersWriteBelow(path); });
  return found == paths.end() ? std::string() : *found;
}

}  // namespace qm::posix
