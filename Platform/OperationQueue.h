#pragma once

#include <functional>
#include <memory>

namespace qm::platform {

/// A serial queue: its operations run one at a time, in the order added, on a worker thread of its
/// own that starts with the first operation. While the system gives no thread, operations stay in the
/// queue until a later call can start one, and nobody waits for them.
class OperationQueue {
 public:
  OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;
  /// Lets the operations that were added finish, then ends the worker. From inside an operation of
  /// this very queue it returns at once, and the worker ends after the remaining operations.
  ~OperationQueue();

  /// Any thread; returns at once. An operation must not throw.
  void addOperation(std::function<void()> operation);

  /// Blocks until the queue has no operation left, those added meanwhile included. From inside an
  /// operation of this very queue it returns at once, since that operation cannot wait for itself.
  void waitUntilAllOperationsAreFinished();

 private:
  class State;
  std::shared_ptr<State> state_;  // the worker's as well
};

}  // namespace qm::platform
