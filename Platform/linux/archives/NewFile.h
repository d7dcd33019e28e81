#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A file that is being made in a folder, which must stay open. Nobody else can open it before it is finished, and
/// where it replaces something, that stays until then. What is not finished is removed; never what took its name.
/// Functions answer 0 or an error number.
class NewFile {
 public:
  NewFile() = default;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  /// A link of that name is replaced itself. EISDIR when a folder has the name.
  int begin(int folder, const std::string& name);
  int write(std::string_view bytes);
  int finish(mode_t permissions, const std::optional<timespec>& modified);

  int descriptor() const { return file_.get(); }

 private:
  int create(const std::string& name);

  int folder_ = -1;
  std::string name_;
  std::string currentName_;  // "" when nothing is to be removed
  posix::UniqueFd file_;
  struct stat made_ {};  // what the file is told by
};

/// Whether something that is no folder can be replaced under this name: 0, EISDIR, or why that cannot be told.
int obstacleToReplacing(int folder, const std::string& name);

}  // namespace qm::linux_
