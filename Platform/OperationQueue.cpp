#include "Platform/OperationQueue.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
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
      if (!worker_.joinable()) worker_ = std::thread([state = shared_from_this()] { state->run(); });
      pending_.push_back(std::move(operation));
      ++added_;
      wake = std::exchange(workerSleeps_, false);
    }
    if (wake) somethingToDo_.notify_one();
  }

  void wait() {
    if (isOwnWorker()) return;
    std::unique_lock lock(mutex_);
    const std::uint64_t wanted = added_;
    ++waiting_;
    progress_.wait(lock, [&] { return finished_ >= wanted; });
    --waiting_;
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

  /// The queue whose worker the calling thread is.
  static const State*& current() {
    static thread_local const State* queue = nullptr;
    return queue;
  }

  void run() {
    current() = this;
    std::vector<Operation> batch;
    while (take(batch)) {
      for (Operation& operation : batch) {
        operation();
        operation = nullptr;  // what it holds is let go of before it counts as finished
        countFinished();
      }
      batch.clear();
    }
  }

  /// Waits for operations and takes all there are; false at the queue's end.
  bool take(std::vector<Operation>& batch) {
    std::unique_lock lock(mutex_);
    while (pending_.empty() && !ending_) {
      workerSleeps_ = true;
      somethingToDo_.wait(lock);
    }
    workerSleeps_ = false;
    batch.swap(pending_);
    return !batch.empty();
  }

  /// Without the lock as long as nobody waits. A waiter counts itself before it looks at `finished_`,
  /// so that one of the two sees the other.
  void countFinished() {
    ++finished_;
    if (waiting_ == 0) return;
    { const std::scoped_lock lock(mutex_); }  // a waiter that has looked is asleep by now
    progress_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable somethingToDo_;
  std::condition_variable progress_;
  std::vector<Operation> pending_;
  std::uint64_t added_ = 0;
  bool workerSleeps_ = false;
  bool ending_ = false;
  std::thread worker_;
  std::atomic<std::uint64_t> finished_{0};
  std::atomic<unsigned> waiting_{0};
};

OperationQueue::OperationQueue() : state_(std::make_shared<State>()) {}

OperationQueue::~OperationQueue() { state_->end(); }

void OperationQueue::addOperation(std::function<void()> operation) { state_->add(std::move(operation)); }

void OperationQueue::waitUntilAllOperationsAreFinished() { state_->wait(); }

}  // namespace qm::platform
