// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/AnyToolPolicy.h"

#include <algorithm>
#include <cerrno>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/privileges/helper/FileWork.h"
#include "Platform/linux/privileges/helper/FolderRemoval.h"
#include "Platform/linux/privileges/helper/ToolWork.h"
#include "Platform/linux/privileges/helper/TrashMove.h"

namespace qm::linux_ {
namespace {

// The name of a system tool; empty for every other program.
std::string toolName(const std::string& program) {
  for (const std::string folder : {"/usr/bin/", "/bin/"}) {
    if (program.starts_with(folder) && program.find('/', folder.size()) == std::string::npos) {
      return program.substr(folder.size());
    }
  }
  return {};
}

bool canBeShown(const Launch& launch) {
  return foundation::isPlainText(launch.tool) && std::ranges::all_of(launch.arguments, foundation::isPlainText);
}

PreparedWork prepareCommand(const FileCommand& command, const UserRecord& person,
                            const platform::ProductIdentity& product) {
  if (const auto move = trashMoveIn(command, person)) return prepareTrashMove(*move, person, product);
  return command.meansHollowFolder() ? prepareFolderRemoval(command.operands[0]) : prepareFileWork(command);
}

}  // namespace

PreparedWork AnyToolPolicy::prepare(const Launch& launch, const UserRecord& person) const {
  if (only_ && (launch.tool != only_->tool || launch.arguments != only_->arguments)) {
    return Refusal{EPERM, launch.tool + ": rights were given for another command"};
  }
  // In a dialog, characters that `isPlainText` rejects could disguise the command.
  if (only_ && !canBeShown(launch)) return Refusal{EPERM, launch.tool + ": no dialog can show this command"};
  const Answer<std::string> program = checkedProgram(launch.tool);
  if (!program) return program.problem();
  const auto command = parseFileCommand(toolName(*program), launch.arguments);
  if (!command) return prepareToolWork(launch);
  return *command ? prepareCommand(**command, person, product()) : command->problem();
}

}  // namespace qm::linux_
