// SPDX-License-Identifier: MIT
#include "Platform/OperationQueue.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace qm::platform {

class OperationQueue::State : public std::enable_shared_from_this<State> {
 public:
  using Operation = std::function<void()>;

  void add(Operation operation) {
    bool wake = false;
    {
      const std::scoped_lock lock(mutex_);
      pending_.push_back(std::move(operation));
      startWorker();
      wake = std::exchange(workerSleeps_, false);
    }
    if (wake) somethingToDo_.notify_one();
  }

  /// Returns the first time the queue is empty; operations added after that do not extend the wait.
  void wait() {
    if (isOwnWorker()) return;
    std::unique_lock lock(mutex_);
    if (!pending_.empty()) startWorker();
    if (pending_.empty() && !works_) return;
    const std::uint64_t before = timesDone_;
    allDone_.wait(lock, [&] { return !worker_.joinable() || timesDone_ != before; });
  }

  void end() {
    {
      const std::scoped_lock lock(mutex_);
      ending_ = true;
      workerSleeps_ = false;
    }
    somethingToDo_.notify_one();
    if (!worker_.joinable()) return;
    if (isOwnWorker()) {
      worker_.detach();
    } else {
      worker_.join();
    }
  }

 private:
  bool isOwnWorker() const { return current() == this; }

  /// The queue whose worker is the calling thread.
  static const State*& current() {
    static thread_local const State* queue = nullptr;
    return queue;
  }

  void run() {
    current() = this;
    std::vector<Operation> batch;
    while (take(batch)) {
      for (Operation& operation : batch) operation();
      batch.clear();  // what the operations hold is released before they count as finished
    }
  }

  /// If the system refuses a thread, the next call tries again.
  void startWorker() {
    if (worker_.joinable()) return;
    try {
      worker_ = std::thread([state = shared_from_this()] { state->run(); });
    } catch (const std::system_error&) {  // out of threads: what is pending stays so
    }
  }

  /// Waits for operations and takes all of them; false at the queue's end. Waiting threads are woken once, when nothing
  /// is left, not after every operation.
  bool take(std::vector<Operation>& batch) {
    std::unique_lock lock(mutex_);
    works_ = false;
    if (pending_.empty()) {
      ++timesDone_;
      allDone_.notify_all();
    }
    while (pending_.empty() && !ending_) {
      workerSleeps_ = true;
      somethingToDo_.wait(lock);
    }
    workerSleeps_ = false;
    batch.swap(pending_);
    works_ = !batch.empty();
    return works_;
  }

  std::mutex mutex_;
  std::condition_variable somethingToDo_;
  std::condition_variable allDone_;
  std::vector<Operation> pending_;
  std::uint64_t timesDone_ = 0;
  bool works_ = false;  ///< on operations that are no longer pending
  bool workerSleeps_ = false;
  bool ending_ = false;
  std::thread worker_;
};

OperationQueue::OperationQueue() : state_(std::make_shared<State>()) {}

OperationQueue::~OperationQueue() { state_->end(); }

void OperationQueue::addOperation(std::function<void()> operation) { state_->add(std::move(operation)); }

void OperationQueue::waitUntilAllOperationsAreFinished() { state_->wait(); }

}  // namespace qm::platform
