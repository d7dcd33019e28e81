#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/privileges/helper/Publication.h"
#include "Platform/linux/privileges/helper/Refusal.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A tool that is ready to be started by root: its operands reach the items that they meant when they were
/// looked at, whatever others do to the folders on the way.
struct PreparedTool {
  std::string program;
  /// With the name of the tool first.
  std::vector<std::string> arguments;
  /// The tool inherits these, under their numbers.
  std::vector<posix::UniqueFd> pinned;
  std::unique_ptr<Confinement> confinement;
  std::unique_ptr<Publication> publication;
  /// Pinned paths and what they stand for, for messages.
  std::vector<std::pair<std::string, std::string>> shown;

  /// A message of the tool's in terms of the paths that were asked for.
  std::string inAskedPaths(std::string message) const;
};

/// Looks at a launch for `person`. The operands of mv, cp, rm, mkdir and touch are pinned; any other
/// program is started as asked. A program that others than root can change is refused.
Answer<PreparedTool> prepareTool(const Launch& launch, uid_t person);

}  // namespace qm::linux_
