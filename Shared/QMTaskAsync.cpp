#include <utility>

#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"

using qm::platform::platform;
using qm::platform::Task;
using qm::platform::TaskStream;

// MARK: - Pieces

AsyncTaskNotification AsyncTaskNotification::withData(std::string data) {
  AsyncTaskNotification notification{dataName, nullptr, {}};
  notification.userInfo.emplace(dataItem, std::move(data));
  return notification;
}

const std::string& AsyncTaskNotification::data() const {
  static const std::string none;
  const auto item = userInfo.find(dataItem);
  return item == userInfo.end() ? none : item->second;
}

// MARK: - Beginning and ending a run

void QMTask::asyncDataFromTask(const std::string& path, const Arguments& arguments,
                               const std::shared_ptr<AsyncTaskDelegate>& delegate, const AsyncTaskSelector& selector,
                               const std::shared_ptr<void>& object) {
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

/// What the run before held is let go of outside the lock: a delegate that ends may call back.
void QMTask::beginAsyncRun(AsyncReceiver receiver) {
  const std::scoped_lock lock(asyncMutex_);
  std::swap(receiver_, receiver);
  setTheTask(receiver_.task);
}

/// The state goes first, so that a reader whose read is cut short finds nobody to call.
void QMTask::terminateAsyncTask() {
  AsyncReceiver released;
  std::shared_ptr<Task> task;
  {
    const std::scoped_lock lock(asyncMutex_);
    task = theTask();
    std::swap(receiver_, released);
    setTheTask(nullptr);
  }
  endTool(task);
  if (released.task != task) endTool(released.task);
}

/// Ends the run of one task, and leaves another alone that has taken its place.
void QMTask::endAsyncRun(const std::shared_ptr<Task>& task) {
  AsyncReceiver released;
  {
    const std::scoped_lock lock(asyncMutex_);
    if (receiver_.task == task) std::swap(receiver_, released);
    if (theTask() == task) setTheTask(nullptr);
  }
  endTool(task);
}

/// A launch that has begun is waited for, since a tool can be ended only when it is there; one that has not will
/// not begin.
void QMTask::endTool(const std::shared_ptr<Task>& task) {
  if (!task) return;
  if (const auto reader = task->standardOutputReader()) reader->close();
  const std::scoped_lock lock(launchMutex_);
  task->terminate();
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
    deliver(AsyncTaskNotification::withData(std::move(piece)), task);
  finish(task);
}

/// A tool whose place another has taken runs on, and may print: a pipe that nobody reads would end it.
void QMTask::finish(const std::shared_ptr<Task>& task) {
  if (isInProgress(task)) {
    deliver(AsyncTaskNotification::withData(std::string()), task);
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
    if (theTask() != task) return false;
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

void QMTask::asyncTaskReturnData(const AsyncTaskNotification& notification) {
  std::shared_ptr<Task> task;
  {
    const std::scoped_lock lock(asyncMutex_);
    task = receiver_.task ? receiver_.task : theTask();
  }
  deliver(notification, task);
  if (notification.data().empty()) endAsyncRun(task);
}

void QMTask::deliver(const AsyncTaskNotification& notification, const std::shared_ptr<Task>& task) {
  const AsyncReceiver receiver = receiverOf(task);
  if (receiver.delegate && receiver.selector && receiver.delegate->respondsToSelector(*receiver.selector))
    receiver.delegate->perform(*receiver.selector, notification.data(), *this, receiver.object);
}

bool QMTask::isInProgress(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task || theTask() == task;
}

/// Who receives a task's output; nobody once its run has ended or another has taken its place.
QMTask::AsyncReceiver QMTask::receiverOf(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return receiver_.task == task ? receiver_ : AsyncReceiver();
}
