// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtMainThread.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <QTimer>
#include <condition_variable>
#include <cstdint>
#include <utility>

namespace qm::qt {

namespace {

/// Work that its caller waits for. Shared by the two threads, because either may be the last to
/// look at it.
struct WorkItem {
  std::function<void()> work;
  std::mutex mutex;
  std::condition_variable finished;
  bool isFinished = false;

  void finish() {
    const std::scoped_lock lock(mutex);
    isFinished = true;
    finished.notify_all();
  }
  void wait() {
    std::unique_lock lock(mutex);
    finished.wait(lock, [this] { return isFinished; });
  }
};

}  // namespace

// The descriptor counts the queued pieces of work, and every read takes one off.
QtMainThread::QtMainThread()
    : mainThread_(std::this_thread::get_id()), wakeUps_(::eventfd(0, EFD_SEMAPHORE | EFD_CLOEXEC | EFD_NONBLOCK)) {}

QtMainThread::~QtMainThread() = default;

bool QtMainThread::isMainThread() const { return std::this_thread::get_id() == mainThread_; }

void QtMainThread::performAndWait(std::function<void()> work) {
  if (isMainThread()) {
    work();
    return;
  }
  auto item = std::make_shared<WorkItem>();
  item->work = std::move(work);
  perform([this, item] {
    item->work();
    if (!holdsWaitingCallers_) item->finish();
  });
  item->wait();
}

void QtMainThread::perform(std::function<void()> work) {
  const std::scoped_lock lock(mutex_);
  if (ended_) return;
  queue_.push_back(std::move(work));
  const std::uint64_t one = 1;
  // If the counter is full this fails, but then the event loop is awake anyway. Without a descriptor, `begin` has
  // failed.
  [[maybe_unused]] const auto written = ::write(wakeUps_.get(), &one, sizeof one);
}

bool QtMainThread::handleOneEvent(std::chrono::milliseconds limit) {
  auto* dispatcher = QAbstractEventDispatcher::instance();
  if (dispatcher == nullptr) {  // outside the application's life there are no events
    std::this_thread::sleep_for(limit);
    return false;
  }
  if (dispatcher->processEvents(QEventLoop::AllEvents)) return true;
  if (limit <= std::chrono::milliseconds::zero()) return false;
  bool timedOut = false;
  QTimer timer;
  timer.setSingleShot(true);
  timer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer, &QTimer::timeout, [&timedOut] { timedOut = true; });
  timer.start(limit);
  dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  return !timedOut;
}

bool QtMainThread::begin() {
  if (!wakeUps_) return false;
  notifier_ = std::make_unique<QSocketNotifier>(wakeUps_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { runNext(); });
  return true;
}

void QtMainThread::holdWaitingCallers() { holdsWaitingCallers_ = true; }

bool QtMainThread::holdsWaitingCallers() const { return holdsWaitingCallers_; }

void QtMainThread::end() {
  notifier_.reset();
  std::deque<std::function<void()>> dropped;
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  dropped.swap(queue_);
}

void QtMainThread::runNext() {
  std::uint64_t one = 0;
  if (::read(wakeUps_.get(), &one, sizeof one) != static_cast<ssize_t>(sizeof one)) return;
  std::function<void()> work;
  {
    const std::scoped_lock lock(mutex_);
    if (queue_.empty()) return;
    work = std::move(queue_.front());
    queue_.pop_front();
  }
  work();
}

}  // namespace qm::qt
