// SPDX-License-Identifier: MIT
#include "tests/contract/system/plain/PlainProcessCalls.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/SpawnRequest.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::testing::plain {
namespace {

std::mutex mutex;
std::vector<int> kept;

}  // namespace

std::vector<int> keptStreams() {
  const std::scoped_lock lock(mutex);
  return kept;
}

}  // namespace qm::testing::plain

namespace qm::posix {
namespace {

namespace plain = testing::plain;

void waitAndLeaveToBeReaped(pid_t process) {
  siginfo_t exit{};
  while (::waitid(P_PID, static_cast<id_t>(process), &exit, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
  }
}

}  // namespace

Wakeup::Wakeup() {
  Pipe pipe = makePipe();
  if (!pipe.reading) return;
  for (const int end : {pipe.reading.get(), pipe.writing.get()}) static_cast<void>(::fcntl(end, F_SETFL, O_NONBLOCK));
  descriptor_ = std::move(pipe.reading);
  raising_ = std::move(pipe.writing);
}

/// A pipe that is full can be read anyway.
void Wakeup::raise() const { [[maybe_unused]] const ssize_t written = ::write(raising_.get(), "", 1); }

void Wakeup::lower() const {
  std::array<char, 64> bytes{};
  while (::read(descriptor(), bytes.data(), bytes.size()) > 0) {
  }
}

/// The end of the thread is the end of the pipe, which poll(2) sees.
ProcessHandle ProcessHandle::open(pid_t process) {
  Pipe pipe = makePipe();
  if (!pipe.reading) return {UniqueFd(), process};
  try {
    std::thread([process, end = std::move(pipe.writing)] { waitAndLeaveToBeReaped(process); }).detach();
  } catch (const std::system_error&) {
    errno = EAGAIN;
    return {UniqueFd(), process};
  }
  return {std::move(pipe.reading), process};
}

int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* /*attributes*/) {
  return ::posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
}

int keepStream(posix_spawn_file_actions_t* /*actions*/, int stream) {
  const std::scoped_lock lock(plain::mutex);
  plain::kept.push_back(stream);
  return 0;
}

char** ownEnvironment() { return environ; }

}  // namespace qm::posix
