// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/PropertyLists.h"

namespace qm::macos {

class MacPropertyLists final : public platform::PropertyLists {
 public:
  std::optional<platform::PropertyList> read(const std::string& path) const override;
};

/// Parses the bytes of a property list and returns its dictionary. Null if they are not a property list, or its root is
/// not a dictionary.
std::optional<platform::PropertyList> parsedPropertyList(const std::string& bytes);

}  // namespace qm::macos
