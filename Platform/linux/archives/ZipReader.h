#pragma once

#include <archive.h>
#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Status.h"
#include "Platform/linux/archives/CharacterSet.h"

namespace qm::linux_ {

/// One item of an archive, as the archive has it: nothing in here is to be trusted.
struct ZipEntry {
  enum class Kind { File, Folder, Link, Other };

  std::string name;
  Kind kind = Kind::Other;
  mode_t permissions = 0;  ///< of owner, group and others; nothing that lends rights
  std::optional<timespec> modified;
  std::string target;                 ///< of a link
  std::optional<std::uint64_t> size;  ///< bytes
  bool isEncrypted = false;
};

/// Reads a zip archive by its directory, item after item, with no more in memory than that directory, one block, and
/// what the item's compression takes, which is at most 256 MiB.
/// Names come byte for byte as they were written, but for those from a field that holds them in UTF-8; names and
/// targets of links end at a zero byte, with which no archive is opened that has one in its directory. One thread at a
/// time.
class ZipReader {
 public:
  ZipReader();
  ZipReader(const ZipReader&) = delete;
  ZipReader& operator=(const ZipReader&) = delete;
  ~ZipReader();

  /// Opens a regular file. Links to it are followed. Once only.
  platform::Status open(const std::string& path);
  /// The next item; nil after the last, which is reached only when as many came as the archive tells of.
  platform::Status next(std::optional<ZipEntry>& entry);
  /// The next piece of the item's contents, until the next call; "" at the end, which is reached only when length and
  /// checksum are right.
  platform::Status read(std::string_view& block);

 private:
  struct Source;  // the bytes for the library

  platform::Status memoryAllowed() const;
  platform::Status failure(const std::string& name) const;

  // Names that only a field of their own holds are in UTF-8, and have to be brought into the set of the thread.
  CharacterSet characterSet_{CharacterSet::Kind::Utf8};
  std::unique_ptr<Source> source_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  std::string path_;
  ZipEntry current_;
  std::uint64_t read_ = 0;
  std::uint64_t itemsRead_ = 0;
};

}  // namespace qm::linux_
