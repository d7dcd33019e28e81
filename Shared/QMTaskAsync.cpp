#include <utility>

#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"

using qm::platform::platform;
using qm::platform::Task;
using qm::platform::TaskStream;

/// That a thread lets go of what a run held. What ends by that and ends its runner's run means that very run: another
/// may have taken its place while a delegate was kept by a call.
class QMTask::LettingGo {
 public:
  LettingGo(const QMTask& runner, std::shared_ptr<Task> task)
      : runner_(runner), task_(std::move(task)), outer_(std::exchange(innermost(), this)) {}
  LettingGo(const LettingGo&) = delete;
  LettingGo& operator=(const LettingGo&) = delete;
  ~LettingGo() { innermost() = outer_; }

  /// The task whose run the calling thread lets go of; null when it does not.
  static const std::shared_ptr<Task>* of(const QMTask& runner) {
    for (const LettingGo* scope = innermost(); scope != nullptr; scope = scope->outer_) {
      if (&scope->runner_ == &runner) return &scope->task_;
    }
    return nullptr;
  }

 private:
  static const LettingGo*& innermost() {
    static thread_local const LettingGo* scope = nullptr;
    return scope;
  }

  const QMTask& runner_;
  const std::shared_ptr<Task> task_;
  const LettingGo* const outer_;
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

/// The delegate and the context of the run before go while that run is still the one in the slot: what they end
/// as they go is theirs.
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
  if (const auto* own = LettingGo::of(*this)) {
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

/// Ends the run of one task, and leaves another alone that has taken its place.
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

/// Nobody is called any more once the receiver is taken, so the rest needs no lock. It goes in an order that a delegate
/// or a context can tell as it ends: the output is closed, the tool still in the slot and not yet asked to end.
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

/// A launch that has begun is waited for, since a tool can be ended only when it is there; one that has not will
/// not begin.
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

/// Under the lock. The run stays, with nobody to call.
QMTask::AsyncReceiver QMTask::takeReceiver() {
  AsyncReceiver taken;
  taken.task = receiver_.task;
  std::swap(taken.delegate, receiver_.delegate);
  std::swap(taken.selector, receiver_.selector);
  std::swap(taken.object, receiver_.object);
  return taken;
}

/// Never under a lock: who ends here may call back.
void QMTask::letGo(AsyncReceiver receiver) {
  const LettingGo scope(*this, receiver.task);
  receiver.delegate.reset();
  receiver.object.reset();
}

// MARK: - The reading thread

void QMTask::launchAsyncTask() { readAsyncTask(theTask()); }

/// A reading thread serves its own run only: when another one has taken its place, it leaves.
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

/// A tool whose place another has taken runs on, and may print: a pipe that nobody reads would end it.
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
    const std::string none;  // the end is told by a buffer of its own
    const std::string& data = notification.data().empty() ? none : notification.data();
    receiver.delegate->perform(*receiver.selector, data, *this, receiver.object);
  }
  letGo(std::move(receiver));
}

/// The run of a task has neither ended nor begun to.
bool QMTask::isInProgress(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task ? !receiver_.isEnding : theTask() == task;
}

/// Who receives a task's output; nobody once its run has ended or another has taken its place.
QMTask::AsyncReceiver QMTask::receiverOf(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task ? receiver_ : AsyncReceiver();
}
