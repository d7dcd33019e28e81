#pragma once

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Keeps a process within folders, by the kernel's Landlock: whatever a tree is turned into meanwhile, the process
/// reads, makes and removes nothing anywhere else. Changing modes, owners and times is not covered.
class Confinement {
 public:
  /// The kernel has it and can let items move between folders (since 5.19).
  static bool isAvailable();

  /// Confines to nothing yet; without effect where Landlock is missing.
  Confinement();

  /// Everything is allowed in the folder and below.
  void allowAll(int folder);
  /// Reading is allowed in the item and below.
  void allowReading(int item);

  /// Confines this thread for good. Returns 0 or an error number; 0 also where Landlock is missing.
  int enforce() const;

 private:
  void add(int item, unsigned long long rights);

  posix::UniqueFd rules_;
  int error_ = 0;
};

}  // namespace qm::linux_
