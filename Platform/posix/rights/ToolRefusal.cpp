// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/ToolRefusal.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>

#include "Platform/foundation/PathComponents.h"
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

/// Finds a folder that the tool goes into although others than root can change something in it or below it. Returns the
/// first such path of `paths`; "" if there is none. Only root can redirect these paths.
std::string treeThatOthersChange(const std::string& tool, const std::vector<std::string>& arguments,
                                 const std::vector<std::string>& paths) {
  const auto found = std::ranges::find_if(
      paths, [&](const std::string& path) { return goesInto(tool, arguments, path) && othersWriteBelow(path); });
  return found == paths.end() ? std::string() : *found;
}

/// Whether every argument of the tool that is not an option is a path, even a relative one. Such a path must be among
/// those that are checked: who can redirect it cannot be determined, so the tool is refused.
bool takesPathsOnly(const std::string& tool) {
  constexpr const char* kTools[] = {"/bin/cp", "/bin/mkdir", "/bin/mv", "/bin/rm", "/usr/bin/ditto", "/usr/bin/touch"};
  return std::ranges::find(kTools, tool) != std::end(kTools);
}

bool isPath(const std::string& argument) { return argument.starts_with('/'); }
bool isNoOption(const std::string& argument) { return !argument.starts_with('-'); }

bool isLed(const std::string& path) { return !writersOfPath(path).none(); }

bool isFolder(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

/// Whether the tool puts its items into the destination instead of in its place.
bool putsIntoFolder(const std::string& tool, const std::string& destination) {
  return (tool == "/bin/cp" || tool == "/bin/mv") && isFolder(destination);
}

/// All paths that the tool may use. They include the path that each item of a copy or move would get if the destination
/// is an existing folder. If the destination is no folder now, nobody but root can put a folder there later: the
/// destination is checked as well.
std::vector<std::string> pathsOf(const std::string& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> paths;
  std::ranges::copy_if(arguments, std::back_inserter(paths), takesPathsOnly(tool) ? isNoOption : isPath);
  if (paths.size() < 2 || !putsIntoFolder(tool, paths.back())) return paths;
  const std::size_t sources = paths.size() - 1;
  const std::string destination = paths.back();
  for (std::size_t i = 0; i < sources; ++i) {
    const std::string name = foundation::lastPathComponent(paths[i]);
    paths.push_back(foundation::appendingPathComponent(destination, name));
  }
  return paths;
}

}  // namespace

std::string refusalForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const std::vector<std::string> paths = pathsOf(tool, arguments);
  const auto led = std::ranges::find_if(paths, isLed);
  if (led != paths.end()) return "others than root could lead the way to " + *led + " elsewhere";
  const std::string open = treeThatOthersChange(tool, arguments, paths);
  return open.empty() ? "" : "others than root can change what is in " + open;
}

}  // namespace qm::posix
