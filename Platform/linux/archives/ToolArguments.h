// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qm::linux_ {

enum class KeepParent : bool { No, Yes };

/// The request to the zip tool.
struct ToolArguments {
  enum class Command { Compress, Extract };

  Command command = Command::Compress;
  KeepParent keepParent = KeepParent::No;
  std::string source;
  std::string destination;
};

/// Parses "-ck [--keepParent] ITEM ARCHIVE" and "-xk ARCHIVE FOLDER". The letters may be separate ("-c -k"), options
/// come before the paths, and "--" ends them. Null for anything else.
std::optional<ToolArguments> parsedArguments(const std::vector<std::string>& arguments);

}  // namespace qm::linux_
