// SPDX-License-Identifier: MIT
#include "Shared/QMLog.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <variant>

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/Platform.h"
#include "Platform/PropertyLists.h"
#include "Platform/SystemInformation.h"
#include "Platform/Users.h"
#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Strings.h"
#include "Shared/QMLocalPaths.h"

using qm::foundation::formatted;
using qm::foundation::utf16Length;
using qm::platform::FileHandle;
using qm::platform::OperationQueue;
using qm::platform::platform;
using qm::platform::printToConsole;
using qm::platform::Status;

namespace {

/// The size in bytes of message lines after which a new file is begun.
constexpr std::size_t kTruncationThreshold = 499'999;
/// `appendLog` waits for a message if neither its length nor that of the whole queue exceeds this.
constexpr std::size_t kShortMessage = 99;
constexpr int kOldestFile = 5;

/// A lock local to one call. No other call sees it, so it excludes nothing. Writing and rotation are kept apart because
/// the queue runs one operation at a time and is empty before a rotation.
class LocalLock {
 private:
  std::mutex mutex_;
  std::scoped_lock<std::mutex> held_{mutex_};
};

std::string dateText(std::chrono::system_clock::time_point date) {
  return qm::foundation::dateDescription(platform().clock->localTime(date));
}

std::string numberedFile(const std::string& folder, const std::optional<std::string>& appName, int number) {
  return folder + formatted("/%@.%i.log", appName, number);
}

std::optional<std::string> appendingText(const std::optional<std::string>& path, const std::string& text) {
  return path ? std::optional(*path + text) : std::nullopt;
}

/// Ends the writing of a message after a failed step; the message stays counted.
void require(const Status& step) {
  if (!step) throw std::runtime_error(step.localizedDescription());
}

double gigabytes(std::uint64_t bytes) { return static_cast<double>(bytes) / 1024 / 1024 / 1024; }

/// A second and its text at the beginning of a line.
struct LineDate {
  std::chrono::system_clock::time_point second;
  std::string text;
};

}  // namespace

/// Where the log goes. As root the file that is written is not in the folder that is checked, created and rotated.
struct QMLog::Files {
  std::optional<std::string> folder;
  std::optional<std::string> current;
};

QMLog* QMLog::sharedController() {
  if (QMLog* log = shared().load(); log != nullptr && log->initialised_) return log;
  const std::scoped_lock lock(classLock());
  if (QMLog* log = allocWithZone()) {
    log->setWriteQueue(std::make_shared<OperationQueue>());
    log->initialised_ = true;
  }
  return shared().load();
}

void QMLog::release() { finishWriting(); }

void QMLog::dealloc() {
  finishWriting();
  setAppName(std::nullopt);
  setWriteQueue(nullptr);
  setFileHandle(nullptr);
}

std::optional<std::string> QMLog::appName() const {
  if (auto name = appName_.get()) return name;
  const auto executable = platform().systemInformation->executablePath();
  if (!executable) return std::nullopt;
  return qm::foundation::deletingPathExtension(qm::foundation::lastPathComponent(*executable));
}

// MARK: - Files

void QMLog::createNewLog() { createNewLog(std::nullopt); }

void QMLog::createNewLog(const std::optional<std::string>& name) {
  const LocalLock lock;
  QMLog& log = *sharedController();
  finishWriting();
  log.setFileHandle(nullptr);
  if (isSwitchedOff()) {
    printToConsole("Logging is disabled");
    log.setLoggingDisabled(true);
    return;
  }
  // The executable's name has priority: a name given here is used only if there is none.
  if (name && !log.appName()) log.setAppName(name);
  log.setBytesWritten(0);

  auto& fileSystem = *platform().fileSystem;
  const auto appName = log.appName();
  const Files files = QMLog::files(appName);
  const bool folderIsThere =
      files.folder && (fileSystem.fileExists(*files.folder) || fileSystem.createDirectory(*files.folder).ok());
  if (!folderIsThere) {
    printToConsole("Unable to create folder %@.", files.folder);
    return;
  }
  const bool fileIsThere = files.current && fileSystem.fileExists(*files.current);
  const Rotation rotation = fileIsThere ? rotate(*files.folder, appName, *files.current) : Rotation::Moved;
  if (rotation == Rotation::Failed) return;
  if (!log.beginFile(files.current) && rotation == Rotation::Linked)
    std::ignore = fileSystem.removeItem(*files.current);
}

bool QMLog::isSwitchedOff() {
  const auto path = qm::foundation::appendingPathComponent(QMLocalPaths::prefsDirectory(QMLocalPaths::UserDomain::Yes),
                                                           "com.quillmark.global.plist");
  const auto preferences = path ? platform().propertyLists->read(*path) : std::nullopt;
  if (!preferences) return false;
  const auto found = preferences->find("disable-logging");
  if (found == preferences->end()) return false;
  // The text "1", or a number equal to true.
  if (const auto* text = std::get_if<std::string>(&found->second)) return *text == "1";
  if (const auto* flag = std::get_if<bool>(&found->second)) return *flag;
  if (const auto* number = std::get_if<std::int64_t>(&found->second)) return *number == 1;
  const auto* real = std::get_if<double>(&found->second);
  return real != nullptr && *real == 1.0;
}

QMLog::Files QMLog::files(const std::optional<std::string>& appName) {
  const std::string folderName = "/Logs/Quillmark";
  const std::string fileName = formatted("/%@.1.log", appName);
  Files files;
  files.folder = appendingText(QMLocalPaths::libraryDirectory(QMLocalPaths::UserDomain::Yes), folderName);
  files.current =
      platform().users->isRoot()
          ? appendingText(QMLocalPaths::libraryDirectory(QMLocalPaths::UserDomain::No), folderName + fileName)
          : appendingText(files.folder, fileName);
  return files;
}

/// The current file gets its new name as a hard link and keeps its old one, under which the new file then replaces it.
/// So a log file exists however the process ends. That matters because a missing one is not created. If the volume has
/// no hard links, the file is renamed.
QMLog::Rotation QMLog::rotate(const std::string& folder, const std::optional<std::string>& appName,
                              const std::string& current) {
  auto& fileSystem = *platform().fileSystem;
  const std::string oldest = numberedFile(folder, appName, kOldestFile);
  if (fileSystem.fileExists(oldest)) std::ignore = fileSystem.removeItem(oldest);
  for (int number = kOldestFile - 1; number >= 1; --number) {
    const std::string from = numberedFile(folder, appName, number);
    const std::string to = numberedFile(folder, appName, number + 1);
    if (!fileSystem.fileExists(from)) continue;
    if (from == current && fileSystem.linkItem(from, to)) return Rotation::Linked;
    if (!fileSystem.moveItem(from, to)) {
      printToConsole("Unable to move file %@ to %@", from, to);
      return Rotation::Failed;
    }
  }
  return Rotation::Moved;
}

std::string QMLog::header() {
  const auto& facts = *platform().systemInformation;
  std::string text = formatted("Log started: %@\n", dateText(platform().clock->now()));
  if (const auto version = facts.bundleVersion()) text += formatted("Version: %@\n", version);
  if (const auto path = facts.executablePath()) text += formatted("Path: %@\n", path);
  text += formatted("System: OS X %@, %i CPU(s), %0.2f GB RAM\n", facts.operatingSystemVersion(),
                    facts.processorCount(), gigabytes(facts.physicalMemory()));
  text += formatted("Running in %i-bit mode\n", sizeof(void*) * 8);
  return text;
}

bool QMLog::beginFile(const std::optional<std::string>& path) {
  const auto written = path ? platform().fileSystem->writeFileAtomically(*path, header())
                            : Status::failed(0, "There is no folder for it.");
  if (!written) {
    printToConsole("Unable to create log file %@ - %@", path, written.localizedDescription());
    return false;
  }
  endsWithinALine_ = false;
  auto handle = openCurrent(path);
  // Anywhere but at the end, it would overwrite lines.
  if (handle && handle->seekToEndOfFile()) setFileHandle(std::move(handle));
  return true;
}

std::shared_ptr<FileHandle> QMLog::openCurrent(const std::optional<std::string>& path) {
  return path ? platform().fileSystem->openForWriting(*path) : nullptr;
}

// MARK: - Messages

std::string QMLog::trimmed(const std::string& text) { return qm::foundation::trimmingWhitespaceAndNewlines(text); }

void QMLog::queueMessage(const std::string& text) {
  std::string message = trimmed(text);
  QMLog& log = *sharedController();
  log.raiseBytesInQueue(utf16Length(message));
  if (const auto queue = log.writeQueue()) {
    queue->addOperation([message = std::move(message)] { appendLogOnThread(message); });
  }
}

void QMLog::appendMessage(const std::string& text) {
  fastAppendLog(text);
  const std::size_t length = utf16Length(text);
  if (length >= 1 && length <= kShortMessage && sharedController()->bytesInQueue() <= kShortMessage) finishWriting();
}

void QMLog::appendAndPrintMessage(const std::string& text) {
  appendLog(text);
  printToConsole("%@", text);
}

void QMLog::finishWriting() {
  const LocalLock lock;
  if (const auto queue = sharedController()->writeQueue()) queue->waitUntilAllOperationsAreFinished();
}

// MARK: - The writing thread

void QMLog::appendLogOnThread(const std::string& message) {
  const LocalLock lock;
  QMLog& log = *sharedController();
  if (log.loggingDisabled()) return;
  try {
    log.write(message);
  } catch (const std::exception& exception) {
    log.reportWritingFailure(exception.what());
  }
}

/// The date's text is made once a second, because making it takes about as long as the rest of a line.
std::string QMLog::line(const std::string& message) {
  constexpr std::size_t usualDate = 40;
  const auto now = platform().clock->now();
  const auto second = std::chrono::floor<std::chrono::seconds>(now);
  static thread_local LineDate date;
  if (date.text.empty() || date.second != second) date = {second, dateText(now)};
  std::string text;
  text.reserve(message.size() + usualDate);
  text.append(date.text).append(" - ").append(message).append(1, '\n');
  return text;
}

void QMLog::write(const std::string& message) {
  if (const auto handle = openedHandle(message)) {
    const std::string text = line(message);
    append(*handle, text);
    setBytesWritten(bytesWritten() + text.size());
    if (bytesWritten() > kTruncationThreshold) {
      createNewLog(appName());
      appendLog("Log truncated at 500KB");
    }
  } else if (!loggingDisabled()) {
    printToConsole("Unable to open log for output");
  }
  lowerBytesInQueue(utf16Length(message));
}

/// A line that could be written only in part is removed again. If that fails, the next line begins after it.
void QMLog::append(FileHandle& handle, const std::string& text) {
  const Status written = endsWithinALine_ ? handle.writeData("\n" + text) : handle.writeData(text);
  if (written) {
    endsWithinALine_ = false;
  } else if (!handle.removeIncompleteData()) {
    endsWithinALine_ = true;
  }
  require(written);
}

/// `bytesInQueue_` is read and written separately, so threads that raise it at the same moment lose each other's step.
/// An exact count is kept in `unitsWaiting_`. It is raised first, so that it includes the message before the message is
/// written. The queue's lock orders raising and writing of a message, so the stores need no order of their own.
void QMLog::raiseBytesInQueue(std::size_t units) {
  unitsWaiting_ += units;
  bytesInQueue_.store(bytesInQueue() + units, std::memory_order_relaxed);
}

/// Also corrects `bytesInQueue_`. A thread that is just raising it may undo the correction. But the message of that
/// thread is written later and corrects it again, so after the last message the count is exact.
void QMLog::lowerBytesInQueue(std::size_t units) {
  std::size_t waiting = unitsWaiting_;
  while (!unitsWaiting_.compare_exchange_weak(waiting, waiting - std::min(waiting, units))) {
  }
  bytesInQueue_.store(unitsWaiting_, std::memory_order_relaxed);
}

std::shared_ptr<FileHandle> QMLog::openedHandle(const std::string& message) {
  if (auto handle = fileHandle()) return handle;
  auto handle = openCurrent(files(appName()).current);
  if (handle) {
    require(handle->seekToEndOfFile());  // otherwise not kept: it would overwrite lines
    setFileHandle(handle);
  } else if (!loggingDisabled()) {
    printToConsole("Unable to log the following information: %@", message);
  }
  return handle;
}

void QMLog::reportWritingFailure(const std::string& reason) const {
  if (!loggingDisabled()) printToConsole("Exception writing to log: %@", reason);
}
