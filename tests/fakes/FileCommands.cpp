// SPDX-License-Identifier: MIT
#include "tests/fakes/FileCommands.h"

#include <algorithm>

#include "Platform/foundation/PathComponents.h"

namespace qm::testing {
namespace {

using Words = std::vector<std::string>;

Words operands(const Words& arguments) {
  Words words;
  for (const std::string& argument : arguments) {
    if (!argument.starts_with('-')) words.push_back(argument);
  }
  return words;
}

/// The final path of an item; what would be replaced there is removed.
std::string clearedPlace(FakeDisk& disk, const std::string& source, const std::string& destination) {
  if (disk.isDirectory(destination, Access::Administrator)) {
    return foundation::appendingPathComponent(destination, foundation::lastPathComponent(source));
  }
  if (disk.has(destination) && disk.has(source)) (void)disk.removeTree(destination, Access::Administrator);
  return destination;
}

void moveCommand(FakeDisk& disk, const Words& arguments) {
  const Words paths = operands(arguments);
  if (paths.size() != 2) return;
  (void)disk.move(paths[0], clearedPlace(disk, paths[0], paths[1]), Access::Administrator);
}

void copyCommand(FakeDisk& disk, const Words& arguments) {
  const Words paths = operands(arguments);
  if (paths.size() != 2) return;
  (void)disk.copy(paths[0], clearedPlace(disk, paths[0], paths[1]), Access::Administrator);
}

void removeCommand(FakeDisk& disk, const Words& arguments) {
  for (const std::string& path : operands(arguments)) (void)disk.removeTree(path, Access::Administrator);
}

void makeFolderCommand(FakeDisk& disk, const Words& arguments) {
  for (const std::string& path : operands(arguments)) (void)disk.makeFolders(path, Access::Administrator);
}

/// With "-c" a missing file stays missing.
void touchCommand(FakeDisk& disk, const Words& arguments) {
  const bool makes = std::find(arguments.begin(), arguments.end(), "-c") == arguments.end();
  for (const std::string& path : operands(arguments)) {
    if (disk.touch(path) != 0 && makes) (void)disk.writeFile(path, "", Access::Administrator);
  }
}

}  // namespace

ToolEffect fileCommand(const std::string& tool, FakeDisk& disk) {
  using Command = void (*)(FakeDisk&, const Words&);
  Command command = nullptr;
  if (tool == "/bin/mv") command = moveCommand;
  if (tool == "/bin/cp") command = copyCommand;
  if (tool == "/bin/rm") command = removeCommand;
  if (tool == "/bin/mkdir") command = makeFolderCommand;
  if (tool == "/usr/bin/touch") command = touchCommand;
  if (command == nullptr) return {};
  return [command, &disk](const Words& arguments) { command(disk, arguments); };
}

}  // namespace qm::testing
