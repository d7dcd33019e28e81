// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <utility>

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::linux_ {

/// Allows any program. The helper itself does the work of the five file tools, and hands over an item that is moved to
/// the user's Trash.
class AnyToolPolicy : public HelperPolicy {
 public:
  /// Without a command line any launch is allowed; with one, only this one.
  explicit AnyToolPolicy(const platform::ProductIdentity& product, std::optional<Launch> only = std::nullopt)
      : HelperPolicy(product), only_(std::move(only)) {}

  PreparedWork prepare(const Launch& launch, const UserRecord& person) const override;
  bool servesOnce() const override { return only_.has_value(); }

 private:
  const std::optional<Launch> only_;
};

}  // namespace qm::linux_
