// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/HelperPolicy.h"

/// What the uninstaller's administrator rights allow: to move one of the product's items from its path in the table to
/// the user's own Trash, or to remove the maker's folder if nothing but empty folders and housekeeping files is left in
/// it. Nothing else.
class RemovalPolicy : public qm::linux_::HelperPolicy {
 public:
  using HelperPolicy::HelperPolicy;

  qm::linux_::PreparedWork prepare(const qm::linux_::Launch& launch,
                                   const qm::linux_::UserRecord& person) const override;
};

/// The paths of a user's items, and of the maker's folder.
std::vector<std::string> productItemPaths(const qm::linux_::UserRecord& person);
std::string makersFolderPath(const qm::linux_::UserRecord& person);
