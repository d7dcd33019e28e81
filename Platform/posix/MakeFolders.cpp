// SPDX-License-Identifier: MIT
#include "Platform/posix/MakeFolders.h"

#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

constexpr mode_t kNewFolderMode = S_IRWXU | S_IRWXG | S_IRWXO;  // minus the umask

bool leadsToFolder(const std::string& path) {
  struct stat attributes {};
  return ::stat(path.c_str(), &attributes) == 0 && S_ISDIR(attributes.st_mode);
}

int makeOne(const std::string& path) {
  if (::mkdir(path.c_str(), kNewFolderMode) == 0) return 0;
  const int error = errno;
  return error == EEXIST && leadsToFolder(path) ? 0 : error;
}

}  // namespace

int makeFolders(const std::string& path) {
  if (const int error = pathError(path)) return error;
  std::vector<std::string> missing{withoutTrailingSlashes(path)};
  while (!missing.empty()) {
    const int error = makeOne(missing.back());
    if (error == ENOENT && missing.back() != "/") {
      missing.push_back(folderOf(missing.back()));
    } else if (error != 0) {
      return error;
    } else {
      missing.pop_back();
    }
  }
  return 0;
}

}  // namespace qm::posix
