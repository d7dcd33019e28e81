// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Platform/linux/trash/RootMove.h"
#include "tests/privileges/TrashMachine.h"

namespace qm::testing {

/// A rename between two names, and the error number that it is to fail with.
struct FailedRename {
  std::string from;
  std::string to;
  int error = 0;
};

/// The machine with a Trash, where moves are made without the helper around them. So the note of a failed move is seen
/// as well.
class MoveMachine : public TrashMachine {
 protected:
  struct Result {
    int error = -1;
    std::string note;
  };

  static linux_::TrashUser trashUser();
  static linux_::SharedTrashDirectory openedTrash();
  /// The same folders as a Trash with another path, or of a volume with this top folder.
  static linux_::SharedTrashDirectory trashWith(const std::string& path, const std::string& topFolder = "");

  static linux_::RootMove moveOf(const std::string& path);
  static Result resultOf(linux_::RootMove& move);
  /// Moves an item that nothing prevents from being moved.
  static Result moved(const std::string& path);
  static void mend();

  /// The renames fail in this process. It watches system calls.
  static void failRenames(const std::vector<FailedRename>& failed);

  /// The file-system user of this process's first thread.
  static std::string actingUser();

  static std::string volume() { return machineFolder() + "/volume"; }
  /// A bundle on a volume of its own.
  static std::string bundleOnVolume();
  /// Whether a bundle is as it was made, and alone in its folder.
  static void expectAsMade(const std::string& bundle);
  /// The names in the Trash but for its two folders.
  static std::vector<std::string> leftInTrash();
};

}  // namespace qm::testing
