// SPDX-License-Identifier: MIT
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

/// One item of an archive, as the archive describes it: nothing in here can be trusted.
struct ZipEntry {
  enum class Kind { File, Folder, Link, Other };

  std::string name;
  Kind kind = Kind::Other;
  mode_t permissions = 0;  ///< of owner, group and others; no set-user-id, set-group-id or sticky bit
  std::optional<timespec> modified;
  std::string target;                 ///< of a link
  std::optional<std::uint64_t> size;  ///< bytes
  bool isEncrypted = false;
};

/// Reads a zip archive by its directory, item after item. In memory it keeps only that directory, one block, and what
/// the item's compression needs, at most 256 MiB. Names are returned byte for byte, except those from a field that
/// holds them in UTF-8. Names and link targets end at the first NUL. So `open` rejects an archive if a name in its
/// directory contains one. One thread at a time.
class ZipReader {
 public:
  ZipReader();
  ZipReader(const ZipReader&) = delete;
  ZipReader& operator=(const ZipReader&) = delete;
  ~ZipReader();

  /// Opens a regular file. Links to it are followed. Call it once.
  platform::Status open(const std::string& path);
  /// The next item; null after the last. The end is a failure unless the number of items is the one that the archive
  /// states.
  platform::Status next(std::optional<ZipEntry>& entry);
  /// The next piece of the item's contents, valid until the next call; "" at the end. The end is a failure unless
  /// length and checksum are right.
  platform::Status read(std::string_view& block);

 private:
  struct Source;  // the bytes passed to libarchive

  platform::Status memoryAllowed() const;
  platform::Status failure(const std::string& name) const;

  // libarchive converts a name that is only in the field for UTF-8 names to the character set of the thread. So the
  // thread's has to be UTF-8.
  CharacterSet characterSet_{CharacterSet::Kind::Utf8};
  std::unique_ptr<Source> source_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  std::string path_;
  ZipEntry current_;
  std::uint64_t read_ = 0;
  std::uint64_t itemsRead_ = 0;
};

}  // namespace qm::linux_
