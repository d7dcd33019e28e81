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

/// Runs a command-line tool by its absolute path, without a shell, and waits for it; or, on an instance,
/// runs it in the background and passes its output on as it comes.
///
/// A launch path that is not an executable file, or is a bundle, is refused with "Error: %@ is not
/// executable" on the console and in the log. That, and a launch that the system itself refuses
/// (about which nothing is logged), returns the value that means that no process was
/// started: -1, null, false. A wait on the main thread keeps its event loop served. Arguments may
/// be null (none).
///
/// The forms with a time limit ask the tool to end when the limit has passed; the call then returns
/// in its normal way, with what the ended tool left. Their timer thread sleeps the limit out even
/// when the tool is quicker.
class QMTask : public std::enable_shared_from_this<QMTask> {
 public:
  /// One run of a tool.
  using Task = qm::platform::Task;
  /// Seconds; only the whole part counts (2.9 is 2, 0.5 is 0).
  using TimeoutInterval = std::chrono::duration<double>;
  /// The arguments after the tool's name; null is none.
  using Arguments = std::optional<std::vector<std::string>>;
  using Data = std::optional<std::string>;  ///< bytes; null when no process was started

  /// `terminationCodeFromTask:arguments:task:`. The exit status, sign-extended; output discarded.
  /// When not null, `task` receives the task before it is launched.
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments, std::shared_ptr<Task>* task);
  /// `terminationCodeFromTask:arguments:`
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments);
  /// `terminationCodeFromTask:arguments:timeout:`
  static long terminationCodeFromTask(const std::string& path, const Arguments& arguments, TimeoutInterval timeout);

  /// `dataFromTask:arguments:task:`. What the tool printed to standard error or, only when that is
  /// empty, to standard output. Standard output is read to its end first, so a tool that fills the
  /// error pipe meanwhile waits. Does not wait for the tool to exit.
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

  // A literal 0 is refused: it would be taken for a null `task`, not for a limit.
  static long terminationCodeFromTask(const std::string&, const Arguments&, int) = delete;
  static Data dataFromTask(const std::string&, const Arguments&, int) = delete;
  static std::optional<std::string> stringFromTask(const std::string&, const Arguments&, int) = delete;
  static std::optional<std::string> stringFromTask(const std::string&, const Arguments&, qm::foundation::StringEncoding,
                                                   int) = delete;
  static bool runTask(const std::string&, const Arguments&, int) = delete;

  /// A runner of its own, as each call with a time limit makes one.
  static std::shared_ptr<QMTask> make();

  /// `terminationCodeFromTask:arguments:timeout:` on an instance, whose slot holds the task meanwhile.
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
  /// `timeout`. Main thread: ends the task in the slot if it still runs, and says so.
  void timeout();

  /// `asyncDataFromTask:arguments:delegate:selector:object:`. Starts a thread that runs the tool and passes
  /// each piece of its standard output to the delegate, at last an empty one; returns at once. Standard
  /// error and the exit status are discarded; the tool shares the program's standard input. There is
  /// no check and no limit: a tool that cannot be launched is reported by the reading thread as
  /// "Unable to launch async task - %@" (the system's reason) in log and console, and nobody is called.
  /// After the last piece the tool is asked to end, and everything that the run held is released.
  ///
  /// One run at a time: a second call takes the first one's place. The first tool is not ended, but its
  /// further output is read and dropped. A run whose task is taken out of the slot in another way ends at its next
  /// piece. The instance lives until its reading threads have ended. Any thread.
  void asyncDataFromTask(const std::string& path, const Arguments& arguments,
                         const std::shared_ptr<qm::AsyncTaskDelegate>& delegate, const qm::AsyncTaskSelector& selector,
                         const std::shared_ptr<void>& object);

  /// `launchAsyncTask`. The reading thread: launches the task in the slot and reads to the end of its
  /// output. Logs "Unable to launch async task - no task set" when there is none.
  void launchAsyncTask();
  /// `asyncTaskReturnData:`. Passes one piece to the delegate if it has the operation, and ends the run
  /// after the empty one either way.
  void asyncTaskReturnData(const qm::AsyncTaskNotification& notification);
  /// `terminateAsyncTask`. Ends the reading, releases delegate and context, asks the tool to end and empties the
  /// slot, in this order; a read that is blocked ends at once. The delegate is not notified: nothing more reaches it
  /// but a piece that was already on its way. Does nothing when nothing runs or the ending has begun. Any thread, the
  /// delegate's own calls included; called while this runner releases a delegate or context, it ends the run that
  /// these belong to and no other.
  void terminateAsyncTask();

 private:
  /// Whom the output of a run's task goes to.
  struct AsyncReceiver {
    std::shared_ptr<Task> task;
    std::shared_ptr<qm::AsyncTaskDelegate> delegate;
    qm::AsyncTaskSelector selector;
    std::shared_ptr<void> object;
    bool isEnding = false;
  };
  class LettingGo;

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
  mutable std::mutex asyncMutex_;  // of receiver_, and of its going together with theTask_
  AsyncReceiver receiver_;
  std::mutex launchMutex_;  // a launch and an ending exclude each other
};
