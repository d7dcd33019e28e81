// SPDX-License-Identifier: MIT
#include <unistd.h>

#include "Platform/posix/process/SpawnRequest.h"

namespace qm::posix {

int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* /*attributes*/) {
  return ::posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
}

/// No call is needed, because only descriptors above 2 are closed.
int keepStream(posix_spawn_file_actions_t* /*actions*/, int /*stream*/) { return 0; }

char** ownEnvironment() { return environ; }

}  // namespace qm::posix
