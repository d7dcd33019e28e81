// SPDX-License-Identifier: MIT
#include "Platform/OperationQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <numeric>
#include <optional>
#include <thread>
#include <vector>

namespace {

using qm::platform::OperationQueue;

/// A gate that operations wait at until the test opens it.
class Gate {
 public:
  void open() { opening_.set_value(); }
  void pass() { opened_.wait(); }

 private:
  std::promise<void> opening_;
  std::shared_future<void> opened_ = opening_.get_future().share();
};

TEST(OperationQueue, RunsOperationsInTheOrderAdded) {
  std::vector<int> order;
  OperationQueue queue;
  for (int i = 0; i < 1000; ++i) queue.addOperation([&order, i] { order.push_back(i); });
  queue.waitUntilAllOperationsAreFinished();
  std::vector<int> expected(1000);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(order, expected);
}

TEST(OperationQueue, RunsThemOnOneThreadOfItsOwn) {
  std::vector<std::thread::id> threads;
  OperationQueue queue;
  for (int i = 0; i < 2; ++i) {
    queue.addOperation([&] { threads.push_back(std::this_thread::get_id()); });
    queue.waitUntilAllOperationsAreFinished();
  }
  ASSERT_EQ(threads.size(), 2U);
  EXPECT_EQ(threads[0], threads[1]);
  EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(OperationQueue, NeverRunsTwoAtATime) {
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  OperationQueue queue;
  std::vector<std::thread> adders;
  adders.reserve(4);
  for (int adder = 0; adder < 4; ++adder) {
    adders.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        queue.addOperation([&] {
          most = std::max(most.load(), ++inside);
          --inside;
        });
      }
    });
  }
  for (std::thread& adder : adders) adder.join();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(most, 1);
}

TEST(OperationQueue, ReturnsFromAddingWhileAnOperationRuns) {
  Gate gate;
  std::atomic<int> ran{0};
  OperationQueue queue;
  queue.addOperation([&] {
    gate.pass();
    ++ran;
  });
  queue.addOperation([&] { ++ran; });
  EXPECT_EQ(ran, 0);
  gate.open();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran, 2);
}

TEST(OperationQueue, WaitsForOperationsAddedMeanwhile) {
  int depth = 0;
  std::function<void()> addsAnother;
  OperationQueue queue;
  addsAnother = [&] {
    if (++depth < 100) queue.addOperation(addsAnother);
  };
  queue.addOperation(addsAnother);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(depth, 100);
}

// They wait for what they have added, so that the queue is empty again and again, and somebody adds at once.
TEST(OperationQueue, KeepsNobodyWaitingThroughWhatOthersAddAfterwards) {
  OperationQueue queue;
  std::atomic<bool> stops{false};
  std::vector<std::thread> others;
  for (int i = 0; i < 4; ++i) {
    others.emplace_back([&] {
      while (!stops) {
        queue.addOperation([] {});
        queue.waitUntilAllOperationsAreFinished();
      }
    });
  }
  for (int i = 0; i < 500; ++i) {
    std::atomic<bool> done{false};
    queue.addOperation([&] { done = true; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(done);
  }
  stops = true;
  for (std::thread& other : others) other.join();
}

TEST(OperationQueue, ReturnsAtOnceFromWaitingInsideItsOwnOperation) {
  bool came = false;
  OperationQueue queue;
  queue.addOperation([&] {
    queue.addOperation([] {});
    queue.waitUntilAllOperationsAreFinished();
    came = true;
  });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(came);
}

TEST(OperationQueue, WaitsForAnotherQueueInsideItsOperation) {
  bool inner = false;
  bool innerSeen = false;
  OperationQueue queue;
  OperationQueue other;
  queue.addOperation([&] {
    other.addOperation([&] { inner = true; });
    other.waitUntilAllOperationsAreFinished();
    innerSeen = inner;
  });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(innerSeen);
}

TEST(OperationQueue, ReturnsFromWaitingWhenNothingWasEverAdded) {
  OperationQueue queue;
  auto waiter = std::async(std::launch::async, [&] { queue.waitUntilAllOperationsAreFinished(); });
  EXPECT_EQ(waiter.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST(OperationQueue, LetsGoOfWhatAnOperationHoldsBeforeItCountsAsFinished) {
  auto held = std::make_shared<int>(1);
  OperationQueue queue;
  queue.addOperation([held] { EXPECT_EQ(*held, 1); });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(OperationQueue, FinishesItsOperationsBeforeItEnds) {
  int ran = 0;
  {
    Gate gate;
    OperationQueue queue;
    queue.addOperation([&] { gate.pass(); });
    for (int i = 0; i < 10; ++i) queue.addOperation([&] { ++ran; });
    gate.open();
  }
  EXPECT_EQ(ran, 10);
}

TEST(OperationQueue, MayBeEndedFromInsideItsOwnOperation) {
  std::promise<void> rest;
  Gate gate;
  auto queue = std::make_shared<std::optional<OperationQueue>>(std::in_place);
  (*queue)->addOperation([&gate, queue] {
    gate.pass();
    queue->reset();
  });
  (*queue)->addOperation([&rest] { rest.set_value(); });
  queue.reset();
  gate.open();
  EXPECT_EQ(rest.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready)
      << "the operations that were added still run";
}

TEST(OperationQueue, LetsManyThreadsWait) {
  Gate gate;
  OperationQueue queue;
  queue.addOperation([&] { gate.pass(); });
  std::vector<std::future<void>> waiters;
  waiters.reserve(4);
  for (int i = 0; i < 4; ++i) {
    waiters.push_back(std::async(std::launch::async, [&] { queue.waitUntilAllOperationsAreFinished(); }));
  }
  gate.open();
  for (std::future<void>& waiter : waiters) {
    EXPECT_EQ(waiter.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  }
}

}  // namespace
