// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/FileReferences.h"

namespace qm::linux_ {

/// References by an open descriptor. Opening it takes no permission on the item itself, only search permission for the
/// folders on its way.
class LinuxFileReferences : public platform::FileReferences {
 public:
  platform::FileReference make(const std::string& path) const override;
  std::optional<std::string> path(const platform::FileReference& reference) const override;
};

}  // namespace qm::linux_
