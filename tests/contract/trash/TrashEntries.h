// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/contract/trash/TrashWorld.h"

namespace qm::testing {

/// The contents of one ".trashinfo" file, read like a program that restores would.
struct TrashEntry {
  std::string stored;  ///< the name in files/
  std::string path;    ///< where the item was, absolute
  std::string date;
};

/// Parses one ".trashinfo" text; null if it breaks the rules. A relative path is relative to `topFolder`.
std::optional<TrashEntry> parseTrashInfo(const std::string& text, const std::string& topFolder);

/// All entries of a Trash, which must be well formed.
std::vector<TrashEntry> entriesIn(TrashWorld& world, const std::string& trash, const std::string& topFolder = "");

/// Expects that exactly one item of a Trash came from `path`, and returns its name in files/.
std::string expectRestorable(TrashWorld& world, const std::string& path, const std::string& trash,
                             const std::string& topFolder = "");
/// The same in the home trash.
std::string expectInHomeTrash(TrashWorld& world, const std::string& path);

/// Expects a failure with a sentence, and that neither half of an entry was left anywhere.
void expectRefused(const platform::Status& status);
void expectNothingIn(TrashWorld& world, const std::string& trash);

}  // namespace qm::testing
