#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/rights/Refusal.h"

namespace qm::linux_ {

/// What a tool whose operands are pinned does with them.
enum class FileCommandKind { Move, Copy, Remove, MakeFolders, Touch };

/// A command line of one of the five tools for files.
struct FileCommand {
  FileCommandKind kind = FileCommandKind::Remove;
  std::vector<std::string> options;
  std::vector<std::string> operands;

  /// A removal that is meant only if nothing is in the folder.
  bool meansHollowFolder() const;
};

/// The command line of `program` ("mv"), or a refusal where it holds an option other than the known ones, an
/// operand that is not an absolute path or the wrong number of them: what is not understood is not pinned.
/// Nil for every other program.
std::optional<Answer<FileCommand>> parseFileCommand(const std::string& program,
                                                    const std::vector<std::string>& arguments);

}  // namespace qm::linux_
