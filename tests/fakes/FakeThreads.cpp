// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeThreads.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace qm::testing {

void FakeThreads::keepBodies() {
  const std::scoped_lock lock(mutex_);
  keeps_ = true;
}

std::size_t FakeThreads::runKept() {
  std::vector<std::function<void()>> bodies;
  {
    const std::scoped_lock lock(mutex_);
    bodies.swap(kept_);
  }
  for (const std::function<void()>& body : bodies) body();
  return bodies.size();
}

bool FakeThreads::waitUntilAllEnded() {
  std::unique_lock lock(mutex_);
  return ended_.wait_for(lock, std::chrono::seconds(30), [&] { return running_ == 0; });
}

bool FakeThreads::detachNewThread(std::function<void()> body) {
  if (calls_.command("threads.detachNewThread")) return false;
  std::unique_lock lock(mutex_);
  if (keeps_) {
    kept_.push_back(std::move(body));
  } else {
    ++running_;
    lock.unlock();
    return start(std::move(body));
  }
  return true;
}

/// Like the services of the system, it returns false if there are no threads left.
bool FakeThreads::start(std::function<void()> body) {
  try {
    std::thread([this, body = std::move(body)]() mutable {
      body();
      body = nullptr;  // what it holds is released before the thread counts as ended
      countEnd();
    }).detach();
    return true;
  } catch (const std::system_error&) {
    countEnd();
    return false;
  }
}

void FakeThreads::countEnd() {
  const std::scoped_lock lock(mutex_);
  --running_;
  ended_.notify_all();
}

}  // namespace qm::testing
