#pragma once

#include <string>
#include <string_view>

namespace qm::linux_ {

/// Whether the system is asked to write something to the disk at once.
enum class WrittenThrough : bool { No, Yes };

/// The ".trashinfo" file of an item that is on its way to the Trash. It reserves the item's name there, and goes again
/// at its end unless the item has come.
class InfoFile {
 public:
  /// For the item `stored`. The folder outlives it.
  InfoFile(int folder, const std::string& stored);
  InfoFile(const InfoFile&) = delete;
  InfoFile& operator=(const InfoFile&) = delete;
  ~InfoFile() { discard(); }

  /// Returns 0 or an error number, EEXIST when the name is in use.
  int create(std::string_view text, WrittenThrough writtenThrough);
  void keep() { made_ = false; }
  void discard();

 private:
  int folder_;
  std::string name_;
  bool made_ = false;
};

}  // namespace qm::linux_
