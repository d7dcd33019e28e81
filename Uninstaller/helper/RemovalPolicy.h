#pragma once

#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/HelperPolicy.h"

/// What the uninstaller's administrator rights are for: one of the product's items goes from where the table has it to
/// the person's own Trash, or the maker's folder is removed if nothing is left in it. Nothing else.
class RemovalPolicy : public qm::linux_::HelperPolicy {
 public:
  using HelperPolicy::HelperPolicy;

  qm::linux_::PreparedWork prepare(const qm::linux_::Launch& launch,
                                   const qm::linux_::UserRecord& person) const override;
};

/// Where the product's items of a person are, and the maker's folder.
std::vector<std::string> productItemPaths(const qm::linux_::UserRecord& person);
std::string makersFolderPath(const qm::linux_::UserRecord& person);
