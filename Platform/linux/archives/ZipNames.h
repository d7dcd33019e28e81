// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace qm::linux_ {

/// What the directory at the end of a zip archive says about the names in it.
struct ZipNames {
  /// The positions of the bytes that contain the flag "this name is UTF-8", in ascending order.
  std::vector<std::uint64_t> utf8Marks;
  /// Whether a name in the directory has a NUL byte: a reader that stops there would take it for another name.
  bool holdNul = false;
  /// True for a valid empty archive: an end-of-central-directory record with zero entries and no data before it.
  bool isEmpty = false;
  /// The number of items in the directory, and whether the end record states the same.
  std::uint64_t items = 0;
  bool isComplete = false;
};

/// The bit of the flag "this name is UTF-8" in its byte.
inline constexpr unsigned char kUtf8Mark = 0x08;

/// Reads the directory of an archive that is open for reading. Returns what was found before the first error, which the
/// reader of the archive will report.
ZipNames readZipNames(int archive);

}  // namespace qm::linux_
