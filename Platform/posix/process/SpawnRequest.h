#pragma once

#include <spawn.h>
#include <sys/types.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace qm::posix {

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
            char* const* environment = environ);

 private:
  void note(int error);

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  int error_ = 0;
};

/// Closes every descriptor over 2 in the child. Answers 0 or an error number.
int addCloseAllButStandardStreams(posix_spawn_file_actions_t* actions);

}  // namespace qm::posix
