#include "Platform/linux/privileges/helper/LaunchRun.h"

#include <cstring>

#include "Platform/linux/privileges/helper/PreparedTool.h"
#include "Platform/linux/privileges/helper/ToolProcess.h"

namespace qm::linux_ {

void runLaunch(const Launch& launch, uid_t person, posix::UniqueFd output,
               const std::function<void(const Message&)>& report) {
  const auto refuse = [&](int error, const std::string& reason) { report(Started{launch.number, error, 0, reason}); };
  Answer<PreparedTool> tool = prepareTool(launch, person);
  if (!tool) return refuse(tool.refusal().error, tool.refusal().reason);
  ToolProcess process;
  if (const int error = startTool(*tool, output, &process); error != 0) {
    return refuse(error, launch.tool + ": " + std::strerror(error));
  }
  report(Started{launch.number, 0, process.process, {}});
  Exited exited{launch.number, 0, {}};
  std::string errors;
  exited.waitStatus = waitForTool(process, &errors);
  if (tool->publication) exited.note = tool->publication->finish();
  tool->publication.reset();  // with its staging folder
  exited.note += tool->inAskedPaths(errors);
  report(exited);
  output.reset();
}

}  // namespace qm::linux_
