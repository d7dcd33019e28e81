// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Shared/AsyncTaskDelegate.h"

namespace qm::testing {

inline const std::string kSelector = "taskPrinted:task:object:";

/// A delegate that has one operation and records its calls.
class AsyncDelegate : public AsyncTaskDelegate {
 public:
  struct Call {
    std::string selector;
    std::string data;
    QMTask* task;
    std::shared_ptr<void> object;
    std::thread::id thread;
  };
  using Action = std::function<void(const std::string& data, QMTask& task)>;

  AsyncDelegate() = default;
  /// Called at each call, after it was recorded.
  explicit AsyncDelegate(Action action) : action_(std::move(action)) {}

  std::vector<Call> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }
  std::vector<std::string> pieces() const {
    std::vector<std::string> all;
    for (const Call& call : calls()) all.push_back(call.data);
    return all;
  }
  /// Returns when there were this many calls; false if there are not within 30 seconds.
  bool waitForCalls(std::size_t count) {
    std::unique_lock lock(mutex_);
    return called_.wait_for(lock, std::chrono::seconds(30), [&] { return calls_.size() >= count; });
  }

  bool respondsToSelector(const std::string& selector) const override { return selector == kSelector; }
  void perform(const std::string& selector, const std::string& data, QMTask& task,
               const std::shared_ptr<void>& object) override {
    {
      const std::scoped_lock lock(mutex_);
      calls_.push_back({selector, data, &task, object, std::this_thread::get_id()});
      called_.notify_all();
    }
    if (action_) action_(data, task);
  }

 private:
  const Action action_;
  mutable std::mutex mutex_;
  std::condition_variable called_;
  std::vector<Call> calls_;
};

}  // namespace qm::testing
