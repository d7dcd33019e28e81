// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeMainThread.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace qm::testing {

struct FakeMainThread::State {
  struct Work {
    std::function<void()> body;
    std::shared_ptr<bool> done;  // null if nobody waits
  };

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::thread::id thread = std::this_thread::get_id();
  std::deque<Work> queue;
  std::size_t running = 0;  // taken from the queue
  std::size_t pokes = 0;
  bool ended = false;      // the application
  bool waitersGo = false;  // even if their work ended it
  bool closed = false;

  void add(Work work) {
    const std::scoped_lock lock(mutex);
    queue.push_back(std::move(work));
    ++pokes;
    changed.notify_all();
  }

  void set(bool State::*flag) {
    const std::scoped_lock lock(mutex);
    this->*flag = true;
    changed.notify_all();
  }
};

FakeMainThread::FakeMainThread(Calls& calls, FakeClock& clock)
    : calls_(calls), clock_(clock), state_(std::make_shared<State>()) {}

FakeMainThread::~FakeMainThread() { close(); }

void FakeMainThread::claim() {
  const std::scoped_lock lock(state_->mutex);
  state_->thread = std::this_thread::get_id();
}

void FakeMainThread::disown() {
  const std::scoped_lock lock(state_->mutex);
  state_->thread = {};
}

void FakeMainThread::serveOnOwnThread() {
  disown();
  server_ = std::thread([this] {
    claim();
    const auto isClosed = [this] {
      const std::scoped_lock lock(state_->mutex);
      return state_->closed;
    };
    while (!isClosed()) pumpUntil(isClosed);
  });
}

bool FakeMainThread::runOne() {
  State::Work work;
  {
    const std::scoped_lock lock(state_->mutex);
    if (state_->queue.empty()) return false;
    work = std::move(state_->queue.front());
    state_->queue.pop_front();
    ++state_->running;
  }
  work.body();
  const std::scoped_lock lock(state_->mutex);
  --state_->running;
  if (work.done && !state_->ended) *work.done = true;
  state_->changed.notify_all();
  return true;
}

std::size_t FakeMainThread::pump() {
  std::size_t count = 0;
  while (runOne()) ++count;
  return count;
}

bool FakeMainThread::pumpUntil(const std::function<bool()>& condition) {
  using Clock = std::chrono::steady_clock;
  std::size_t seen = 0;
  for (Clock::duration left = std::chrono::seconds(30);;) {
    const auto start = Clock::now();
    {
      const std::scoped_lock lock(state_->mutex);
      seen = state_->pokes;
    }
    pump();
    if (condition()) return true;
    if (left < Clock::duration::zero()) return false;
    // A condition that changes without a poke is checked now and then.
    std::unique_lock lock(state_->mutex);
    const auto isNews = [&] { return state_->pokes != seen || state_->closed; };
    state_->changed.wait_for(lock, std::chrono::milliseconds(2), isNews);
    // While the whole machine stands still, the other threads do not run either, so that time hardly counts.
    left -= std::min<Clock::duration>(Clock::now() - start, std::chrono::milliseconds(100));
  }
}

void FakeMainThread::poke() {
  const std::scoped_lock lock(state_->mutex);
  ++state_->pokes;
  state_->changed.notify_all();
}

std::size_t FakeMainThread::queued() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->queue.size();
}

bool FakeMainThread::isIdle() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->queue.empty() && state_->running == 0;
}

void FakeMainThread::applicationEnded() { state_->set(&State::ended); }

void FakeMainThread::releaseWaiters() { state_->set(&State::waitersGo); }

void FakeMainThread::close() {
  state_->set(&State::closed);
  if (server_.joinable()) server_.join();
}

bool FakeMainThread::isMainThread() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->thread == std::this_thread::get_id();
}

void FakeMainThread::performAndWait(std::function<void()> work) {
  calls_.note("mainThread.performAndWait");
  if (isMainThread()) return work();
  const std::shared_ptr<State> state = state_;  // nothing of this object is touched after the wait
  const auto done = std::make_shared<bool>(false);
  state->add({std::move(work), done});
  std::unique_lock lock(state->mutex);
  state->changed.wait(lock, [&] { return *done || state->closed || (state->ended && state->waitersGo); });
}

void FakeMainThread::perform(std::function<void()> work) {
  calls_.note("mainThread.perform");
  state_->add({std::move(work), nullptr});
}

bool FakeMainThread::handleOneEvent(std::chrono::milliseconds limit) {
  calls_.note("mainThread.handleOneEvent", static_cast<long long>(limit.count()));
  if (runOne()) return true;
  clock_.advance(limit);
  return false;
}

}  // namespace qm::testing
