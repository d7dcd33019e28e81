#include "Platform/linux/privileges/helper/ToolProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr std::size_t kLongestErrors = 700;
constexpr unsigned kCloseOnExec = 4;  // CLOSE_RANGE_CLOEXEC

bool makePipe(UniqueFd& reading, UniqueFd& writing) {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  reading.reset(ends[0]);
  writing.reset(ends[1]);
  return true;
}

std::vector<char*> argumentVector(const std::vector<std::string>& arguments) {
  std::vector<char*> vector;
  vector.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return vector;
}

// A descriptor that is where it should be keeps its close-on-exec mark when it is duplicated onto itself.
bool connect(int stream, int descriptor) {
  return stream == descriptor ? ::fcntl(descriptor, F_SETFD, 0) == 0 : ::dup2(descriptor, stream) == stream;
}

// In the child, before the tool: answers the error number that keeps it from starting.
int becomeTool(const PreparedTool& tool, int output, int errors) {
  const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nothing || !connect(STDIN_FILENO, nothing.get()) || !connect(STDOUT_FILENO, output) ||
      !connect(STDERR_FILENO, errors)) {
    return errno;
  }
  if (::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, kCloseOnExec) != 0) return errno;
  for (const UniqueFd& pinned : tool.pinned) {
    if (::fcntl(pinned.get(), F_SETFD, 0) != 0) return errno;
  }
  if (tool.confinement) {
    if (const int error = tool.confinement->enforce(); error != 0) return error;
  }
  static_cast<void>(::signal(SIGPIPE, SIG_DFL));
  static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
  static char language[] = "LC_ALL=C.UTF-8";
  char* environment[] = {path, language, nullptr};
  ::execve(tool.program.c_str(), argumentVector(tool.arguments).data(), environment);
  return errno;
}

[[noreturn]] void childMain(const PreparedTool& tool, int output, int errors, int report) {
  const int error = becomeTool(tool, output, errors);
  static_cast<void>(!::write(report, &error, sizeof error));
  ::_exit(127);
}

// 0 when the pipe was closed by the program's taking over.
int readReport(const UniqueFd& report) {
  int error = 0;
  ssize_t got = 0;
  do {
    got = ::read(report.get(), &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  return got == static_cast<ssize_t>(sizeof error) ? error : 0;
}

int waitFor(pid_t process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// Takes what is there now; false at the end.
bool drain(const UniqueFd& pipe, std::string& text) {
  std::array<char, 4096> block{};
  for (;;) {
    const ssize_t got = ::read(pipe.get(), block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno == EAGAIN;
    if (got == 0) return false;
    const std::size_t room = kLongestErrors - std::min(kLongestErrors, text.size());
    text.append(block.data(), std::min(room, static_cast<std::size_t>(got)));
  }
}

}  // namespace

int startTool(const PreparedTool& tool, const UniqueFd& output, ToolProcess* started) {
  UniqueFd errorsReading;
  UniqueFd errorsWriting;
  UniqueFd reportReading;
  UniqueFd reportWriting;
  if (!makePipe(errorsReading, errorsWriting) || !makePipe(reportReading, reportWriting)) return errno;
  const pid_t child = ::fork();
  if (child == 0) childMain(tool, output.get(), errorsWriting.get(), reportWriting.get());
  if (child < 0) return errno;
  reportWriting.reset();
  if (const int error = readReport(reportReading); error != 0) {
    waitFor(child);
    return error;
  }
  ::fcntl(errorsReading.get(), F_SETFL, O_NONBLOCK);
  *started = {child, std::move(errorsReading)};
  return 0;
}

// Ends with the tool, not with the last holder of its error stream: it may have left somebody behind.
int waitForTool(ToolProcess& tool, std::string* errors) {
  const UniqueFd ended(static_cast<int>(::syscall(SYS_pidfd_open, tool.process, 0U)));
  bool open = true;
  for (bool running = static_cast<bool>(ended); running;) {
    pollfd watched[] = {{ended.get(), POLLIN, 0}, {open ? tool.errors.get() : -1, POLLIN, 0}};
    if (::poll(watched, 2, -1) < 0 && errno != EINTR) break;
    if (watched[1].revents != 0) open = drain(tool.errors, *errors);
    running = watched[0].revents == 0;
  }
  const int status = waitFor(tool.process);
  if (open) drain(tool.errors, *errors);
  while (errors->ends_with('\n')) errors->pop_back();
  std::ranges::replace(*errors, '\n', ' ');
  std::ranges::replace(*errors, '\0', ' ');
  return status;
}

}  // namespace qm::linux_
