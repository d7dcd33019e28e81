// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A file that is being created in a folder, which must stay open. Nobody else can open it before it is finished; if it
/// replaces an item, that stays until then. An unfinished file is removed, but never an item that took its name.
/// Functions return 0 or an error number.
class NewFile {
 public:
  NewFile() = default;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  /// An existing link of that name is itself replaced. EISDIR if a folder has the name.
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
  struct stat made_ {};  // identifies the file
};

/// Whether an item that is not a folder can be replaced under this name: 0, EISDIR, or why that cannot be determined.
int obstacleToReplacing(int folder, const std::string& name);

}  // namespace qm::linux_
