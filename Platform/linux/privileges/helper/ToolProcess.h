#pragma once

#include <sys/types.h>

#include <string>

#include "Platform/linux/privileges/helper/PreparedTool.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A tool on its way: its process, and the reading end of what it writes to standard error.
struct ToolProcess {
  pid_t process = -1;
  posix::UniqueFd errors;
};

/// Starts a prepared tool with a clean environment. It has `output` as standard output, nothing as standard
/// input and of all other descriptors only the pinned ones. Answers 0 once the program has taken over, or
/// an error number.
int startTool(const PreparedTool& tool, const posix::UniqueFd& output, ToolProcess* started);

/// Waits for the tool's end. Answers the wait status and the beginning of its error messages, in one line.
int waitForTool(ToolProcess& tool, std::string* errors);

}  // namespace qm::linux_
