#pragma once

#include <optional>
#include <utility>

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::linux_ {

/// Any program. The five for files are done by the helper itself, and a move to the person's Trash hands the item over.
class AnyToolPolicy : public HelperPolicy {
 public:
  /// Without a command line any may be launched; with one, only this one.
  explicit AnyToolPolicy(const platform::ProductIdentity& product, std::optional<Launch> only = std::nullopt)
      : HelperPolicy(product), only_(std::move(only)) {}

  PreparedWork prepare(const Launch& launch, const UserRecord& person) const override;
  bool servesOnce() const override { return only_.has_value(); }

 private:
  const std::optional<Launch> only_;
};

}  // namespace qm::linux_
