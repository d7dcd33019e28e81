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
  beginAsyncRun(task, {delegate, selector, object});
  if (platform().threads->detachNewThread([self = shared_from_this(), task] { self->readAsyncTask(task); })) return;
  QMLog::appendLogAndPrint("Unable to launch async task - no thread");
  endAsyncRun(task.get());
}

/// What the run before held is let go of outside the lock: a delegate that ends may call back.
void QMTask::beginAsyncRun(const std::shared_ptr<Task>& task, AsyncReceiver receiver) {
  const std::scoped_lock lock(asyncMutex_);
  std::swap(receiver_, receiver);
  setTheTask(task);
}

void QMTask::terminateAsyncTask() { endAsyncRun(nullptr); }

/// Ends the run in progress, or only that of one task if it is still in progress. The state goes first, so
/// that a reader whose read is cut short finds nobody to call. A launch that has begun is waited for,
/// since a tool can be ended only when it is there; one that has not will not begin.
void QMTask::endAsyncRun(const Task* only) {
  AsyncReceiver released;
  std::shared_ptr<Task> task;
  {
    const std::scoped_lock lock(asyncMutex_);
    task = theTask();
    if (only != nullptr && task.get() != only) return;
    std::swap(receiver_, released);
    setTheTask(nullptr);
  }
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
  deliver(AsyncTaskNotification::withData(std::string()), task);
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
  endAsyncRun(task.get());
  return false;
}

std::string QMTask::nextPiece(const std::shared_ptr<Task>& task) const {
  if (theTask() != task) return {};
  const auto reader = task->standardOutputReader();
  return reader ? reader->availableData() : std::string();
}

// MARK: - Delivery

void QMTask::asyncTaskReturnData(const AsyncTaskNotification& notification) { deliver(notification, theTask()); }

void QMTask::deliver(const AsyncTaskNotification& notification, const std::shared_ptr<Task>& task) {
  const std::string& data = notification.data();
  const AsyncReceiver receiver = receiverOf(task);
  if (receiver.delegate && receiver.selector && receiver.delegate->respondsToSelector(*receiver.selector))
    receiver.delegate->perform(*receiver.selector, data, *this, receiver.object);
  if (data.empty()) endAsyncRun(task.get());
}

/// Who receives a task's output; nobody once its run has ended or another has taken its place.
QMTask::AsyncReceiver QMTask::receiverOf(const std::shared_ptr<Task>& task) const {
  const std::scoped_lock lock(asyncMutex_);
  return theTask() == task ? receiver_ : AsyncReceiver();
}
