// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/ItemLocks.h"

namespace qm::linux_ {

/// The lock is the inode's immutable attribute, which only an administrator may change. On a file system without that
/// attribute nothing is locked. Only files and folders can be locked. Root follows no link that a non-root user could
/// have planted.
class LinuxItemLocks : public platform::ItemLocks {
 public:
  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;
};

}  // namespace qm::linux_
