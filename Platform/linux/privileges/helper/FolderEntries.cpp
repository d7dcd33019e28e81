#include "Platform/linux/privileges/helper/FolderEntries.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

struct CloseListing {
  void operator()(DIR* listing) const { ::closedir(listing); }
};
using Listing = std::unique_ptr<DIR, CloseListing>;

Listing openListing(int folder) {
  UniqueFd own(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!own) return nullptr;
  Listing listing(::fdopendir(own.get()));
  if (listing) static_cast<void>(own.release());  // closed with the listing
  return listing;
}

}  // namespace

UniqueFd openFolderIn(int parent, const std::string& name) {
  open_how how{};
  how.flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
  return UniqueFd(static_cast<int>(::syscall(SYS_openat2, parent, name.c_str(), &how, sizeof how)));
}

int forEachEntry(int folder, const std::function<int(int, const std::string&)>& visit) {
  const Listing listing = openListing(folder);
  if (!listing) return errno;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(listing.get());
    if (entry == nullptr) return errno;
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (const int error = visit(::dirfd(listing.get()), name); error != 0) return error;
  }
}

std::string shownPath(int fd) {
  std::array<char, PATH_MAX> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
  if (length <= 0 || path[0] != '/') return {};
  return {path.data(), static_cast<std::size_t>(length)};
}

}  // namespace qm::linux_
