// SPDX-License-Identifier: MIT
#pragma once

#include <archive.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Status.h"
#include "Platform/linux/archives/CharacterSet.h"

namespace qm::linux_ {

/// Writes a zip archive to a descriptor, item after item, deflated. In memory it keeps only the directory, which is
/// written at the end, and one block. Names in valid UTF-8 get the flag for it; others are written as bytes. Times are
/// those of the last change, in whole seconds from 1970 to 2106. One thread at a time.
class ZipWriter {
 public:
  ZipWriter();

  /// The descriptor stays the caller's. Call it once.
  platform::Status open(int file);
  /// Begins an item. `target` is that of a link.
  platform::Status begin(const std::string& name, const struct stat& attributes, const std::string& target = {});
  /// Adds to the contents of the file that was begun last. Bytes beyond its size are ignored.
  platform::Status write(const std::string& name, std::string_view bytes);
  /// Writes the directory.
  platform::Status finish();

 private:
  platform::Status answer(const std::string& name, int result) const;

  CharacterSet characterSet_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
};

}  // namespace qm::linux_
