// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/FileOperations.h"
#include "tests/fakes/FakeMainThread.h"

namespace qm::testing {

using platform::FileOperationStage;

/// One copy by a service, with all of its reports.
class BackgroundCopy {
 public:
  using Reaction = std::function<void(const platform::FileOperationReport& report)>;

  BackgroundCopy(platform::FileOperations& service, FakeMainThread& mainThread)
      : service_(service), mainThread_(mainThread), operation_(service.create()) {
    EXPECT_EQ(service_.scheduleWithMainRunLoop(operation_), 0);
  }

  const platform::FileOperationRef& operation() const { return operation_; }
  /// Called on the main thread for each report, after it was recorded.
  void react(Reaction reaction) { reaction_ = std::move(reaction); }

  platform::FileOperationStatus start(const std::string& source, const std::string& folder, const std::string& name,
                                      std::chrono::milliseconds interval = std::chrono::seconds(1)) {
    return service_.copyObject(
        operation_, {source, folder, name, interval,
                     [this](const platform::FileOperationRef& operation, const platform::FileOperationReport& report) {
                       EXPECT_EQ(operation, operation_);
                       EXPECT_TRUE(mainThread_.isMainThread());
                       reports_.push_back(report);
                       if (reaction_) reaction_(report);
                     }});
  }
  /// Serves the main thread until the end was reported, and returns its status.
  platform::FileOperationStatus end() {
    EXPECT_TRUE(mainThread_.pumpUntil([this] { return hasEnded(); }));
    mainThread_.pump();
    EXPECT_EQ(count(FileOperationStage::Complete), 1U);
    return hasEnded() ? reports_.back().error : -1;
  }
  platform::FileOperationStatus run(const std::string& source, const std::string& folder, const std::string& name) {
    EXPECT_EQ(start(source, folder, name), 0);
    return end();
  }
  platform::FileOperationStatus cancel() { return service_.cancel(operation_); }

  const std::vector<platform::FileOperationReport>& reports() const { return reports_; }
  std::size_t count(FileOperationStage stage) const {
    std::size_t count = 0;
    for (const auto& report : reports_) count += report.stage == stage ? 1 : 0;
    return count;
  }
  bool hasEnded() const { return !reports_.empty() && reports_.back().stage == FileOperationStage::Complete; }

 private:
  platform::FileOperations& service_;
  FakeMainThread& mainThread_;
  const platform::FileOperationRef operation_;
  Reaction reaction_;
  std::vector<platform::FileOperationReport> reports_;
};

}  // namespace qm::testing
