// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "Platform/Status.h"

namespace qm::linux_ {

/// The longest name of an item in an archive that is written or unpacked. No system call accepts a longer one.
inline constexpr std::size_t kLongestArchiveName = 4095;

/// Makes a name from a disk or an archive fit for one line of text. Control characters, which could end the line or
/// control a terminal, are shown as "?".
std::string shownName(std::string_view name);

/// A failure with the message "name: why", without a full stop. `error` is the system's number, whose text is the
/// reason; or `why` is the reason itself.
platform::Status problemWith(std::string_view name, int error);
platform::Status problemWith(std::string_view name, const std::string& why);
/// The same for an error of opening or creating the item: some numbers get a sentence about what is in the way. 0 gives
/// a success.
platform::Status problemInPlace(std::string_view name, int error);

}  // namespace qm::linux_
