// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/rights/Refusal.h"

namespace qm::linux_ {

/// What a tool does with its operands.
enum class FileCommandKind { Move, Copy, Remove, MakeFolders, Touch };

/// A command line of one of the five file tools.
struct FileCommand {
  FileCommandKind kind = FileCommandKind::Remove;
  std::vector<std::string> options;
  std::vector<std::string> operands;

  /// A removal that fails unless nothing but empty folders and housekeeping files is in the folder.
  bool meansHollowFolder() const;
};

/// Parses the command line of `program` ("mv"). Refuses unknown options, operands that are not absolute paths and a
/// wrong number of operands: what is not understood is not carried out. Null for every other program.
std::optional<Answer<FileCommand>> parseFileCommand(const std::string& program,
                                                    const std::vector<std::string>& arguments);

}  // namespace qm::linux_
