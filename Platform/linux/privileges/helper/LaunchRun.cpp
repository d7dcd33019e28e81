// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/LaunchRun.h"

#include <unistd.h>

#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::linux_ {

WorkResult resultOf(const posix::FileError& error, const std::string& path) {
  if (!error) return {};
  const std::string item = error.item.empty() ? path : path + " (" + error.item + ")";
  return WorkResult::failed(posix::withSystemMessage(item, error.code));
}

void runLaunch(const HelperPolicy& policy, const Launch& launch, const UserRecord& person, posix::UniqueFd output,
               const std::function<void(const Message&)>& report) {
  const auto refuse = [&](int error, const std::string& reason) { report(Started{launch.number, error, 0, reason}); };
  PreparedWork work = policy.prepare(launch, person);
  if (!work) return refuse(work.problem().error, work.problem().reason);
  if (const int error = (*work)->begin(output)) return refuse(error, posix::withSystemMessage(launch.tool, error));
  report(Started{launch.number, 0, ::getpid(), {}});
  const WorkResult result = (*work)->finish();
  report(Exited{launch.number, result.waitStatus, result.note});
  output.reset();
}

}  // namespace qm::linux_
