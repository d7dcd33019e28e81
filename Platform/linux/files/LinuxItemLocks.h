#pragma once

#include <optional>
#include <string>

#include "Platform/ItemLocks.h"
#include "Platform/Users.h"

namespace qm::linux_ {

/// The lock is the inode's immutable attribute, which only an administrator may change. A file system
/// without that attribute holds nothing locked. Only files and folders can be locked. A process of root's changes it with
/// the rights of whoever could lead it astray (see `RightsForPaths`). The users outlive it.
class LinuxItemLocks : public platform::ItemLocks {
 public:
  explicit LinuxItemLocks(const platform::Users& users) : users_(users) {}

  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::linux_
