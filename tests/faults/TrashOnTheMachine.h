// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tests/faults/Campaign.h"
#include "tests/faults/Tree.h"

namespace qm::testing {

/// A user's Trash on a private machine, a root-owned item that is to be moved there, and the rules for that:
///
/// I1  The item is whole at its place, or whole in the Trash with a description that names its place. Nothing that is
///     incomplete has its name in either location.
/// I2  Reported failure: item and Trash are exactly as before. Reported success: the item is only in the Trash.
/// I3  Nothing else is left but folders named ".tessaly-uninstaller-...", accessible only to root, in the Trash's
///     folder and in the item's, and after a kill the description of an item that is still at its place.
/// I4  After the next run everything is as after an undisturbed one, with one more complete copy at most.
class TrashOnTheMachine {
 public:
  enum class Volumes { One, Two };
  explicit TrashOnTheMachine(Volumes volumes) : volumes_(volumes) {}

  /// Once on a machine: the user's account and the volumes.
  void build() const;
  /// Before each run: the user's home, the Trash and the item.
  void prepare();
  /// After an undisturbed run: so it shall be.
  void remember();

  std::string item() const;
  /// What the item is asked to become.
  static std::string place();

  /// Where work that was ended may have left something.
  std::vector<std::string> foldersOfLeftovers() const;

  Violations judge(Said said) const;
  Violations judgeNextRun() const;

 private:
  std::string folder() const;
  std::string brokenWhole() const;
  std::string brokenReport(Said said) const;
  std::string brokenSurroundings(Said said) const;
  std::string brokenNextRun() const;
  std::string brokenCopy(const std::string& name) const;
  std::string brokenDescription(const std::string& name) const;
  std::string strayDescription(Said said) const;

  const Volumes volumes_;
  Tree original_;
  Tree expected_;
};

}  // namespace qm::testing
