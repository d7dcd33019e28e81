// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

class QMTask;

namespace qm {

/// The name of the operation that a delegate is asked to perform; null means none.
using AsyncTaskSelector = std::optional<std::string>;

/// Receives the output of a run in the background. The caller chooses the operation by name, as one object may
/// serve several runs.
class AsyncTaskDelegate {
 public:
  virtual ~AsyncTaskDelegate() = default;

  /// Whether the delegate has the operation. If not, it is never called by that name.
  virtual bool respondsToSelector(const std::string& selector) const = 0;

  /// One piece of output as it came; "" is the end, after which nothing more of this run follows. `object` is the
  /// caller's context, null when none was given. Called on the run's reading thread, and must not throw. It may end the
  /// run, or begin another one with the same `QMTask`.
  virtual void perform(const std::string& selector, const std::string& data, QMTask& task,
                       const std::shared_ptr<void>& object) = 0;
};

/// Carries one piece of output from the reading thread to the `QMTask`. It has the name "QMAsyncTaskDataNotification",
/// no sender, and one entry in its user information. It is passed directly, never posted.
struct AsyncTaskNotification {
  /// The name of the notification.
  static constexpr const char* dataName = "QMAsyncTaskDataNotification";
  /// The key of its one entry.
  static constexpr const char* dataItem = "NSFileHandleNotificationDataItem";

  std::string name;                             ///< `dataName`
  std::shared_ptr<void> object;                 ///< the sender: always null
  std::map<std::string, std::string> userInfo;  ///< one entry: the piece

  /// A notification that carries one piece.
  static AsyncTaskNotification withData(std::string data);
  /// The piece it carries; "" when it carries none.
  const std::string& data() const;
};

}  // namespace qm
