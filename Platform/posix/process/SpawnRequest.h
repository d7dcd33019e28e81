// SPDX-License-Identifier: MIT
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace qm::posix {

// The calls that differ between systems; each system's own folder implements them.

/// Makes the child inherit no descriptor above 2, through an action after all others or through an attribute. An
/// attribute also closes a standard stream that no action connects, unless `keepStream` was called for it. Returns 0 or
/// an error number.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* attributes);

/// Lets the child keep its parent's `stream` (0 to 2), whatever else is closed. Returns 0 or an error number.
int keepStream(posix_spawn_file_actions_t* actions, int stream);

/// This process's environment as it is now, terminated by a null pointer. Any change of the environment may move it.
char** ownEnvironment();

/// Starts a child that inherits no descriptor of its parent's but its standard streams. All its signals have the
/// default handling, and none is blocked. Its working folder is the parent's.
class SpawnRequest {
 public:
  SpawnRequest();
  SpawnRequest(const SpawnRequest&) = delete;
  SpawnRequest& operator=(const SpawnRequest&) = delete;
  ~SpawnRequest();

  /// Connects the child's `stream` (0 to 2) to the null device.
  void connectToNullDevice(int stream);
  /// Connects the child's `stream` to the parent's `descriptor`, which is above 2; for -1 to the null device.
  void connect(int stream, int descriptor);
  /// Lets the child inherit its parent's `stream`; connects it to the null device if the parent has none.
  void inherit(int stream);

  /// Starts the program at `path`, by default with the parent's environment, and returns 0 or an error number. Uses no
  /// shell and does not search PATH. Once per request.
  int spawn(const std::string& path, const std::vector<std::string>& arguments, pid_t* child,
            char* const* environment = ownEnvironment());

 private:
  void note(int error);

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  int error_ = 0;
};

}  // namespace qm::posix
