// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

/// Flags of items (st_flags) with their numbers on a Mac. They are defined here so that the decisions about them can be
/// compiled and tested on every system.
namespace qm::macos {

inline constexpr std::uint32_t kNoDump = 0x00000001;
inline constexpr std::uint32_t kUserImmutable = 0x00000002;
inline constexpr std::uint32_t kUserAppend = 0x00000004;
inline constexpr std::uint32_t kOpaque = 0x00000008;
inline constexpr std::uint32_t kHidden = 0x00008000;
inline constexpr std::uint32_t kSystemImmutable = 0x00020000;
inline constexpr std::uint32_t kSystemAppend = 0x00040000;
inline constexpr std::uint32_t kRestricted = 0x00080000;
inline constexpr std::uint32_t kNoUnlink = 0x00100000;

/// An item with any of these flags cannot be renamed, removed or overwritten, whatever its permissions.
inline constexpr std::uint32_t kLocked = kUserImmutable | kUserAppend | kSystemImmutable | kSystemAppend;

/// The flags of a copy: those that the owner of an item may set. Flags that the file system itself maintains are not
/// copied.
inline std::uint32_t flagsOfCopy(std::uint32_t flags) {
  return flags & (kNoDump | kUserImmutable | kUserAppend | kOpaque | kHidden);
}

/// Whether the flags forbid to rename and remove the item. `flags` is null if there is no such item; then the answer is
/// no.
inline bool isProtectedBy(std::optional<std::uint32_t> flags) {
  return (flags.value_or(0) & (kLocked | kRestricted | kNoUnlink)) != 0;
}

}  // namespace qm::macos
