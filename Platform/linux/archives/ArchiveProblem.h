#pragma once

#include <string>
#include <string_view>

#include "Platform/Status.h"

namespace qm::linux_ {

/// The longest name of an item in an archive that is written or unpacked. No call of the system takes a longer one.
inline constexpr std::size_t kLongestArchiveName = 4095;

/// A name from a disk or an archive for a line of text: control characters, which could end the line or steer a
/// terminal, are shown as "?".
std::string shownName(std::string_view name);

/// "name: Why." A failure with a system's error number, or with a sentence of its own.
platform::Status problemWith(std::string_view name, int error);
platform::Status problemWith(std::string_view name, const std::string& why);
/// The same, where the number tells what is in the item's place or on its way; a success for 0.
platform::Status problemInPlace(std::string_view name, int error);

}  // namespace qm::linux_
