// SPDX-License-Identifier: MIT
#include "tests/faults/FaultDriver.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Platform/posix/UniqueFd.h"
#include "tests/faults/TracedTree.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

constexpr int kNotShown = 120;
constexpr unsigned kMostSeconds = 30;

/// Keeps the calling thread, and children that it makes meanwhile, on the processor where it is. At each call the body
/// and its driver take turns, and waking another processor for that takes twice as long.
class OneProcessor {
 public:
  OneProcessor() {
    if (::sched_getaffinity(0, sizeof before_, &before_) != 0) return;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(std::max(::sched_getcpu(), 0)), &one);
    changed_ = ::sched_setaffinity(0, sizeof one, &one) == 0;
  }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;
  ~OneProcessor() {
    if (changed_) ::sched_setaffinity(0, sizeof before_, &before_);
  }

 private:
  cpu_set_t before_{};
  bool changed_ = false;
};

std::vector<int> openDescriptors() {
  std::vector<int> open;
  DIR* listing = ::opendir("/proc/self/fd");
  if (listing == nullptr) return open;
  while (const dirent* entry = ::readdir(listing)) {
    const int fd = std::atoi(entry->d_name);
    if (entry->d_name[0] != '.' && fd != ::dirfd(listing)) open.push_back(fd);
  }
  ::closedir(listing);
  return open;
}

// The numbers stay in use, so that the body gets none to which somebody still writes.
void leadNowhere() {
  const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  for (const int fd : openDescriptors()) {
    if (fd != nothing.get()) ::dup3(nothing.get(), fd, fd > STDERR_FILENO ? O_CLOEXEC : 0);
  }
}

void leaveNoCore() {
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

[[noreturn]] void childMain(const UniqueFd& seized, const CallFilter& filter, const std::function<int()>& body) {
  char word = 0;
  if (::read(seized.get(), &word, 1) != 1) ::_exit(kNotShown);
  leaveNoCore();
  leadNowhere();
  if (!showCalls(filter)) ::_exit(kNotShown);
  ::_exit(body());
}

TracedRun notTraced(const std::string& what, int error) {
  TracedRun run;
  run.end = End::NotTraced;
  run.problem = what + ": " + std::strerror(error);
  return run;
}

TracedRun giveUp(pid_t child, UniqueFd& start, int error) {
  start.reset();
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return notTraced("this machine does not let a process trace its own child (ptrace)", error);
}

TracedRun judged(TracedRun run) {
  if (run.end == End::Returned && run.status == kNotShown) {
    return notTraced("this machine does not let a process show its calls (seccomp)", ENOSYS);
  }
  return run;
}

}  // namespace

std::string describe(const Call& call) {
  return callName(call.number) + " " + std::to_string(call.occurrence) + " of process " + call.task;
}

TracedRun FaultDriver::run(const std::function<int()>& body, const Intervention& intervention) const {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return notTraced("pipe", errno);
  UniqueFd seized(ends[0]);
  UniqueFd start(ends[1]);
  const OneProcessor kept;
  static_cast<void>(std::fflush(nullptr));
  const pid_t child = ::fork();
  if (child == 0) {
    start.reset();
    childMain(seized, filter_, body);
  }
  seized.reset();
  if (child < 0) return notTraced("fork", errno);
  TracedTree tree(child, intervention, filter_.ofThreads);
  if (const int error = tree.seize(); error != 0) return giveUp(child, start, error);
  if (::write(start.get(), "s", 1) != 1) return giveUp(child, start, errno);
  return judged(tree.follow(limit_));
}

bool runUndisturbed(const std::function<int()>& body) {
  static_cast<void>(std::fflush(nullptr));
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kMostSeconds);
    leaveNoCore();
    leadNowhere();
    ::_exit(body());
  }
  int status = -1;
  while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status == 0;
}

CountedCalls::CountedCalls() { ::syscall(kMark, 1); }

CountedCalls::~CountedCalls() { ::syscall(kMark, 0); }

}  // namespace qm::testing
