// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace qm::platform {

/// A serial queue: its operations run one at a time, in the order added, on a worker thread of its own that starts with
/// the first operation. If the system refuses a thread, operations stay in the queue until a later call can start one,
/// and waiting returns at once.
class OperationQueue {
 public:
  OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;
  /// Lets the queued operations finish, then ends the worker. From inside an operation of this queue it returns at
  /// once, and the worker ends after the remaining operations.
  ~OperationQueue();

  /// Any thread; returns at once. An operation must not throw.
  void addOperation(std::function<void()> operation);

  /// Blocks until the queue is empty. From inside an operation of this queue it returns at once, since that operation
  /// cannot wait for itself.
  void waitUntilAllOperationsAreFinished();

 private:
  class State;
  std::shared_ptr<State> state_;  // shared with the worker
};

}  // namespace qm::platform
