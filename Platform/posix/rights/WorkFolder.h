// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/Refusal.h"

namespace qm::posix {

/// A hidden folder that only root can access inside a folder that others may change. Nobody else can reach its
/// contents. It is locked while its creator lives, so that one left behind by an interrupted process can be recognised.
class WorkFolder {
 public:
  /// A name that nobody can guess, with the product's prefix; "" without a prefix, or if the system provides no random
  /// bytes.
  static std::string newName(std::string_view prefix);
  /// Creates one with such a name in `folder`, which must outlive it.
  static Answer<WorkFolder> make(int folder, const std::string& name);
  /// Those with the prefix in `folder` that no process is using; they are locked from here on.
  static std::vector<WorkFolder> leftIn(int folder, std::string_view prefix);
  /// Opens one by its name, if that has the prefix and no process is using it.
  static Answer<WorkFolder> open(int folder, const std::string& name, std::string_view prefix);

  WorkFolder(WorkFolder&&) = default;
  WorkFolder& operator=(WorkFolder&&) = delete;
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() = default;

  int descriptor() const { return own_.get(); }
  int above() const { return above_; }
  const std::string& name() const { return name_; }

  /// Removes it with its contents. Returns 0 or an error number.
  int remove() const;
  /// Removes it if it is empty.
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
