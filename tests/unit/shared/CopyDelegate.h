// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Shared/FileOperationDelegate.h"

namespace qm::testing {

/// A delegate that has some operations and records its calls.
class CopyDelegate : public FileOperationDelegate {
 public:
  struct Call {
    std::string selector;
    FileOperationDictionary report;
    platform::FileOperationRef operation;
    std::thread::id thread;
  };
  using Action = std::function<void(const Call& call)>;

  explicit CopyDelegate(std::set<std::string> answered, Action action = {})
      : answered_(std::move(answered)), action_(std::move(action)) {}

  std::vector<Call> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }
  std::vector<std::string> selectors() const {
    std::vector<std::string> all;
    for (const Call& call : calls()) all.push_back(call.selector);
    return all;
  }
  void setAnswered(std::set<std::string> answered) { answered_ = std::move(answered); }
  /// Releases everything it was called with.
  void forget() {
    const std::scoped_lock lock(mutex_);
    calls_.clear();
  }

  bool respondsToSelector(const std::string& selector) const override { return answered_.contains(selector); }
  void perform(const std::string& selector, const FileOperationDictionary& report,
               const platform::FileOperationRef& fileOperation) override {
    const Call call{selector, report, fileOperation, std::this_thread::get_id()};
    {
      const std::scoped_lock lock(mutex_);
      calls_.push_back(call);
    }
    if (action_) action_(call);
  }

 private:
  std::set<std::string> answered_;
  const Action action_;
  mutable std::mutex mutex_;
  std::vector<Call> calls_;
};

inline const std::string kProgressBoth = "fileOperationProgress:fileOperation:";
inline const std::string kProgress = "fileOperationProgress:";
inline const std::string kFinishedBoth = "fileOperationFinished:fileOperation:";
inline const std::string kFinished = "fileOperationFinished:";

inline std::string textIn(const FileOperationDictionary& report, const std::string& key) {
  const auto entry = report.find(key);
  const auto* text = entry == report.end() ? nullptr : std::get_if<std::string>(&entry->second);
  return text == nullptr ? "no text" : *text;
}

inline std::uint64_t numberIn(const FileOperationDictionary& report, const std::string& key) {
  const auto entry = report.find(key);
  const auto* number = entry == report.end() ? nullptr : std::get_if<std::uint64_t>(&entry->second);
  return number == nullptr ? ~std::uint64_t{0} : *number;
}

inline std::vector<std::string> keysOf(const FileOperationDictionary& report) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : report) keys.push_back(key);
  return keys;
}

}  // namespace qm::testing
