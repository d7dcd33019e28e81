// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "Platform/AtomicProperty.h"
#include "Platform/FileSystem.h"
#include "Platform/OperationQueue.h"
#include "Platform/foundation/Format.h"
#include "Shared/Singleton.h"

/// The process-wide log of an application: Library/Logs/Quillmark/APP.1.log of the user, or below "/" as root; one
/// dated line for each message, up to five files, a new one after 500,000 bytes.
///
/// Messages are formatted on the caller's thread and written in order by one worker thread. `appendLog` passes its
/// formatted text on as a format string, so a literal "%" in an argument is expanded a second time. Failures never
/// reach the caller; they are printed to the system console. Any thread.
class QMLog : public qm::Singleton<QMLog> {
 public:
  /// `sharedController`. The one log, created on first use.
  static QMLog* sharedController();

  /// `createNewLog`. The same as `createNewLog:` with null.
  static void createNewLog();
  /// `createNewLog:`. Waits for pending writes, removes APP.5.log, renames the files from APP.4.log down to APP.1.log
  /// to the next higher number, and begins a new first file with its header. The name is used only if none was set and
  /// the executable has none. If the user's preferences switch logging off, it waits, releases the open file, prints to
  /// the console that logging is off, and sets `loggingDisabled`; no file is renamed or begun. If a step fails, the
  /// console says which and no new file is begun. A process that ends meanwhile leaves the old first file or the new
  /// one.
  static void createNewLog(const std::optional<std::string>& name);

  /// `fastAppendLog:`. Formats, trims and queues a message, and returns. A null format does nothing.
  template <class... Arguments>
  static void fastAppendLog(const std::optional<std::string>& format, const Arguments&... arguments) {
    if (format) queueMessage(qm::foundation::formatted(*format, arguments...));
  }

  /// `appendLog:`. Formats the message and passes it to `fastAppendLog:`. A short message has been written when this
  /// returns: one of 1 to 99 characters, if all messages in the queue together have at most 99. A null format does
  /// nothing.
  template <class... Arguments>
  static void appendLog(const std::optional<std::string>& format, const Arguments&... arguments) {
    if (format) appendMessage(qm::foundation::formatted(*format, arguments...));
  }

  /// `appendLogAndPrint:`. Trims the format, appends the message as `appendLog:` does, and prints it to the system
  /// console. A null format does nothing.
  template <class... Arguments>
  static void appendLogAndPrint(const std::optional<std::string>& format, const Arguments&... arguments) {
    if (format) appendAndPrintMessage(qm::foundation::formatted(trimmed(*format), arguments...));
  }

  /// `appendLogOnThread:`. The queued operation: opens the file if needed (never creating it), writes the line, counts
  /// it and begins a new log after 500,000 bytes.
  static void appendLogOnThread(const std::string& message);

  /// `finishWriting`. Returns when every queued message has been written; at once when called on the writing thread.
  static void finishWriting();

  /// `release`. Frees nothing, but waits as `finishWriting` does.
  void release();
  /// `dealloc`. Waits for pending writes and releases name, queue and file. Nothing in the system calls it: the log
  /// lives as long as the process.
  void dealloc();

  /// `writeQueue`
  std::shared_ptr<qm::platform::OperationQueue> writeQueue() const { return writeQueue_.get(); }
  /// `setWriteQueue:`
  void setWriteQueue(std::shared_ptr<qm::platform::OperationQueue> queue) { writeQueue_.set(std::move(queue)); }
  /// `fileHandle`. Open on the current file at its end; null when no file is open.
  std::shared_ptr<qm::platform::FileHandle> fileHandle() const { return fileHandle_.get(); }
  /// `setFileHandle:`
  void setFileHandle(std::shared_ptr<qm::platform::FileHandle> handle) { fileHandle_.set(std::move(handle)); }
  /// `appName`. The name that was set, else the executable's without extension, else null.
  std::optional<std::string> appName() const;
  /// `setAppName:`
  void setAppName(std::optional<std::string> name) { appName_.set(std::move(name)); }
  /// `bytesWritten`. Bytes of message lines appended since the last new log.
  std::size_t bytesWritten() const { return bytesWritten_; }
  /// `setBytesWritten:`
  void setBytesWritten(std::size_t bytes) { bytesWritten_ = bytes; }
  /// `bytesInQueue`. UTF-16 code units of messages not yet written. It is changed by separate reads and writes, so it
  /// is only approximate while several threads log at once. The writing of each message corrects it, so after the last
  /// message it is exact.
  std::size_t bytesInQueue() const { return bytesInQueue_; }
  /// `setBytesInQueue:`
  void setBytesInQueue(std::size_t units) { unitsWaiting_ = bytesInQueue_ = units; }
  /// `loggingDisabled`. Set when the user's preferences switch logging off; never cleared again.
  bool loggingDisabled() const { return loggingDisabled_; }
  /// `setLoggingDisabled:`
  void setLoggingDisabled(bool disabled) { loggingDisabled_ = disabled; }

 private:
  friend class qm::Singleton<QMLog>;
  template <class Any>
  friend struct qm::SingletonReset;
  QMLog() = default;
  ~QMLog() = default;

  struct Files;
  static bool isSwitchedOff();
  static Files files(const std::optional<std::string>& appName);
  enum class Rotation { Failed, Moved, Linked };
  static Rotation rotate(const std::string& folder, const std::optional<std::string>& appName,
                         const std::string& current);
  static std::string header();
  static std::shared_ptr<qm::platform::FileHandle> openCurrent(const std::optional<std::string>& path);
  bool beginFile(const std::optional<std::string>& path);
  std::shared_ptr<qm::platform::FileHandle> openedHandle(const std::string& message);
  static std::string line(const std::string& message);
  void write(const std::string& message);
  void reportWritingFailure(const std::string& reason) const;
  void append(qm::platform::FileHandle& handle, const std::string& text);
  void raiseBytesInQueue(std::size_t units);
  void lowerBytesInQueue(std::size_t units);
  static std::string trimmed(const std::string& text);
  static void queueMessage(const std::string& text);
  static void appendMessage(const std::string& text);
  static void appendAndPrintMessage(const std::string& text);

  /// What the logging threads change, what the writing thread changes, what both change and what hardly ever changes
  /// lie on separate cache lines, so that the threads do not slow each other down. Apple's processors have the longest.
  static constexpr std::size_t kCacheLine = 128;
  qm::platform::AtomicProperty<std::shared_ptr<qm::platform::OperationQueue>> writeQueue_;
  alignas(kCacheLine) qm::platform::AtomicProperty<std::shared_ptr<qm::platform::FileHandle>> fileHandle_;
  qm::platform::AtomicProperty<std::optional<std::string>> appName_;
  std::atomic<std::size_t> bytesWritten_{0};
  alignas(kCacheLine) std::atomic<std::size_t> bytesInQueue_{0};
  std::atomic<std::size_t> unitsWaiting_{0};  ///< the exact count, which bytesInQueue_ is corrected to
  alignas(kCacheLine) std::atomic<bool> loggingDisabled_{false};
  std::atomic<bool> endsWithinALine_{false};  ///< the file ends with a partial line of a failed write
  std::atomic<bool> initialised_{false};
};
