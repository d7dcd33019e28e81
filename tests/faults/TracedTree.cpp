// SPDX-License-Identifier: MIT
#include "tests/faults/TracedTree.h"

#include <sys/time.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include "tests/faults/Tracing.h"

namespace qm::testing {
namespace {

constexpr unsigned long kOptions = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACESECCOMP |
                                   PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC;
constexpr int kAllKinds = __WALL;
constexpr int kAtReturn = SIGTRAP | 0x80;

/// Interrupts this process's waits again and again, so that nothing can block it forever.
class Ticks {
 public:
  Ticks() {
    struct sigaction waking {};
    waking.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &waking, &before_);
    constexpr timeval tenth{0, 100'000};
    const itimerval often{tenth, tenth};
    ::setitimer(ITIMER_REAL, &often, nullptr);
  }
  Ticks(const Ticks&) = delete;
  Ticks& operator=(const Ticks&) = delete;
  ~Ticks() {
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before_, nullptr);
  }

 private:
  struct sigaction before_ {};
};

// A descriptor is closed whatever the kernel returns.
bool isMadeAlthoughItFails(long number) { return number == SYS_close; }

unsigned long eventMessage(pid_t id) {
  unsigned long message = 0;
  trace(PTRACE_GETEVENTMSG, id, 0, &message);
  return message;
}

}  // namespace

int TracedTree::seize() {
  if (trace(PTRACE_SEIZE, root_, 0, reinterpret_cast<const void*>(kOptions)) != 0) return errno;
  tasks_[root_].name = "1";
  return 0;
}

TracedRun TracedTree::follow(std::chrono::milliseconds limit) {
  const Ticks ticks;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    int status = 0;
    const pid_t id = ::waitpid(-1, &status, kAllKinds);
    if (id > 0) take(id, status);
    if (id < 0 && errno == ECHILD) return std::move(run_);
    if (!ending_ && std::chrono::steady_clock::now() > deadline) endAll(End::OutOfTime);
  }
}

void TracedTree::take(pid_t id, int status) {
  if (!WIFSTOPPED(status)) return ended(id, status);
  if (ending_) {
    ::kill(id, SIGKILL);  // created meanwhile, perhaps
    return;
  }
  const auto known = tasks_.find(id);
  if (known == tasks_.end()) {
    unknown_.insert(id);
  } else {
    stopped(id, known->second, status);
  }
}

void TracedTree::ended(pid_t id, int status) {
  tasks_.erase(id);
  if (id != root_ || ending_) return;
  if (!WIFEXITED(status)) return;
  run_.end = End::Returned;
  run_.status = WEXITSTATUS(status);
}

void TracedTree::stopped(pid_t id, Task& task, int status) {
  const int signal = WSTOPSIG(status);
  switch (status >> 16) {
    case PTRACE_EVENT_SECCOMP:
      return called(id, task);
    case PTRACE_EVENT_FORK:
    case PTRACE_EVENT_VFORK:
      bornFrom(task, static_cast<pid_t>(eventMessage(id)), false);
      return resume(id, task);
    case PTRACE_EVENT_CLONE:
      bornFrom(task, static_cast<pid_t>(eventMessage(id)), true);
      return resume(id, task);
    case PTRACE_EVENT_EXEC:
      renamed(id);
      return resume(id, tasks_[id]);
    case 0:
      return signal == kAtReturn ? returned(id, task) : resume(id, task, signal);
    default:
      return resume(id, task);
  }
}

void TracedTree::bornFrom(Task& parent, pid_t id, bool asThread) {
  Task& child = tasks_[id];
  child.name = parent.name + "." + std::to_string(++parent.children);
  child.isThread = asThread;
  if (unknown_.erase(id) != 0) resume(id, child);
}

// A thread that starts a program gets the id of the first.
void TracedTree::renamed(pid_t id) {
  const auto former = static_cast<pid_t>(eventMessage(id));
  if (former == id) return;
  auto moved = tasks_.extract(former);
  if (!moved) return;
  tasks_[id] = std::move(moved.mapped());
  tasks_[id].isThread = false;
}

void TracedTree::called(pid_t id, Task& task) {
  ptrace_syscall_info info{};
  if (trace(PTRACE_GET_SYSCALL_INFO, id, sizeof info, &info) <= 0) return giveUp("this kernel tells nothing of calls");
  const auto number = static_cast<long>(info.seccomp.nr);
  if (number == kMark) counting_ = info.seccomp.args[0] != 0;
  if (number == kMark || !counting_ || (task.isThread && !ofThreads_)) return resume(id, task);
  const Call call{task.name, number, ++task.calls[number]};
  const bool isTheOne = intervention_.deed != Deed::Nothing && call == intervention_.at;
  run_.calls.push_back(call);
  processor_ = info.arch;
  isTheOne ? intervene(id, task) : resume(id, task);
}

void TracedTree::intervene(pid_t id, Task& task) {
  run_.met = true;
  if (intervention_.deed == Deed::KillBefore) return endAll(End::Killed);
  const bool failsUnmade = intervention_.deed == Deed::Fail && !isMadeAlthoughItFails(intervention_.at.number);
  if (failsUnmade && !fail(id, true)) return;
  task.isReturning = !failsUnmade;
  resume(id, task);
}

void TracedTree::returned(pid_t id, Task& task) {
  if (task.isReturning && intervention_.deed == Deed::KillAfter) return endAll(End::Killed);
  if (task.isReturning && !fail(id, false)) return;
  task.isReturning = false;
  resume(id, task);
}

// Everything is killed if the kernel does not permit it.
bool TracedTree::fail(pid_t id, bool unmade) {
  if ((!unmade || forgetCall(id, processor_)) && setError(id, processor_, intervention_.error)) return true;
  giveUp("the registers of this processor cannot be set");
  return false;
}

void TracedTree::giveUp(const std::string& problem) {
  run_.problem = problem;
  endAll(End::NotTraced);
}

void TracedTree::resume(pid_t id, const Task& task, int signal) const {
  trace(task.isReturning ? PTRACE_SYSCALL : PTRACE_CONT, id, 0,
        reinterpret_cast<const void*>(static_cast<long>(signal)));
}

// The oldest first: nobody observes the end of a child and goes on.
void TracedTree::endAll(End why) {
  ending_ = true;
  run_.end = why;
  std::vector<std::pair<std::string, pid_t>> all;
  for (const auto& [id, task] : tasks_) all.emplace_back(task.name, id);
  for (const pid_t id : unknown_) all.emplace_back("?", id);
  std::ranges::sort(all, {}, [](const auto& task) { return task.first.size(); });
  for (const auto& task : all) ::kill(task.second, SIGKILL);
}

}  // namespace qm::testing
