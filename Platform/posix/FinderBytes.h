// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <array>
#include <cerrno>
#include <cstdint>

namespace qm::posix {

/// The Finder information of an item, as its extended attribute stores it. Without the attribute all bytes are 0.
using FinderBytes = std::array<unsigned char, 32>;

// The position of the flags. The higher byte comes first, whatever the processor.
inline constexpr std::size_t kFinderFlags = 8;

inline std::uint16_t finderFlagsIn(const FinderBytes& bytes) {
  return static_cast<std::uint16_t>((bytes[kFinderFlags] << 8U) | bytes[kFinderFlags + 1]);
}

/// Reads the attribute. `get(bytes, size)` is the system's call: it returns the size of the attribute, or -1, with
/// `missing` in `errno` if there is none. Returns 0 or an error number; EINVAL for an attribute of another size.
template <class Get>
int readFinderBytes(Get get, FinderBytes& bytes, int missing = ENODATA) {
  bytes.fill(0);
  const ssize_t size = get(bytes.data(), bytes.size());
  if (size < 0) return errno == missing ? 0 : errno;
  return static_cast<std::size_t>(size) == bytes.size() ? 0 : EINVAL;
}

/// Changes the flags and nothing else. `set(bytes, size)` is the system's call, which returns 0 or -1; it is not called
/// if nothing would change. Returns 0 or an error number.
template <class Get, class Set>
int writeFinderFlags(Get get, Set set, std::uint16_t flags, int missing = ENODATA) {
  FinderBytes bytes{};
  if (const int error = readFinderBytes(get, bytes, missing)) return error;
  if (finderFlagsIn(bytes) == flags) return 0;
  bytes[kFinderFlags] = static_cast<unsigned char>(flags >> 8U);
  bytes[kFinderFlags + 1] = static_cast<unsigned char>(flags & 0xffU);
  return set(bytes.data(), bytes.size()) == 0 ? 0 : errno;
}

}  // namespace qm::posix
