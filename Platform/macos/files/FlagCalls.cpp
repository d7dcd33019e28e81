// SPDX-License-Identifier: MIT
#include "Platform/macos/files/FlagCalls.h"

#include <sys/attr.h>
#include <unistd.h>

#include "Platform/posix/FileError.h"

namespace qm::macos {

std::uint32_t flagsIn(const struct stat& item) { return item.st_flags; }

int changeFlags(int item, std::uint32_t flags) { return posix::errorOf(::fchflags(item, flags)); }

int changeFlagsByName(const posix::Place& place, std::uint32_t flags) {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_FLAGS;
  return posix::errorOf(
      ::setattrlistat(place.folder.get(), place.name.c_str(), &which, &flags, sizeof flags, FSOPT_NOFOLLOW));
}

}  // namespace qm::macos
