// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tests/faults/Campaign.h"
#include "tests/faults/Tree.h"

namespace qm::testing {

/// A root-owned folder on a private machine that is to be removed, and the rules for that:
///
/// I1  Nothing is gone or changed except folders and housekeeping files in it, and the folder itself.
/// I2  Reported failure: every folder is as it was. Reported success: the folder is gone.
/// I3  Nothing else is left but folders named ".tessaly-uninstaller-...", accessible only to root, beside it.
/// I4  After the next run everything is as after an undisturbed one.
class FolderOnTheMachine {
 public:
  enum class Holds { Housekeeping, SomethingElse };
  explicit FolderOnTheMachine(Holds holds) : holds_(holds) {}

  /// Before each run.
  void prepare();

  static std::string folder();
  /// Where work that was ended may have left something.
  static std::vector<std::string> foldersOfLeftovers();

  Violations judge(Said said) const;
  Violations judgeNextRun() const;

 private:
  std::string brokenKeeping() const;
  std::string brokenReport(Said said) const;
  std::string brokenNextRun() const;

  const Holds holds_;
  Tree original_;
  Tree neighbour_;
};

}  // namespace qm::testing
