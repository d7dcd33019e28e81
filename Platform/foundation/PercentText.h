#pragma once

#include <string>
#include <string_view>

namespace qm::foundation {

/// Any bytes as the text of a URL path: letters, digits, "-", "_", ".", "~" and "/" stand for
/// themselves, everything else is written "%XX".
std::string percentEncoded(std::string_view bytes);

/// The bytes that `percentEncoded` was given. What is no escape stands for itself.
std::string percentDecoded(std::string_view text);

}  // namespace qm::foundation
