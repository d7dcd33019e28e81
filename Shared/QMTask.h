// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AtomicProperty.h"
#include "Platform/Tasks.h"
#include "Platform/foundation/Strings.h"
#include "Shared/AsyncTaskDelegate.h"

/// Runs a command-line tool by its absolute path, without a shell, and waits for it; or, on an instance, runs it in the
/// background and passes its output on as it comes.
///
/// A launch path that is not an executable file, or is a bundle, is refused with "Error: %@ is not executable" on the
/// console and in the log. In that case, and if the system itself refuses the launch (about which nothing is logged),
/// the call returns the value that means that no process was started: -1, null, "" or false. A wait on the main thread
/// serves its event loop. Arguments may be null (none).
///
/// The forms with a time limit ask the tool to end when the limit has passed; the call then returns in its normal way,
/// with what the tool left. Their timer thread always sleeps for the whole limit.
class QMTask : public std::enable_shared_from_this<QMTask> {
 public:
  /// One run of a tool.
  using Task = qm::platform::Task;
  /// Seconds; only the whole part counts (2.9 is 2, 0.5 is 0).
  using TimeoutInterval = std::chrono::duration<double>;
  /// The arguments after the tool's name; null is none.
  using Arguments = std::optional<std::vector<std::string>>;
  using Data = std::optional<std::string>;  ///< bytes; null when no process was started

  /// `terminationCodeFromTask:arguments:task:`. The exit status, an `int` widened to `long`; output discarded.
  /// When not null, `task` receives the task before it is launched.
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task);
  /// `terminationCodeFromTask:arguments:`
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments);
  /// `terminationCodeFromTask:arguments:timeout:`
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);

  /// `dataFromTask:arguments:task:`. What the tool printed to standard error or, only if that is empty, to standard
  /// output. Standard output is read to its end first, so a tool that fills the error pipe meanwhile blocks. Does not
  /// wait for the tool to exit.
  static Data dataFromTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task);
  /// `dataFromTask:arguments:timeout:`
  static Data dataFromTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);

  /// `stringFromTask:arguments:encoding:task:`. The same bytes as text: "" when no process was
  /// started, null when the bytes are not valid in the encoding.
  static std::optional<std::string> stringFromTask(const std::string& path, const Arguments& arguments,
                                                   qm::foundation::StringEncoding encoding,
                                                   std::shared_ptr<Task>* task);
  /// `stringFromTask:arguments:task:`. In 7-bit ASCII.
  static std::optional<std::string> stringFromTask(const std::string& path, const Arguments& arguments,
                                                   std::shared_ptr<Task>* task);
  /// `stringFromTask:arguments:`. In 7-bit ASCII.
  static std::optional<std::string> stringFromTask(const std::string& path, const Arguments& arguments);
  /// `stringFromTask:arguments:encoding:timeout:`
  static std::optional<std::string> stringFromTask(const std::string& path, const Arguments& arguments,
                                                   qm::foundation::StringEncoding encoding, TimeoutInterval timeout);
  /// `stringFromTask:arguments:timeout:`. In 7-bit ASCII.
  static std::optional<std::string> stringFromTask(const std::string& path, const Arguments& arguments,
                                                   TimeoutInterval timeout);

  /// `runTask:arguments:task:`. True once the tool has exited, whatever its status; output discarded.
  static bool runTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task);
  /// `runTask:arguments:`
  static bool runTask(const std::string& path, const Arguments& arguments);
  /// `runTask:arguments:timeout:`
  static void runTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);

  /// `runTaskAndReturn:arguments:`. Starts the tool and returns; it is reaped when it ends.
  static void runTaskAndReturn(const std::string& path, const Arguments& arguments);

  // A literal 0 is rejected: overload resolution would read it as a null `task` pointer, not as a time limit.
  static long terminationCodeFromTask(const std::string&, const Arguments&, int) = delete;
  static Data dataFromTask(const std::string&, const Arguments&, int) = delete;
  static std::optional<std::string> stringFromTask(const std::string&, const Arguments&, int) = delete;
  static std::optional<std::string> stringFromTask(const std::string&, const Arguments&, qm::foundation::StringEncoding,
                                                   int) = delete;
  static bool runTask(const std::string&, const Arguments&, int) = delete;

  /// Makes a new instance. Each call of a static function with a time limit makes one for itself.
  static std::shared_ptr<QMTask> make();

  /// `terminationCodeFromTask:arguments:timeout:` on an instance. Its property `theTask` is the task until the call
  /// returns; below, this property is called the slot.
  long terminationCodeOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);
  /// `dataFromTask:arguments:timeout:` on an instance.
  Data dataOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);
  /// `runTask:arguments:timeout:` on an instance.
  void runOnInstance(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);

  /// `theTask`. The tool that a call with a time limit waits for, or that runs in the background; null when
  /// there is none. Any thread.
  std::shared_ptr<Task> theTask() const { return theTask_.get(); }
  /// `setTheTask:`
  void setTheTask(std::shared_ptr<Task> task) { theTask_.set(std::move(task)); }

  /// `setupTimeout:`. The timer thread: sleeps, then has the main thread perform `timeout`.
  void setupTimeout(std::chrono::seconds limit);
  /// `timeout`. Main thread: ends the task in the slot if it is still running, and logs that.
  void timeout();

  /// `asyncDataFromTask:arguments:delegate:selector:object:`. Starts a thread that runs the tool and passes each piece
  /// of its standard output to the delegate, and finally an empty one; returns at once. Standard error and the exit
  /// status are discarded; the tool shares the program's standard input. There is no check of the path and no limit. If
  /// the tool cannot be launched, the reading thread reports "Unable to launch async task - %@" (the system's reason)
  /// in log and console, and the delegate is not called. After the last piece the tool is asked to end, and everything
  /// that the run held is released.
  ///
  /// One run at a time: a second call replaces the first. The first tool is not ended, but its further output is read
  /// and dropped. If `setTheTask:`, or a call with a time limit on this instance, replaces the task of a run, that run
  /// ends at its next piece. The instance lives until its reading threads have ended. Any thread.
  void asyncDataFromTask(const std::string& path, const Arguments& arguments,
                         const std::shared_ptr<qm::AsyncTaskDelegate>& delegate, const qm::AsyncTaskSelector& selector,
                         const std::shared_ptr<void>& object);

  /// `launchAsyncTask`. The reading thread: launches the task in the slot and reads to the end of its
  /// output. Logs "Unable to launch async task - no task set" when there is none.
  void launchAsyncTask();
  /// `asyncTaskReturnData:`. Passes one piece to the delegate if the delegate takes it. The empty piece ends the run,
  /// whether or not the delegate takes it.
  void asyncTaskReturnData(const qm::AsyncTaskNotification& notification);
  /// `terminateAsyncTask`. Ends the reading, releases delegate and context, asks the tool to end and empties the slot,
  /// in this order; a blocked read ends at once. The delegate is not notified, but may still receive a piece that was
  /// already on its way. Does nothing if nothing is running or the ending has begun. Any thread, including from the
  /// delegate's own calls. The destructor of a delegate or context may call it while this object releases that delegate
  /// or context. Such a call concerns only the run that they belonged to, which may have ended already, and never a
  /// later one.
  void terminateAsyncTask();

 private:
  /// The receiver of the output of a run's task.
  struct AsyncReceiver {
    std::shared_ptr<Task> task;
    std::shared_ptr<qm::AsyncTaskDelegate> delegate;
    qm::AsyncTaskSelector selector;
    std::shared_ptr<void> object;
    bool isEnding = false;
  };
  class Releasing;

  QMTask() = default;

  template <class Operation>
  auto withTimeout(TimeoutInterval timeout, Operation operation);

  void giveUpReceiver();
  void beginAsyncRun(AsyncReceiver receiver);
  void endAsyncRun(const std::shared_ptr<Task>& task);
  void completeEnding(AsyncReceiver released, const std::shared_ptr<Task>& task);
  AsyncReceiver takeReceiver();
  void letGo(AsyncReceiver receiver);
  void forget(const std::shared_ptr<Task>& task);
  static void closeOutput(const std::shared_ptr<Task>& task);
  void endTool(const std::shared_ptr<Task>& task);
  void readAsyncTask(const std::shared_ptr<Task>& task);
  bool launchForReading(const std::shared_ptr<Task>& task);
  std::string nextPiece(const std::shared_ptr<Task>& task) const;
  void deliver(const qm::AsyncTaskNotification& notification, const std::shared_ptr<Task>& task);
  void finish(const std::shared_ptr<Task>& task);
  bool isInProgress(const std::shared_ptr<Task>& task) const;
  AsyncReceiver receiverOf(const std::shared_ptr<Task>& task) const;

  qm::platform::AtomicProperty<std::shared_ptr<Task>> theTask_;
  mutable std::mutex asyncMutex_;  // guards receiver_; held while receiver_ and theTask_ are cleared together
  AsyncReceiver receiver_;
  std::mutex launchMutex_;  // a launch and an ending exclude each other
};
