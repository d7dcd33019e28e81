// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/ToolWork.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <utility>
#include <vector>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/process/ArgumentVector.h"
#include "Platform/posix/process/ChildWait.h"
#include "Platform/posix/process/Descriptors.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr std::size_t kLongestErrors = 700;
constexpr unsigned kCloseOnExec = 4;  // CLOSE_RANGE_CLOEXEC

// dup2 of a descriptor onto itself keeps its close-on-exec flag.
bool connect(int stream, int descriptor) {
  return stream == descriptor ? ::fcntl(descriptor, F_SETFD, 0) == 0 : ::dup2(descriptor, stream) == stream;
}

// Runs in the child, before exec: returns the error number that prevents the tool from starting.
int becomeTool(const Launch& launch, int output, int errors) {
  const UniqueFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  if (!nothing || !connect(STDIN_FILENO, nothing.get()) || !connect(STDOUT_FILENO, output) ||
      !connect(STDERR_FILENO, errors)) {
    return errno;
  }
  if (::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, kCloseOnExec) != 0) return errno;
  const sigset_t none{};
  if (::sigprocmask(SIG_SETMASK, &none, nullptr) != 0) return errno;
  for (const int number : {SIGPIPE, SIGTERM}) static_cast<void>(::signal(number, SIG_DFL));
  static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
  static char language[] = "LC_ALL=C.UTF-8";
  char* environment[] = {path, language, nullptr};
  ::execve(launch.tool.c_str(), posix::argumentVector(launch.tool, launch.arguments).data(), environment);
  return errno;
}

[[noreturn]] void childMain(const Launch& launch, int output, int errors, int report) {
  const int error = becomeTool(launch, output, errors);
  static_cast<void>(!::write(report, &error, sizeof error));
  ::_exit(EXIT_FAILURE);
}

// Returns 0 if exec closed the pipe.
int readReport(const UniqueFd& report) {
  int error = 0;
  static_cast<void>(!::read(report.get(), &error, sizeof error));
  return error;
}

// Reads what is available; false at the end.
bool drain(const UniqueFd& pipe, std::string& text) {
  std::array<char, 4096> block{};
  for (;;) {
    const ssize_t got = ::read(pipe.get(), block.data(), block.size());
    if (got < 0) return errno == EAGAIN;
    if (got == 0) return false;
    text.append(block.data(), std::min(kLongestErrors - text.size(), static_cast<std::size_t>(got)));
  }
}

class ToolWork : public PrivilegedWork {
 public:
  explicit ToolWork(Launch launch) : launch_(std::move(launch)) {}

  int begin(const UniqueFd& output) override {
    posix::Pipe errors = posix::makePipe();
    posix::Pipe report = posix::makePipe();
    if (!errors.reading || !report.reading) return errno;
    process_ = ::fork();
    if (process_ < 0) return errno;
    if (process_ == 0) childMain(launch_, output.get(), errors.writing.get(), report.writing.get());
    report.writing.reset();
    const int error = readReport(report.reading);
    if (error != 0) return posix::waitForChild(process_), error;
    ::fcntl(errors.reading.get(), F_SETFL, O_NONBLOCK);
    errors_ = std::move(errors.reading);
    return 0;
  }

  // Ends when the tool ends, not when the last holder of its error stream does: the tool may have left a child behind.
  // Where its end cannot be observed, that of the error stream is awaited first: a tool whose errors nobody reads could
  // wait forever.
  WorkResult finish() override {
    WorkResult result;
    const UniqueFd ended(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0U)));
    for (bool running = true; running && (ended || errors_);) {
      pollfd watched[] = {{ended.get(), POLLIN, {}}, {errors_.get(), POLLIN, {}}};
      ::poll(watched, std::size(watched), -1);
      if (watched[1].revents != 0 && !drain(errors_, result.note)) errors_.reset();
      running = watched[0].revents == 0;
    }
    result.waitStatus = posix::waitForChild(process_);
    while (result.note.ends_with('\n')) result.note.pop_back();
    std::ranges::replace(result.note, '\n', ' ');
    std::ranges::replace(result.note, '\0', ' ');
    return result;
  }

 private:
  const Launch launch_;
  pid_t process_{};
  UniqueFd errors_;
};

}  // namespace

Answer<std::string> checkedProgram(const std::string& path) {
  constexpr mode_t writableByOthers = S_IWGRP | S_IWOTH;
  const Answer<PinnedPlace> place = pinPath(path, LastLink::IsFollowed);
  if (!place) return place.problem();
  if (!place->item) return refusalFor(ENOENT, path);
  if (!S_ISREG(place->itemStatus.st_mode)) return refusalFor(EACCES, path);
  const bool safe =
      place->writers.none() && place->itemStatus.st_uid == 0 && (place->itemStatus.st_mode & writableByOthers) == 0;
  if (!safe) return Refusal{EPERM, path + ": users other than root can change this program"};
  const Answer<PinnedPlace> plain = pinPath(path, LastLink::Stays);
  return plain ? Answer<std::string>(plain->shown()) : plain.problem();
}

PreparedWork prepareToolWork(const Launch& launch) {
  return std::unique_ptr<PrivilegedWork>(std::make_unique<ToolWork>(launch));
}

}  // namespace qm::linux_
