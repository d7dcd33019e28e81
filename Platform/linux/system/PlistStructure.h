// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace qm::linux_ {

/// Whether the first bytes are those of a binary property list.
bool isBinaryPropertyList(std::string_view bytes);

/// Whether the tables and objects of a binary property list lie inside it, its containers do not contain themselves,
/// its keys are texts without a NUL character, and it expands to a bounded number of objects.
bool hasSoundBinaryStructure(std::string_view bytes);

/// Whether a text has no NUL byte and opens a bounded number of containers. It may still be malformed.
bool hasModestTextStructure(std::string_view text);

}  // namespace qm::linux_
