// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/PropertyLists.h"

namespace qm::linux_ {

/// Property lists of at most 1 MiB, read by libplist after a check of their structure. libplist recurses into nested
/// containers and follows shared references of the binary form once for each use, so a small file could exhaust the
/// stack or the memory. Links are followed.
class PlistPropertyLists : public platform::PropertyLists {
 public:
  std::optional<platform::PropertyList> read(const std::string& path) const override;
};

}  // namespace qm::linux_
