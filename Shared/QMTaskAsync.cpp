// SPDX-License-Identifier: MIT
#include <utility>

#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"

using qm::platform::platform;
using qm::platform::Task;
using qm::platform::TaskStream;

/// Marks that a thread is releasing the objects that a run held. A destructor of such an object may call
/// `terminateAsyncTask`. The call then applies to that run, even if another run has replaced it in the slot meanwhile.
class QMTask::Releasing {
 public:
  Releasing(const QMTask& runner, std::shared_ptr<Task> task)
      : runner_(runner), task_(std::move(task)), outer_(std::exchange(innermost(), this)) {}
  Releasing(const Releasing&) = delete;
  Releasing& operator=(const Releasing&) = delete;
  ~Releasing() { innermost() = outer_; }

  /// The task whose run the calling thread is releasing; null if it is not.
  static const std::shared_ptr<Task>* of(const QMTask& runner) {
    for (const Releasing* scope = innermost(); scope != nullptr; scope = scope->outer_) {
      if (&scope->runner_ == &runner) return &scope->task_;
    }
    return nullptr;
  }

 private:
  static const Releasing*& innermost() {
    static thread_local const Releasing* scope = nullptr;
    return scope;
  }

  const QMTask& runner_;
  const std::shared_ptr<Task> task_;
  const Releasing* const outer_;
};

// MARK: - Pieces

qm::AsyncTaskNotification qm::AsyncTaskNotification::withData(std::string data) {
  qm::AsyncTaskNotification notification{dataName, nullptr, {}};
  notification.userInfo.emplace(dataItem, std::move(data));
  return notification;
}

const std::string& qm::AsyncTaskNotification::data() const {
  static const std::string none;
  const auto item = userInfo.find(dataItem);
  return item == userInfo.end() ? none : item->second;
}

// MARK: - Beginning and ending a run

void QMTask::asyncDataFromTask(const std::string& path, const Arguments& arguments,
                               const std::shared_ptr<qm::AsyncTaskDelegate>& delegate,
                               const qm::AsyncTaskSelector& selector, const std::shared_ptr<void>& object) {
  giveUpReceiver();
  const auto task = platform().tasks->makeTask();
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardError(TaskStream::NullDevice);
  task->setLaunchPath(path);
  task->setArguments(arguments.value_or(std::vector<std::string>()));
  beginAsyncRun({task, delegate, selector, object});
  if (platform().threads->detachNewThread([self = shared_from_this(), task] { self->readAsyncTask(task); })) return;
  QMLog::appendLogAndPrint("Unable to launch async task - no thread");
  endAsyncRun(task);
}

/// The delegate and the context of the previous run are released while that run is still in the slot. So if their
/// destructors call `terminateAsyncTask`, they end their own run.
void QMTask::giveUpReceiver() {
  AsyncReceiver released;
  {
    const std::scoped_lock lock(asyncMutex_);
    released = takeReceiver();
  }
  letGo(std::move(released));
}

void QMTask::beginAsyncRun(AsyncReceiver receiver) {
  {
    const std::scoped_lock lock(asyncMutex_);
    std::swap(receiver_, receiver);
    setTheTask(receiver_.task);
  }
  letGo(std::move(receiver));  // of a run that another thread has begun meanwhile
}

void QMTask::terminateAsyncTask() {
  if (const auto* own = Releasing::of(*this)) {
    if (isInProgress(*own)) endAsyncRun(*own);
    return;
  }
  AsyncReceiver released;
  std::shared_ptr<Task> task;
  {
    const std::scoped_lock lock(asyncMutex_);
    if (receiver_.isEnding) return;
    task = theTask();
    released = takeReceiver();
    receiver_.isEnding = true;
  }
  completeEnding(std::move(released), task);
}

/// Ends the run of one task. Does nothing to another run that has replaced it.
void QMTask::endAsyncRun(const std::shared_ptr<Task>& task) {
  AsyncReceiver released;
  {
    const std::scoped_lock lock(asyncMutex_);
    if (receiver_.task == task) {
      if (receiver_.isEnding) return;
      released = takeReceiver();
      receiver_.isEnding = true;
    }
  }
  completeEnding(std::move(released), task);
}

/// After the receiver is taken nobody is called any more, so the rest needs no lock. A delegate or context can observe
/// the order in its destructor: the output is closed, the tool still in the slot and not yet asked to end.
void QMTask::completeEnding(AsyncReceiver released, const std::shared_ptr<Task>& task) {
  const std::shared_ptr<Task> own = released.task == task ? nullptr : released.task;
  closeOutput(task);
  closeOutput(own);
  letGo(std::move(released));
  endTool(task);
  endTool(own);
  forget(task);
  forget(own);
}

void QMTask::closeOutput(const std::shared_ptr<Task>& task) {
  const auto reader = task ? task->standardOutputReader() : nullptr;
  if (reader) reader->close();
}

/// Waits for a launch in progress, since a tool can be ended only after it was started. A launch that has not begun by
/// then does not begin any more.
void QMTask::endTool(const std::shared_ptr<Task>& task) {
  if (!task) return;
  const std::scoped_lock lock(launchMutex_);
  task->terminate();
}

void QMTask::forget(const std::shared_ptr<Task>& task) {
  const std::scoped_lock lock(asyncMutex_);
  if (receiver_.task == task) receiver_ = AsyncReceiver();
  if (theTask() == task) setTheTask(nullptr);
}

/// Called under the lock. The run goes on, with nobody to call.
QMTask::AsyncReceiver QMTask::takeReceiver() {
  AsyncReceiver taken;
  taken.task = receiver_.task;
  std::swap(taken.delegate, receiver_.delegate);
  std::swap(taken.selector, receiver_.selector);
  std::swap(taken.object, receiver_.object);
  return taken;
}

/// Never called under a lock: a destructor may call back.
void QMTask::letGo(AsyncReceiver receiver) {
  const Releasing scope(*this, receiver.task);
  receiver.delegate.reset();
  receiver.object.reset();
}

// MARK: - The reading thread

void QMTask::launchAsyncTask() { readAsyncTask(theTask()); }

/// A reading thread serves only its own run. If another one has replaced it, the thread ends.
void QMTask::readAsyncTask(const std::shared_ptr<Task>& task) {
  if (!theTask()) {
    QMLog::appendLog("Unable to launch async task - no task set");
    return;
  }
  if (!launchForReading(task)) return;
  for (std::string piece = nextPiece(task); !piece.empty(); piece = nextPiece(task))
    deliver(qm::AsyncTaskNotification::withData(std::move(piece)), task);
  finish(task);
}

/// A tool whose run was replaced goes on and may print; if nobody read its pipe, it would be ended.
void QMTask::finish(const std::shared_ptr<Task>& task) {
  if (isInProgress(task)) {
    deliver(qm::AsyncTaskNotification::withData(std::string()), task);
    endAsyncRun(task);
  } else if (const auto reader = task->standardOutputReader()) {
    while (!reader->availableData().empty()) {
    }
  }
}

bool QMTask::launchForReading(const std::shared_ptr<Task>& task) {
  qm::platform::Status launched;
  {
    const std::scoped_lock lock(launchMutex_);
    if (!isInProgress(task) || theTask() != task) return false;
    launched = task->launch();
  }
  if (launched) return true;
  QMLog::appendLogAndPrint("Unable to launch async task - %@", launched.localizedDescription());
  endAsyncRun(task);
  return false;
}

std::string QMTask::nextPiece(const std::shared_ptr<Task>& task) const {
  if (theTask() != task) return {};
  const auto reader = task->standardOutputReader();
  return reader ? reader->availableData() : std::string();
}

// MARK: - Delivery

void QMTask::asyncTaskReturnData(const qm::AsyncTaskNotification& notification) {
  std::shared_ptr<Task> task;
  {
    const std::scoped_lock lock(asyncMutex_);
    task = receiver_.task ? receiver_.task : theTask();
  }
  deliver(notification, task);
  if (notification.data().empty()) endAsyncRun(task);
}

void QMTask::deliver(const qm::AsyncTaskNotification& notification, const std::shared_ptr<Task>& task) {
  AsyncReceiver receiver = receiverOf(task);
  if (receiver.delegate && receiver.selector && receiver.delegate->respondsToSelector(*receiver.selector)) {
    const std::string none;  // a new buffer for the end
    const std::string& data = notification.data().empty() ? none : notification.data();
    receiver.delegate->perform(*receiver.selector, data, *this, receiver.object);
  }
  letGo(std::move(receiver));
}

/// The run of a task has neither ended nor begun to end.
bool QMTask::isInProgress(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task ? !receiver_.isEnding : theTask() == task;
}

/// The receiver of a task's output; none once its run has ended or was replaced.
QMTask::AsyncReceiver QMTask::receiverOf(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task ? receiver_ : AsyncReceiver();
}
