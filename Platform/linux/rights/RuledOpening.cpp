// SPDX-License-Identifier: MIT
#include "Platform/linux/rights/RuledOpening.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qm::linux_ {

using posix::UniqueFd;

UniqueFd openFolderByRules(const std::string& path, std::uint64_t rules) {
  open_how how{};
  how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  how.resolve = rules;
  return UniqueFd(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
}

}  // namespace qm::linux_
