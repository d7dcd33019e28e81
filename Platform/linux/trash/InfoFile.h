// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qm::linux_ {

/// Whether something is flushed to the disk at once.
enum class WrittenThrough : bool { No, Yes };

/// The ".trashinfo" file of an item that is being moved to the Trash. It reserves the item's name there, and is removed
/// by the destructor unless it was kept.
class InfoFile {
 public:
  /// For the item `stored`. The folder must outlive this object.
  InfoFile(int folder, const std::string& stored);
  InfoFile(const InfoFile&) = delete;
  InfoFile& operator=(const InfoFile&) = delete;
  ~InfoFile() { discard(); }

  /// Returns 0 or an error number, EEXIST if the name is in use.
  int create(std::string_view text, WrittenThrough writtenThrough);
  void keep() { made_ = false; }
  void discard();

 private:
  int folder_;
  std::string name_;
  bool made_ = false;
};

}  // namespace qm::linux_
