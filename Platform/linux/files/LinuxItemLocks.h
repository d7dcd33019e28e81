#pragma once

#include <optional>
#include <string>

#include "Platform/ItemLocks.h"

namespace qm::linux_ {

/// The lock is the inode's immutable attribute, which only an administrator may change. A file system
/// without that attribute holds nothing locked. Only files and folders can be locked. Root follows no link to an item
/// that could have been planted by somebody with fewer rights.
class LinuxItemLocks : public platform::ItemLocks {
 public:
  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;
};

}  // namespace qm::linux_
