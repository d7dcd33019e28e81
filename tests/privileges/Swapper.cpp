#include "tests/privileges/Swapper.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <new>

namespace qm::testing {

/// Counted by the one who swaps, read by the one who works.
struct Swapper::Count {
  std::atomic<int> swaps{0};
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

// Becomes the person for good and swaps until it is ended.
[[noreturn]] void swapForEver(std::atomic<int>& swaps, uid_t person, const std::string& folder,
                              const std::string& link) {
  if (::setresgid(person, person, person) != 0 || ::setresuid(person, person, person) != 0) ::_exit(1);
  for (;;) {
    if (exchange(folder, link)) ++swaps;
  }
}

}  // namespace

Swapper::Swapper(uid_t person, const std::string& folder, const std::string& link)
    : count_(new (sharedMemory(sizeof(Count))) Count) {
  process_ = ::fork();
  if (process_ == 0) swapForEver(count_->swaps, person, folder, link);
}

Swapper::~Swapper() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::munmap(count_, sizeof *count_);
}

int Swapper::swaps() const { return count_->swaps; }

}  // namespace qm::testing
