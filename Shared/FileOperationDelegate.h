// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "Platform/FileOperations.h"

namespace qm {

class FileOperationDelegate;

/// A value in a report about a copy: text, a number, the delegate, or an object of the caller's.
using FileOperationValue =
    std::variant<std::string, std::uint64_t, std::shared_ptr<FileOperationDelegate>, std::shared_ptr<void>>;

/// A report about a copy: "stage", the stage as a number; "operationtype", which is "copy"; "source" and "destination"
/// as they were given; "delegate", "object" and "object2" unless they are null. A report of progress also has the
/// entries of the platform's status dictionary (Platform/FileOperations.h).
using FileOperationDictionary = std::map<std::string, FileOperationValue>;

/// Is notified about a copy. There are four notifications, named by the selectors below, and it may leave out any of
/// them.
class FileOperationDelegate {
 public:
  /// About progress: the report and the file operation. Preferred to `progress`.
  static constexpr const char* progressWithOperation = "fileOperationProgress:fileOperation:";
  /// About progress: the report alone.
  static constexpr const char* progress = "fileOperationProgress:";
  /// At the end, once, whether the copy succeeded, failed or was cancelled: the report and the file operation.
  /// Preferred to `finished`.
  static constexpr const char* finishedWithOperation = "fileOperationFinished:fileOperation:";
  /// At the end: the report alone.
  static constexpr const char* finished = "fileOperationFinished:";

  virtual ~FileOperationDelegate() = default;

  /// Whether the delegate takes the notification; asked for each report, on the main thread. If not, `perform` is never
  /// called with that selector.
  virtual bool respondsToSelector(const std::string& selector) const = 0;

  /// A report. `fileOperation` is what `cancelFileOperation:` takes; null for the selectors `progress` and `finished`.
  /// Called on the main thread, and must not throw. It may cancel the copy or begin another one.
  virtual void perform(const std::string& selector, const FileOperationDictionary& report,
                       const platform::FileOperationRef& fileOperation) = 0;
};

}  // namespace qm
