#pragma once

#include <cstdint>
#include <vector>

namespace qm::linux_ {

/// What the directory at the end of a zip archive says about the names in it.
struct ZipNames {
  /// Where the bytes are that hold the mark "this name is UTF-8", in ascending order.
  std::vector<std::uint64_t> utf8Marks;
  /// A name in the directory has a NUL byte, so that whoever reads it up to there takes it for another one.
  bool holdNul = false;
  /// There is the end of an archive that tells of nothing before it, and nothing is.
  bool areNone = false;
  /// How many items the directory has, and whether its end tells of as many.
  std::uint64_t items = 0;
  bool areAll = false;
};

/// The bit in such a byte.
inline constexpr unsigned char kUtf8Mark = 0x08;

/// Reads the directory of an archive that is open for reading. Answers what was found up to where it is no directory,
/// which is for the reader of the archive to tell.
ZipNames readZipNames(int archive);

}  // namespace qm::linux_
