// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ProductIdentity.h"
#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/linux/rights/UserDatabase.h"

namespace qm::linux_ {

/// What the rights of a helper allow. Each program that gets rights has one; everything that it does not allow is
/// refused.
class HelperPolicy {
 public:
  /// `product` is the product of the helper, compiled into its program.
  explicit HelperPolicy(const platform::ProductIdentity& product) : product_(product) {}
  HelperPolicy(const HelperPolicy&) = delete;
  HelperPolicy& operator=(const HelperPolicy&) = delete;
  virtual ~HelperPolicy() = default;

  const platform::ProductIdentity& product() const { return product_; }
  /// Checks a launch for `person` and prepares it, or refuses it.
  virtual PreparedWork prepare(const Launch& launch, const UserRecord& person) const = 0;
  /// Whether the rights end with the first launch.
  virtual bool servesOnce() const { return false; }

 private:
  const platform::ProductIdentity product_;
};

}  // namespace qm::linux_
