// SPDX-License-Identifier: MIT
#include "Platform/posix/process/SpawnRequest.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "Platform/posix/process/ArgumentVector.h"

namespace qm::posix {
namespace {

bool parentCanGive(int stream) {
  const int flags = ::fcntl(stream, F_GETFD);
  return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

// A NUL byte would truncate the text for the child.
bool holdsNul(const std::string& text) { return text.find('\0') != std::string::npos; }

}  // namespace

SpawnRequest::SpawnRequest() {
  sigset_t all;
  sigset_t none;
  sigfillset(&all);
  sigemptyset(&none);
  note(::posix_spawn_file_actions_init(&actions_));
  note(::posix_spawnattr_init(&attributes_));
  note(::posix_spawnattr_setsigdefault(&attributes_, &all));
  note(::posix_spawnattr_setsigmask(&attributes_, &none));
  note(::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
}

SpawnRequest::~SpawnRequest() {
  ::posix_spawnattr_destroy(&attributes_);
  ::posix_spawn_file_actions_destroy(&actions_);
}

void SpawnRequest::connectToNullDevice(int stream) {
  note(::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0));
}

void SpawnRequest::connect(int stream, int descriptor) {
  if (descriptor < 0) return connectToNullDevice(stream);
  note(::posix_spawn_file_actions_adddup2(&actions_, descriptor, stream));
}

void SpawnRequest::inherit(int stream) {
  if (!parentCanGive(stream)) return connectToNullDevice(stream);
  note(keepStream(&actions_, stream));
}

int SpawnRequest::spawn(const std::string& path, const std::vector<std::string>& arguments, pid_t* child,
                        char* const* environment) {
  if (holdsNul(path)) return ENOENT;
  if (std::any_of(arguments.begin(), arguments.end(), holdsNul)) return EINVAL;
  note(closeAllButStandardStreams(&actions_, &attributes_));
  if (error_ != 0) return error_;
  const std::vector<char*> vector = argumentVector(path, arguments);
  return ::posix_spawn(child, path.c_str(), &actions_, &attributes_, vector.data(), environment);
}

// The first error is returned.
void SpawnRequest::note(int error) {
  if (error_ == 0) error_ = error;
}

}  // namespace qm::posix
