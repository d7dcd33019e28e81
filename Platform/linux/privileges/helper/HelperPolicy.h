#pragma once

#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/linux/rights/UserDatabase.h"

namespace qm::linux_ {

/// What the rights of a helper are for. Each program that gets rights has one; what it does not name is refused.
class HelperPolicy {
 public:
  virtual ~HelperPolicy() = default;

  /// Checks a launch for `person` and makes it ready, or refuses it.
  virtual PreparedWork prepare(const Launch& launch, const UserRecord& person) const = 0;
  /// The rights end with the first launch.
  virtual bool servesOnce() const { return false; }
};

}  // namespace qm::linux_
