// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/Confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/rights/Writers.h"

namespace qm::linux_ {
namespace {

using Rights = unsigned long long;

constexpr int kVersionWithMoves = 2;
constexpr int kVersionWithTruncation = 3;
constexpr Rights kTruncate = 1ULL << 14U;  // newer than the headers of older systems

constexpr Rights kRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr Rights kEverything =
    kRead | LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
    LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR |
    LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
    LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM | LANDLOCK_ACCESS_FS_REFER;
// The rights that a rule for a single file may contain.
constexpr Rights kOfFiles =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate;

int version() {
  return static_cast<int>(::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}

Rights handledRights() { return version() >= kVersionWithTruncation ? kEverything | kTruncate : kEverything; }

}  // namespace

bool Confinement::isAvailable() { return version() >= kVersionWithMoves; }

Confinement::Confinement() {
  if (!isAvailable()) return;
  const landlock_ruleset_attr attributes{.handled_access_fs = handledRights()};
  rules_.reset(static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
  if (!rules_) error_ = errno;
}

void Confinement::allowAll(int folder) { add(folder, handledRights()); }

void Confinement::allowReading(int item) { add(item, kRead); }

void Confinement::add(int item, unsigned long long rights) {
  if (!rules_) return;
  const auto status = statusOf(item);
  const bool isFolder = status && S_ISDIR(status->st_mode);
  const Rights allowed = isFolder ? rights : rights & kOfFiles;
  const landlock_path_beneath_attr rule{.allowed_access = allowed & handledRights(), .parent_fd = item};
  if (::syscall(SYS_landlock_add_rule, rules_.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0) error_ = errno;
}

int Confinement::enforce() const {
  if (!isAvailable()) return 0;
  if (!rules_ || error_ != 0) return error_ != 0 ? error_ : EPERM;
  return ::syscall(SYS_landlock_restrict_self, rules_.get(), 0) == 0 ? 0 : errno;
}

}  // namespace qm::linux_
