// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/FileCommand.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string_view>

#include "Platform/linux/privileges/protocol/Messages.h"

namespace qm::linux_ {
namespace {

constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

struct Tool {
  std::string_view name;
  FileCommandKind kind;
  std::string_view letters;  // the known options
  std::size_t fewest;
  std::size_t most;
};
constexpr Tool kTools[] = {
    {"mv", FileCommandKind::Move, "f", 2, 2},         {"cp", FileCommandKind::Copy, "fpR", 2, 2},
    {"rm", FileCommandKind::Remove, "Rrdf", 1, kAny}, {"mkdir", FileCommandKind::MakeFolders, "p", 1, kAny},
    {"touch", FileCommandKind::Touch, "c", 1, kAny},
};

bool isKnownOption(const Tool& tool, std::string_view argument) {
  if (argument == kIfHollow) return tool.kind == FileCommandKind::Remove;
  return argument.size() > 1 && argument.find_first_not_of(tool.letters, 1) == std::string_view::npos;
}

Answer<FileCommand> parse(const Tool& tool, const std::vector<std::string>& arguments) {
  FileCommand command{tool.kind, {}, {}};
  for (const std::string& argument : arguments) {
    const bool isOption = argument.starts_with('-');
    if (isOption ? !isKnownOption(tool, argument) : !argument.starts_with('/')) {
      return Refusal{EINVAL, argument + " is neither an absolute path nor a known option of " + std::string(tool.name)};
    }
    (isOption ? command.options : command.operands).push_back(argument);
  }
  if (command.meansHollowFolder() && command.operands.size() != 1) {
    return Refusal{EINVAL, std::string(kIfHollow) + " takes one path"};
  }
  if (command.operands.size() < tool.fewest || command.operands.size() > tool.most) {
    return Refusal{EINVAL, "wrong number of paths for " + std::string(tool.name)};
  }
  return command;
}

}  // namespace

bool FileCommand::meansHollowFolder() const { return std::ranges::find(options, kIfHollow) != options.end(); }

std::optional<Answer<FileCommand>> parseFileCommand(const std::string& program,
                                                    const std::vector<std::string>& arguments) {
  const auto* const tool = std::ranges::find(kTools, program, &Tool::name);
  if (tool == std::end(kTools)) return std::nullopt;
  return parse(*tool, arguments);
}

}  // namespace qm::linux_
