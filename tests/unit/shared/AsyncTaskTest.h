// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/unit/shared/AsyncDelegate.h"
#include "tests/unit/shared/TaskTest.h"

namespace qm::testing {

/// A runner, a delegate and a context, and a tool with given output.
class AsyncTaskTest : public TaskTest {
 protected:
  void start(const std::shared_ptr<AsyncTaskDelegate>& receiver, const AsyncTaskSelector& selector = kSelector,
             const std::shared_ptr<void>& object = nullptr) {
    runner->asyncDataFromTask(kTool, {}, receiver, selector, object);
  }
  void start() { start(delegate); }
  /// The same, up to the end of the run.
  void run() {
    start();
    EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  }
  /// A tool that prints and then runs until it is ended.
  void scriptEndlessTool(const std::vector<std::string>& output = {}) {
    TaskScript script;
    script.standardOutput = output;
    script.runsUntilEnded = true;
    fakes.tasks.script(kTool, script);
  }
  /// Nothing but the test holds the delegate, and the slot is empty.
  void expectReleased() const {
    EXPECT_EQ(delegate.use_count(), 1);
    EXPECT_EQ(runner->theTask(), nullptr);
  }

  std::shared_ptr<QMTask> runner = QMTask::make();
  std::shared_ptr<AsyncDelegate> delegate = std::make_shared<AsyncDelegate>();
};

}  // namespace qm::testing
