// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace qm::appkit {

/// Whether a count takes the singular in a language of the catalogues (such as "fr"). In French 0 takes the singular,
/// too.
inline bool takesSingular(std::size_t count, std::string_view language) {
  return count == 1 || (count == 0 && language.starts_with("fr"));
}

}  // namespace qm::appkit
