#pragma once

#include <string_view>

namespace qm::linux_ {

/// The bytes are a binary property list by their first ones.
bool isBinaryPropertyList(std::string_view bytes);

/// A binary property list whose tables and objects lie inside it, whose containers do not contain themselves, whose
/// keys are texts without a NUL character, and which unfolds to a bounded number of objects.
bool hasSoundBinaryStructure(std::string_view bytes);

/// A text without a NUL byte that opens a bounded number of containers. Says nothing about being well-formed.
bool hasModestTextStructure(std::string_view text);

}  // namespace qm::linux_
