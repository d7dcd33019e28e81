// SPDX-License-Identifier: MIT
#include "Platform/posix/process/MainLoop.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <future>
#include <memory>
#include <utility>

namespace qm::posix {
namespace {

constexpr int kNoTimeLimit = -1;

enum class Ready { Nothing, Work, Descriptor };

/// What is ready. The descriptor has priority over work, so that its waiter continues.
Ready waitFor(int queued, int descriptor, int milliseconds) {
  std::array<pollfd, 2> watched = {{{queued, POLLIN, 0}, {descriptor, POLLIN, 0}}};
  int ready = 0;
  do {
    ready = ::poll(watched.data(), watched.size(), milliseconds);
  } while (ready < 0 && errno == EINTR);
  if (ready <= 0) return Ready::Nothing;
  return watched[1].revents != 0 ? Ready::Descriptor : Ready::Work;
}

}  // namespace

MainLoop::MainLoop() : mainThread_(std::this_thread::get_id()) {}

bool MainLoop::isMainThread() const { return std::this_thread::get_id() == mainThread_; }

void MainLoop::performAndWait(std::function<void()> work) {
  if (isMainThread()) return work();
  const auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  perform([done, work = std::move(work)] {
    work();
    done->set_value();
  });
  finished.wait();
}

void MainLoop::perform(std::function<void()> work) {
  const std::scoped_lock lock(mutex_);
  queue_.push_back(std::move(work));
  queued_.raise();
}

bool MainLoop::handleOneEvent(std::chrono::milliseconds limit) {
  if (runNext()) return true;
  const auto wait = static_cast<int>(std::max<std::chrono::milliseconds::rep>(limit.count(), 0));
  return waitFor(queued_.descriptor(), -1, wait) == Ready::Work && runNext();
}

void MainLoop::waitUntilReadable(int descriptor) {
  while (waitFor(queued_.descriptor(), descriptor, kNoTimeLimit) == Ready::Work) runNext();
}

/// Empty if there is none.
std::function<void()> MainLoop::takeNext() {
  const std::scoped_lock lock(mutex_);
  if (queue_.empty()) return {};
  std::function<void()> work = std::move(queue_.front());
  queue_.pop_front();
  if (queue_.empty()) queued_.lower();
  return work;
}

bool MainLoop::runNext() {
  const std::function<void()> work = takeNext();
  if (work) work();
  return static_cast<bool>(work);
}

}  // namespace qm::posix
