// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace qm::platform {

/// How an asynchronous file operation, or a call about one, has ended: 0 is success and
/// `userCanceledErr` a cancelled operation. Any other value is the system's `errno` number.
using FileOperationStatus = std::int32_t;
inline constexpr FileOperationStatus userCanceledErr = -128;  ///< the operation was cancelled

/// How far an operation has come.
enum class FileOperationStage : std::uint32_t { Undefined, Preflighting, Running, Complete };

// The keys of a status dictionary.
inline constexpr const char* kFSOperationTotalBytesKey = "kFSOperationTotalBytesKey";              ///< bytes to copy
inline constexpr const char* kFSOperationBytesCompleteKey = "kFSOperationBytesCompleteKey";        ///< bytes copied
inline constexpr const char* kFSOperationBytesRemainingKey = "kFSOperationBytesRemainingKey";      ///< bytes left
inline constexpr const char* kFSOperationTotalObjectsKey = "kFSOperationTotalObjectsKey";          ///< objects to copy
inline constexpr const char* kFSOperationObjectsCompleteKey = "kFSOperationObjectsCompleteKey";    ///< objects copied
inline constexpr const char* kFSOperationObjectsRemainingKey = "kFSOperationObjectsRemainingKey";  ///< objects left
/// Objects to copy that users see. All objects count as such, so this is the number of all objects.
inline constexpr const char* kFSOperationTotalUserVisibleObjectsKey = "kFSOperationTotalUserVisibleObjectsKey";
/// How many of these have been copied.
inline constexpr const char* kFSOperationUserVisibleObjectsCompleteKey = "kFSOperationUserVisibleObjectsCompleteKey";
/// How many of these are left.
inline constexpr const char* kFSOperationUserVisibleObjectsRemainingKey = "kFSOperationUserVisibleObjectsRemainingKey";
/// Bytes per second since the copying began.
inline constexpr const char* kFSOperationThroughputKey = "kFSOperationThroughputKey";
/// Counts by the keys above. Bytes are those of the contents of files, holes included; objects are files, folders,
/// links and whatever else there is. The item passed as the source is counted too.
using FileOperationStatusDictionary = std::map<std::string, std::uint64_t>;

/// One asynchronous operation: opaque, used once.
class FileOperation {
 public:
  virtual ~FileOperation() = default;
};
/// What callers hold of an operation.
using FileOperationRef = std::shared_ptr<FileOperation>;

/// What is reported about an operation.
struct FileOperationReport {
  FileOperationStage stage = FileOperationStage::Undefined;  ///< the stage that the operation is in
  /// The path of the item concerned: of the source while it is copied, of the copy at the end; null if there is none.
  std::optional<std::string> currentItem{};
  FileOperationStatus error = 0;                                    ///< how the operation has ended, 0 before
  std::optional<FileOperationStatusDictionary> statusDictionary{};  ///< only with reports of the running stage
};
/// Receives the reports. Called on the main thread; must not throw.
using FileOperationCallback = std::function<void(const FileOperationRef& operation, const FileOperationReport& report)>;

/// What is to be copied: `source`, into the existing folder `destinationFolder`, under `newName`, a single path
/// component. Paths are absolute.
struct CopyObjectRequest {
  std::string source;                              ///< absolute path of a file, a link or a folder
  std::string destinationFolder;                   ///< absolute path
  std::string newName;                             ///< a single path component
  std::chrono::milliseconds statusInterval{1000};  ///< the least time between two reports of progress
  FileOperationCallback callback;                  ///< null for no reports
};

/// Copying in the background. Any thread. Callbacks run on the main thread and may call `unscheduleFromMainRunLoop`
/// from there.
class FileOperations {
 public:
  virtual ~FileOperations() = default;

  /// A new operation, never null.
  virtual FileOperationRef create() = 0;
  /// From now on reports are delivered on the main thread, by its event loop.
  virtual FileOperationStatus scheduleWithMainRunLoop(const FileOperationRef& operation) = 0;
  /// Stops the reports; the operation itself goes on.
  virtual FileOperationStatus unscheduleFromMainRunLoop(const FileOperationRef& operation) = 0;

  /// Starts to copy a file or a tree and returns. An operation that is not scheduled, or was used before, is refused.
  /// The copy has modes, times, extended attributes and, where the process may set it, the owner; links are copied as
  /// links. It never replaces anything, and a part of it never appears under the new name: after a failure or a
  /// cancellation there is nothing. The source is unchanged.
  ///
  /// The operation keeps itself alive until its end. It reports at the beginning of each stage and then, within the
  /// stage, at most once per interval; reports of the running stage have a status dictionary. After a cancellation no
  /// progress is reported. The last report, exactly one, has the stage Complete, however the operation ended; then the
  /// callback is released. After a refusal it is released at once.
  virtual FileOperationStatus copyObject(const FileOperationRef& operation, const CopyObjectRequest& request) = 0;
  /// Makes the operation end soon, with `userCanceledErr` unless it had already ended. Does not wait for that.
  virtual FileOperationStatus cancel(const FileOperationRef& operation) = 0;
};

}  // namespace qm::platform
