// SPDX-License-Identifier: MIT
#include "tests/privileges/Swapper.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <new>

namespace qm::testing {

/// Counted by the process that moves, read by the one that works.
struct Opponent::Count {
  std::atomic<int> moves{0};
};

namespace {

constexpr unsigned kExchange = 2;  // RENAME_EXCHANGE

void* sharedMemory(std::size_t size) {
  void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

bool exchange(const std::string& one, const std::string& other) {
  return ::syscall(SYS_renameat2, AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), kExchange) == 0;
}

bool showAndHide(const std::string& folder, const std::string& place) {
  if (::mount(folder.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0) return false;
  ::sched_yield();
  ::umount2(place.c_str(), MNT_DETACH);
  return true;
}

// Becomes the user permanently and moves until it is ended.
[[noreturn]] void moveForEver(std::atomic<int>& moves, uid_t person, const std::function<bool()>& move) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::setresgid(person, person, person) != 0 || ::setresuid(person, person, person) != 0) ::_exit(1);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // reset when the rights change
  for (;;) {
    if (move()) ++moves;
  }
}

}  // namespace

Opponent::Opponent(uid_t person, const std::function<bool()>& move) : count_(new (sharedMemory(sizeof(Count))) Count) {
  process_ = ::fork();
  if (process_ == 0) moveForEver(count_->moves, person, move);
}

Opponent::~Opponent() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::munmap(count_, sizeof *count_);
}

int Opponent::moves() const { return count_->moves; }

Swapper::Swapper(uid_t person, const std::string& folder, const std::string& link)
    : opponent_(person, [folder, link] { return exchange(folder, link); }) {}

Mounter::Mounter(const std::string& folder, const std::string& place)
    : opponent_(0, [folder, place] { return showAndHide(folder, place); }) {}

}  // namespace qm::testing
