// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qm::foundation {

/// Any bytes as the text of a URL path: letters, digits, "-", "_", ".", "~" and "/" are kept, everything else is
/// written as "%XX".
std::string percentEncoded(std::string_view bytes);

/// The inverse of `percentEncoded`. Whatever is not an escape is kept.
std::string percentDecoded(std::string_view text);

}  // namespace qm::foundation
