#include <unistd.h>

#include "Platform/posix/process/SpawnRequest.h"

namespace qm::posix {

int addCloseAllButStandardStreams(posix_spawn_file_actions_t* actions) {
  return ::posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
}

}  // namespace qm::posix
