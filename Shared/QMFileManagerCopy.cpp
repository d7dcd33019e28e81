// SPDX-License-Identifier: MIT
#include <memory>
#include <string>
#include <utility>

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/FileOperations.h"
#include "Platform/FileSystem.h"
#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/FileOperationDelegate.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLog.h"

using qm::FileOperationDelegate;
using qm::FileOperationDictionary;
using qm::foundation::deletingLastPathComponent;
using qm::foundation::lastPathComponent;
using qm::platform::FileOperationRef;
using qm::platform::FileOperationReport;
using qm::platform::FileOperationStage;
using qm::platform::platform;
using qm::platform::printToConsole;

using Delegate = std::shared_ptr<FileOperationDelegate>;

namespace {

constexpr std::chrono::seconds kFolderLimit(10);
constexpr std::chrono::seconds kStatusInterval(1);
/// A file that has not changed for this long counts as finished.
constexpr std::chrono::seconds kQuietPeriod(4);
constexpr std::chrono::microseconds kWritingPoll(500);

FileOperationDictionary copyInformation(const std::string& source, const std::string& destination,
                                        const Delegate& delegate, const std::shared_ptr<void>& object,
                                        const std::shared_ptr<void>& object2) {
  FileOperationDictionary information{{"operationtype", "copy"}, {"source", source}, {"destination", destination}};
  if (delegate) information["delegate"] = delegate;
  if (object) information["object"] = object;
  if (object2) information["object2"] = object2;
  return information;
}

template <class Entries>
void addEntries(FileOperationDictionary& dictionary, const Entries& entries) {
  for (const auto& [key, value] : entries) dictionary.insert_or_assign(key, value);
}

Delegate delegateIn(const FileOperationDictionary& information) {
  const auto entry = information.find("delegate");
  return entry == information.end() ? nullptr : std::get<Delegate>(entry->second);
}

/// The queued work keeps the delegate, the report and the operation alive until it was delivered.
void performLater(const Delegate& delegate, const char* selector, FileOperationDictionary report,
                  const FileOperationRef& operation) {
  platform().mainThread->perform(
      [delegate, selector, report = std::move(report), operation] { delegate->perform(selector, report, operation); });
}

/// Calls the form with the operation if the delegate has it, else the one without, if any.
void notify(const Delegate& delegate, const char* withOperation, const char* alone, FileOperationDictionary report,
            const FileOperationRef& operation) {
  if (!delegate) return;
  if (delegate->respondsToSelector(withOperation)) {
    performLater(delegate, withOperation, std::move(report), operation);
  } else if (delegate->respondsToSelector(alone)) {
    performLater(delegate, alone, std::move(report), nullptr);
  }
}

/// The error is ignored: a delegate is notified of the end of a copy, not of its success.
void statusCallback(const FileOperationRef& operation, const FileOperationReport& report,
                    const FileOperationDictionary& information) {
  FileOperationDictionary dictionary{{"stage", static_cast<std::uint64_t>(report.stage)}};
  const Delegate delegate = delegateIn(information);
  addEntries(dictionary, information);
  if (report.statusDictionary && report.stage == FileOperationStage::Running) {
    addEntries(dictionary, *report.statusDictionary);
    notify(delegate, FileOperationDelegate::progressWithOperation, FileOperationDelegate::progress,
           std::move(dictionary), operation);
  } else if (report.stage == FileOperationStage::Complete) {
    notify(delegate, FileOperationDelegate::finishedWithOperation, FileOperationDelegate::finished,
           std::move(dictionary), operation);
    const auto status = platform().fileOperations->unscheduleFromMainRunLoop(operation);
    if (status != 0) printToConsole("Failed to unschedule operation from run loop: %@", status);
  }
}

bool hasFolder(const std::string& folder) {
  return QMFileManager::fileExistsAtPath(folder) || QMFileManager::createDirectory(folder, kFolderLimit);
}

bool isBeingWritten(const std::string& path) {
  const auto attributes = platform().fileSystem->attributesOfItem(path);
  return attributes && attributes->modificationDate >= platform().clock->now() - kQuietPeriod;
}

}  // namespace

bool QMFileManager::copyFileWithProgress(const std::string& source, const std::string& destination,
                                         const Delegate& delegate, const std::shared_ptr<void>& object,
                                         const std::shared_ptr<void>& object2) {
  if (!fileExistsAtPath(source)) {
    printToConsole("Error: File %@ doesn't exist. Aborting copy process...", source);
    return false;
  }
  const std::string folder = deletingLastPathComponent(destination);
  if (!hasFolder(folder)) {
    printToConsole("Unable to copy file %@ - destination directory %@ doesn't exist. Aborting copy process...", source,
                   folder);
    return false;
  }
  auto& service = *platform().fileOperations;
  const FileOperationRef operation = service.create();
  if (const auto status = service.scheduleWithMainRunLoop(operation)) {
    printToConsole("Failed to schedule operation with run loop: %@", status);
    return false;
  }
  const auto information =
      std::make_shared<const FileOperationDictionary>(copyInformation(source, destination, delegate, object, object2));
  const auto callback = [information](const FileOperationRef& reported, const FileOperationReport& report) {
    statusCallback(reported, report, *information);
  };
  const auto status =
      service.copyObject(operation, {source, folder, lastPathComponent(destination), kStatusInterval, callback});
  if (status != 0) printToConsole("Failed to begin asynchronous object copy: %@", status);
  return status == 0;
}

bool QMFileManager::copyFileWithProgress(const std::string& source, const std::string& destination,
                                         const Delegate& delegate, const std::shared_ptr<void>& object) {
  return copyFileWithProgress(source, destination, delegate, object, nullptr);
}

void QMFileManager::cancelFileOperation(const FileOperationRef& fileOperation) {
  std::ignore = platform().fileOperations->cancel(fileOperation);
}

void QMFileManager::waitForFileWrites(const std::string& path) {
  if (!isBeingWritten(path)) return;
  QMLog::appendLog("File %@ is currently being written to. Waiting...", path);
  do {
    platform().clock->sleep(kWritingPoll);
  } while (isBeingWritten(path));
  QMLog::appendLog("File %@ finished writing.", path);
}
