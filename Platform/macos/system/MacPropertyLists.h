// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/PropertyLists.h"

namespace qm::macos {

class MacPropertyLists final : public platform::PropertyLists {
 public:
  std::optional<platform::PropertyList> read(const std::string& path) const override;
};

/// The dictionary in the bytes of a property list; null where they are none.
std::optional<platform::PropertyList> parsedPropertyList(const std::string& bytes);

}  // namespace qm::macos
