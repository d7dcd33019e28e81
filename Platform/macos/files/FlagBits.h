// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Flags of items (st_flags) with their numbers on a Mac. They are defined here so that the decisions about them can be
/// compiled and tested on every system.
namespace qm::macos {

inline constexpr std::uint32_t kUserImmutable = 0x00000002;
inline constexpr std::uint32_t kUserAppend = 0x00000004;
inline constexpr std::uint32_t kSystemImmutable = 0x00020000;
inline constexpr std::uint32_t kSystemAppend = 0x00040000;
inline constexpr std::uint32_t kRestricted = 0x00080000;
inline constexpr std::uint32_t kNoUnlink = 0x00100000;

/// An item with any of these flags cannot be changed, whatever its permissions.
inline constexpr std::uint32_t kLocked = kUserImmutable | kUserAppend | kSystemImmutable | kSystemAppend;

}  // namespace qm::macos
