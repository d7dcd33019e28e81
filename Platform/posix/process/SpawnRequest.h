#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace qm::posix {

// The calls that each system has in its own form; their bodies are in the system's own folder.

/// Has the child get no descriptor over 2, by an action after all others or by an attribute. Where it is an attribute,
/// a standard stream that no action connects is closed as well, unless it is kept. Returns 0 or an error number.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* attributes);

/// Has the child keep its parent's `stream` (0 to 2), whatever else is closed. Returns 0 or an error number.
int keepStream(posix_spawn_file_actions_t* actions, int stream);

/// This process's environment as it is now, ended by a null pointer. Any change of it may move it.
char** ownEnvironment();

/// What a child is started with: its standard streams, and nothing else of its parent's. Default signals, no signal
/// blocked, the parent's working folder.
class SpawnRequest {
 public:
  SpawnRequest();
  SpawnRequest(const SpawnRequest&) = delete;
  SpawnRequest& operator=(const SpawnRequest&) = delete;
  ~SpawnRequest();

  /// Connects the child's `stream` (0 to 2) to the null device.
  void connectToNullDevice(int stream);
  /// Connects the child's `stream` to the parent's `descriptor`, which is over 2; to the null device for -1.
  void connect(int stream, int descriptor);
  /// Leaves the child its parent's `stream`; the null device where the parent has none to give.
  void inherit(int stream);

  /// Starts the program at `path`, with the parent's environment if no other is given, and returns 0 or an error
  /// number. No shell, no search. Once per request.
  int spawn(const std::string& path, const std::vector<std::string>& arguments, pid_t* child,
            char* const* environment = ownEnvironment());

 private:
  void note(int error);

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  int error_ = 0;
};

}  // namespace qm::posix
