#pragma once

#include <cstdint>
#include <vector>

namespace qm::linux_ {

/// What the directory at the end of a zip archive says about the names in it.
struct ZipNames {
  /// Where the bytes are that hold the mark "this name is UTF-8", in ascending order.
  std::vector<std::uint64_t> utf8Marks;
  /// A name has a NUL byte, so that whoever reads it up to there takes it for another one.
  bool holdNul = false;
  /// There is the end of an archive and nothing before it.
  bool areNone = false;
};

/// The bit in such a byte.
inline constexpr unsigned char kUtf8Mark = 0x08;

/// Reads the directory of an archive that is open for reading. Answers what was found up to where it is no directory,
/// which is for the reader of the archive to tell.
ZipNames readZipNames(int archive);

}  // namespace qm::linux_
