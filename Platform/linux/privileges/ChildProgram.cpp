// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/ChildProgram.h"

#include <poll.h>
#include <unistd.h>
#include <csignal>

#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <utility>

#include "Platform/posix/process/ChildWait.h"
#include "Platform/posix/process/SpawnRequest.h"

namespace qm::linux_ {
namespace {

constexpr int kPatienceMilliseconds = 3000;
constexpr int kStartTimeField = 22;

// pkexec refuses to run if a variable looks suspicious, and its language depends on one.
char pathVariable[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
char languageVariable[] = "LANG=C";
char shellVariable[] = "SHELL=/bin/sh";
std::array<char*, 4> environment() { return {pathVariable, languageVariable, shellVariable, nullptr}; }

}  // namespace

ChildProgram& ChildProgram::operator=(ChildProgram&& other) noexcept {
  end();
  handle_ = std::exchange(other.handle_, posix::ProcessHandle());
  return *this;
}

int ChildProgram::start(const std::string& path, const std::vector<std::string>& arguments, const Streams& streams) {
  posix::SpawnRequest request;
  request.connect(STDIN_FILENO, streams.input);
  request.connect(STDOUT_FILENO, streams.output);
  request.connect(STDERR_FILENO, streams.errors);
  pid_t child{};
  if (const int error = request.spawn(path, arguments, &child, environment().data()); error != 0) return error;
  handle_ = posix::ProcessHandle::open(child);
  if (handle_) return 0;
  const int error = errno;
  // One with other rights ends by itself when the caller closes its connection, so it must not be waited for here.
  if (::kill(child, SIGKILL) == 0) posix::waitForChild(child);
  return error;
}

int ChildProgram::wait() {
  handle_.waitForExit();
  const auto status = handle_.reap();
  handle_ = posix::ProcessHandle();
  return status.value_or(posix::ProcessHandle::kUnknownStatus);
}

// A child that runs with other rights cannot be signalled; it ends by itself when its connection ends.
void ChildProgram::end() {
  if (!handle_) return;
  handle_.signal(SIGTERM);
  pollfd ended{handle_.descriptor(), POLLIN, {}};
  if (::poll(&ended, 1, kPatienceMilliseconds) != 1) handle_.signal(SIGKILL);
  wait();
}

// The program's name is in parentheses and may contain anything; the numbers follow.
std::string ownStartTime() {
  std::ifstream file("/proc/self/stat");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string field;
  for (int number = 3; number <= kStartTimeField; ++number) fields >> field;
  return field;
}

}  // namespace qm::linux_
