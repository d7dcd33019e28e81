// SPDX-License-Identifier: MIT
#include "Platform/posix/ItemPath.h"

#include <fcntl.h>

#include <climits>
#include <cstdlib>
#include <memory>

#include "Platform/foundation/Utf8.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {

int pathError(const std::string& path) {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) return EINVAL;
  return path.size() >= PATH_MAX ? ENAMETOOLONG : 0;
}

std::string withoutTrailingSlashes(const std::string& path) {
  const auto last = path.find_last_not_of('/');
  return last == std::string::npos ? path.substr(0, 1) : path.substr(0, last + 1);
}

std::string nameIn(const std::string& path) {
  const std::string item = withoutTrailingSlashes(path);
  return item == "/" ? item : item.substr(item.rfind('/') + 1);
}

std::string folderOf(const std::string& path) {
  const std::string item = withoutTrailingSlashes(path);
  const auto slash = item.rfind('/');
  return slash == std::string::npos ? std::string() : withoutTrailingSlashes(item.substr(0, slash + 1));
}

bool isDirectlyIn(const std::string& folder, const std::string& path) {
  const std::string name = nameIn(path);
  return name != "." && name != ".." && folderOf(path) == withoutTrailingSlashes(folder);
}

std::string resolvedTextPath(const std::string& path) {
  if (pathError(path) != 0) return "";
  const std::unique_ptr<char, decltype(&std::free)> found(::realpath(path.c_str(), nullptr), std::free);
  return found && foundation::isUtf8(found.get()) ? found.get() : "";
}

int openPlace(const std::string& path, Place& place) {
  if (const int error = pathError(path)) return error;
  place.name = nameIn(path);
  if (place.name == "/" || place.name == "." || place.name == "..") return EINVAL;
  place.folder.reset(::open(folderOf(path).c_str(), lookupFlag() | O_DIRECTORY | O_CLOEXEC));
  return errorOf(place.folder.get());
}

}  // namespace qm::posix
