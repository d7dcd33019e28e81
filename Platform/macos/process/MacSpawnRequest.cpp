// SPDX-License-Identifier: MIT
#include <crt_externs.h>

#include "Platform/posix/process/SpawnRequest.h"

namespace qm::posix {

/// On a Mac this is an attribute of the child: every descriptor that no action names is closed.
int closeAllButStandardStreams(posix_spawn_file_actions_t* /*actions*/, posix_spawnattr_t* attributes) {
  short flags = 0;
  if (const int error = ::posix_spawnattr_getflags(attributes, &flags)) return error;
  return ::posix_spawnattr_setflags(attributes, static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT));
}

int keepStream(posix_spawn_file_actions_t* actions, int stream) {
  return ::posix_spawn_file_actions_addinherit_np(actions, stream);
}

char** ownEnvironment() { return *::_NSGetEnviron(); }

}  // namespace qm::posix
