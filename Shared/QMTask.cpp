// SPDX-License-Identifier: MIT
#include "Shared/QMTask.h"

#include <cmath>
#include <tuple>
#include <utility>

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/FileSystem.h"
#include "Platform/MainThread.h"
#include "Platform/Packages.h"
#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Shared/QMLog.h"

using qm::foundation::StringEncoding;
using qm::platform::OutputReader;
using qm::platform::platform;
using qm::platform::printToConsole;
using qm::platform::Task;
using qm::platform::TaskStream;

namespace {

constexpr long kNoProcess = -1;

/// Receives a task as soon as it is made, before it is launched.
using TaskReceiver = std::function<void(const std::shared_ptr<Task>&)>;

TaskReceiver storingIn(std::shared_ptr<Task>* slot) {
  return [slot](const std::shared_ptr<Task>& task) {
    if (slot != nullptr) *slot = task;
  };
}

bool isExecutable(const std::string& path) {
  if (platform().fileSystem->isExecutableFile(path) && !platform().packages->isFilePackage(path)) return true;
  printToConsole("Error: %@ is not executable", path);
  QMLog::appendLog("Error: %@ is not executable", path);
  return false;
}

void prepareSilent(Task& task, const std::string& path, const QMTask::Arguments& arguments) {
  task.setLaunchPath(path);
  if (arguments) task.setArguments(*arguments);
  task.setStandardError(TaskStream::NullDevice);
  task.setStandardOutput(TaskStream::NullDevice);
}

long runForStatus(const std::string& path, const QMTask::Arguments& arguments, const TaskReceiver& receive) {
  if (!isExecutable(path)) return kNoProcess;
  const auto task = platform().tasks->makeTask();
  prepareSilent(*task, path, arguments);
  receive(task);
  if (!task->launch()) return kNoProcess;
  if (task->isRunning()) task->waitUntilExit();
  return task->terminationStatus();
}

bool runToExit(const std::string& path, const QMTask::Arguments& arguments, const TaskReceiver& receive) {
  if (!isExecutable(path)) return false;
  const auto task = platform().tasks->makeTask();
  receive(task);
  prepareSilent(*task, path, arguments);
  if (!task->launch()) return false;
  task->waitUntilExit();
  return true;
}

/// Reads standard output to its end, then standard error to its end; output on standard error takes precedence.
std::string readBoth(OutputReader& output, OutputReader& error) {
  std::string outputData;
  std::string errorData;
  while (true) {
    const std::string outputPiece = output.availableData();
    const std::string errorPiece = outputPiece.empty() ? error.availableData() : std::string();
    if (outputPiece.empty() && errorPiece.empty()) break;
    outputData += outputPiece;
    errorData += errorPiece;
  }
  error.close();
  output.close();
  return errorData.empty() ? outputData : errorData;
}

QMTask::Data runForData(const std::string& path, const QMTask::Arguments& arguments, const TaskReceiver& receive) {
  if (!isExecutable(path)) return std::nullopt;
  const auto task = platform().tasks->makeTask();
  receive(task);
  task->setLaunchPath(path);
  task->setArguments(arguments.value_or(std::vector<std::string>()));
  task->setStandardOutput(TaskStream::Pipe);
  task->setStandardInput(TaskStream::Pipe);  // nothing is ever written to it
  task->setStandardError(TaskStream::Pipe);
  const auto output = task->standardOutputReader();
  const auto error = task->standardErrorReader();
  if (!output || !error || !task->launch()) return std::nullopt;
  return readBoth(*output, *error);
}

std::optional<std::string> decoded(const QMTask::Data& data, StringEncoding encoding) {
  return data ? qm::foundation::decode(*data, encoding) : std::string();
}

/// Truncates toward zero. NaN counts as 0; a limit beyond a century is cut to that.
std::chrono::seconds wholeSeconds(QMTask::TimeoutInterval timeout) {
  constexpr double longest = 100.0 * 366 * 24 * 3600;
  if (std::isnan(timeout.count())) return std::chrono::seconds(0);
  const double cut = std::trunc(std::fmin(std::fmax(timeout.count(), -longest), longest));
  return std::chrono::seconds(static_cast<long>(cut));
}

}  // namespace

// MARK: - Without a time limit

long QMTask::terminationCodeFromTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task) {
  return runForStatus(path, arguments, storingIn(task));
}

long QMTask::terminationCodeFromTask(const std::string& path, const Arguments& arguments) {
  return terminationCodeFromTask(path, arguments, nullptr);
}

QMTask::Data QMTask::dataFromTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task) {
  return runForData(path, arguments, storingIn(task));
}

std::optional<std::string> QMTask::stringFromTask(const std::string& path, const Arguments& arguments,
                                                  StringEncoding encoding, std::shared_ptr<Task>* task) {
  return decoded(dataFromTask(path, arguments, task), encoding);
}

std::optional<std::string> QMTask::stringFromTask(const std::string& path, const Arguments& arguments,
                                                  std::shared_ptr<Task>* task) {
  return stringFromTask(path, arguments, StringEncoding::ASCII, task);
}

std::optional<std::string> QMTask::stringFromTask(const std::string& path, const Arguments& arguments) {
  return stringFromTask(path, arguments, StringEncoding::ASCII, nullptr);
}

bool QMTask::runTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task) {
  return runToExit(path, arguments, storingIn(task));
}

bool QMTask::runTask(const std::string& path, const Arguments& arguments) { return runTask(path, arguments, nullptr); }

void QMTask::runTaskAndReturn(const std::string& path, const Arguments& arguments) {
  if (!isExecutable(path)) return;
  const auto task = platform().tasks->makeTask();
  prepareSilent(*task, path, arguments);
  std::ignore = task->launch();
}

// MARK: - With a time limit

long QMTask::terminationCodeFromTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  return make()->terminationCodeOnInstance(path, arguments, timeout);
}

QMTask::Data QMTask::dataFromTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  return make()->dataOnInstance(path, arguments, timeout);
}

std::optional<std::string> QMTask::stringFromTask(const std::string& path, const Arguments& arguments,
                                                  StringEncoding encoding, TimeoutInterval timeout) {
  return decoded(dataFromTask(path, arguments, timeout), encoding);
}

std::optional<std::string> QMTask::stringFromTask(const std::string& path, const Arguments& arguments,
                                                  TimeoutInterval timeout) {
  return stringFromTask(path, arguments, StringEncoding::ASCII, timeout);
}

void QMTask::runTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  make()->runOnInstance(path, arguments, timeout);
}

std::shared_ptr<QMTask> QMTask::make() { return std::shared_ptr<QMTask>(new QMTask); }

/// Runs an operation with its task in the slot while a timer sleeps. The timer is not notified when the operation has
/// ended; it finds the slot empty.
template <class Operation>
auto QMTask::withTimeout(TimeoutInterval timeout, Operation operation) {
  const auto body = [self = shared_from_this(), limit = wholeSeconds(timeout)] { self->setupTimeout(limit); };
  if (!platform().threads->detachNewThread(body)) printToConsole("Unable to start a timer thread");
  setTheTask(nullptr);
  auto result = operation([this](const std::shared_ptr<Task>& task) { setTheTask(task); });
  setTheTask(nullptr);
  return result;
}

long QMTask::terminationCodeOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  return withTimeout(timeout, [&](const TaskReceiver& receive) { return runForStatus(path, arguments, receive); });
}

QMTask::Data QMTask::dataOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  return withTimeout(timeout, [&](const TaskReceiver& receive) { return runForData(path, arguments, receive); });
}

void QMTask::runOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout) {
  withTimeout(timeout, [&](const TaskReceiver& receive) { return runToExit(path, arguments, receive); });
}

void QMTask::setupTimeout(std::chrono::seconds limit) {
  platform().clock->sleep(limit);
  platform().mainThread->performAndWait([self = shared_from_this()] { self->timeout(); });
}

void QMTask::timeout() {
  const auto task = theTask();
  if (!task || !task->isRunning()) return;
  printToConsole("Task timed out. Terminating...");
  QMLog::appendLog("Task %@ timed out. Terminating...", task->launchPath());
  task->terminate();
}
