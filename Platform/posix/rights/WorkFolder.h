#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/Refusal.h"

namespace qm::posix {

/// A hidden folder of root's alone inside a folder that others may change. What is in it nobody else reaches. It is
/// locked as long as its maker lives, so that one that was left behind by a process that was ended can be told.
class WorkFolder {
 public:
  /// A name that nobody can guess, with the product's prefix; "" without one, or where the system gives no random
  /// bytes.
  static std::string newName(std::string_view prefix);
  /// Makes one with such a name in `folder`, which outlives it.
  static Answer<WorkFolder> make(int folder, const std::string& name);
  /// Those of the prefix in `folder` that nobody works with any more; they are locked from here on.
  static std::vector<WorkFolder> leftIn(int folder, std::string_view prefix);
  /// Opens one by its name, if that has the prefix and nobody works with it.
  static Answer<WorkFolder> open(int folder, const std::string& name, std::string_view prefix);

  WorkFolder(WorkFolder&&) = default;
  WorkFolder& operator=(WorkFolder&&) = delete;
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() = default;

  int descriptor() const { return own_.get(); }
  int above() const { return above_; }
  const std::string& name() const { return name_; }

  /// Removes it with all that is in it. Returns 0 or an error number.
  int remove() const;
  /// Removes it if nothing is in it.
  int removeEmpty() const;

 private:
  WorkFolder(int above, std::string name, UniqueFd own);
  static Answer<WorkFolder> openLocked(int folder, const std::string& name);
  bool hasItsName() const;

  int above_;
  std::string name_;
  UniqueFd own_;
};

}  // namespace qm::posix
