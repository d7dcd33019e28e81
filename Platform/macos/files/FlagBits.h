// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Flags of items (st_flags) as a Mac numbers them, for what is decided by them on every system.
namespace qm::macos {

inline constexpr std::uint32_t kUserImmutable = 0x00000002;
inline constexpr std::uint32_t kUserAppend = 0x00000004;
inline constexpr std::uint32_t kSystemImmutable = 0x00020000;
inline constexpr std::uint32_t kSystemAppend = 0x00040000;
inline constexpr std::uint32_t kRestricted = 0x00080000;
inline constexpr std::uint32_t kNoUnlink = 0x00100000;

/// Nobody changes an item with any of these.
inline constexpr std::uint32_t kLocked = kUserImmutable | kUserAppend | kSystemImmutable | kSystemAppend;

}  // namespace qm::macos
