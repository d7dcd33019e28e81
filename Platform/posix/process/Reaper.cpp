// SPDX-License-Identifier: MIT
#include "Platform/posix/process/Reaper.h"

#include <poll.h>

#include <iterator>
#include <system_error>

namespace qm::posix {
namespace {
// Without a wake-up descriptor the thread polls.
constexpr int kLookAgainMilliseconds = 1000;
constexpr int kNoLimit = -1;
}  // namespace

Reaper::~Reaper() {
  {
    const std::scoped_lock lock(mutex_);
    ending_ = true;
  }
  wakeup_.raise();
  if (thread_.joinable()) thread_.join();
}

void Reaper::adopt(ProcessHandle child) {
  const std::scoped_lock lock(mutex_);
  adopted_.push_back(std::move(child));
  if (!thread_.joinable()) startThread();
  wakeup_.raise();
}

void Reaper::startThread() {
  try {
    thread_ = std::thread(&Reaper::run, this);
  } catch (const std::system_error&) {
    // No thread can be started now; the next released child tries again.
  }
}

void Reaper::run() {
  while (takeAdopted()) {
    std::erase_if(children_, [](const ProcessHandle& child) { return child.reap().has_value(); });
    waitForChange();
  }
}

bool Reaper::takeAdopted() {
  wakeup_.lower();
  const std::scoped_lock lock(mutex_);
  std::move(adopted_.begin(), adopted_.end(), std::back_inserter(children_));
  adopted_.clear();
  return !ending_;
}

// Returns when a child has exited or another thread has raised the wakeup.
void Reaper::waitForChange() const {
  std::vector<pollfd> watched{{wakeup_.descriptor(), POLLIN, 0}};
  for (const ProcessHandle& child : children_) watched.push_back({child.descriptor(), POLLIN, 0});
  ::poll(watched.data(), static_cast<nfds_t>(watched.size()),
         wakeup_.descriptor() < 0 ? kLookAgainMilliseconds : kNoLimit);
}

}  // namespace qm::posix
