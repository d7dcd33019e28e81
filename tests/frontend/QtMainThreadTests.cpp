// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <thread>
#include <vector>

#include "Uninstaller/qt/QtDescriptorWait.h"
#include "tests/frontend/QtFixture.h"

namespace qm::testing {
namespace {

using namespace std::chrono_literals;

class QtMainThread : public QtFixture {};
class QtDescriptorWait : public QtFixture {
 public:
  ~QtDescriptorWait() override {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }

 protected:
  QtDescriptorWait() { EXPECT_EQ(::pipe(ends_), 0); }

  int readingEnd() const { return ends_[0]; }
  void write() { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }

  qt::QtDescriptorWait wait;

 private:
  int ends_[2] = {-1, -1};
};

TEST_F(QtMainThread, KnowsWhichThreadItIs) {
  EXPECT_TRUE(mainThread->isMainThread());
  bool elsewhere = true;
  std::thread([&] { elsewhere = mainThread->isMainThread(); }).join();
  EXPECT_FALSE(elsewhere);
}

TEST_F(QtMainThread, RunsItsOwnWorkAtOnce) {
  bool done = false;
  mainThread->performAndWait([&] { done = true; });
  EXPECT_TRUE(done);
}

TEST_F(QtMainThread, RunsTheWorkOfAnotherThreadThatWaitsForIt) {
  bool onMain = false;
  std::atomic<bool> done = false;
  bool doneBeforeReturn = false;
  std::thread worker([&] {
    mainThread->performAndWait([&] {
      onMain = mainThread->isMainThread();
      done = true;
    });
    doneBeforeReturn = done;
    mainThread->perform([] { QApplication::exit(0); });
  });
  QApplication::exec();
  worker.join();
  EXPECT_TRUE(onMain);
  EXPECT_TRUE(doneBeforeReturn);
}

TEST_F(QtMainThread, QueuesWorkInOrderAndReturns) {
  std::vector<int> order;
  mainThread->perform([&] { order.push_back(1); });
  std::thread([&] { mainThread->perform([&] { order.push_back(2); }); }).join();
  mainThread->perform([&] { QApplication::exit(0); });
  EXPECT_TRUE(order.empty());
  QApplication::exec();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(QtMainThread, ServesOtherWorkWhileAPieceOfWorkRunsAnEventLoop) {
  bool inner = false;
  mainThread->perform([&] {
    QEventLoop loop;
    mainThread->perform([&] {
      inner = true;
      loop.quit();
    });
    loop.exec();
    EXPECT_TRUE(inner);
    QApplication::exit(0);
  });
  QApplication::exec();
  EXPECT_TRUE(inner);
}

TEST_F(QtMainThread, TakesOneEventAndSaysSo) {
  bool done = false;
  mainThread->perform([&] { done = true; });
  while (!done) EXPECT_TRUE(mainThread->handleOneEvent(10s));
}

TEST_F(QtMainThread, WaitsForAnEventNoLongerThanTheLimit) {
  while (mainThread->handleOneEvent(0ms)) {  // left by the application's start
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(mainThread->handleOneEvent(20ms));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 19ms);
}

TEST_F(QtMainThread, IsWokenByWorkOfAnotherThread) {
  while (mainThread->handleOneEvent(0ms)) {
  }
  std::atomic<bool> done = false;
  std::thread worker([&] { mainThread->performAndWait([&] { done = true; }); });
  const auto start = std::chrono::steady_clock::now();
  while (!done) mainThread->handleOneEvent(60s);
  worker.join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 50s);
}

TEST_F(QtMainThread, DropsWorkThatComesAfterTheEnd) {
  auto witness = std::make_shared<int>(0);
  mainThread->perform([&, witness] { *witness = 1; });
  mainThread->end();
  EXPECT_EQ(witness.use_count(), 1);
  mainThread->perform([&, witness] { *witness = 2; });
  QApplication::processEvents();
  EXPECT_EQ(witness.use_count(), 1);
  EXPECT_EQ(*witness, 0);
}

TEST_F(QtMainThread, RunsItsOwnWorkAfterTheEnd) {
  mainThread->end();
  bool done = false;
  mainThread->performAndWait([&] { done = true; });
  EXPECT_TRUE(done);
}

TEST_F(QtDescriptorWait, ReturnsAtOnceWhenThereIsSomethingToRead) {
  bool served = false;
  mainThread->perform([&] { served = true; });
  write();
  wait.waitUntilReadable(readingEnd());
  EXPECT_FALSE(served);
}

TEST_F(QtDescriptorWait, ServesTheEventLoopUntilThereIsSomethingToRead) {
  int served = 0;
  mainThread->perform([&] { ++served; });
  std::thread worker([&] {
    mainThread->performAndWait([&] { ++served; });
    write();
  });
  wait.waitUntilReadable(readingEnd());
  worker.join();
  EXPECT_EQ(served, 2);
  char read = 0;
  EXPECT_EQ(::read(readingEnd(), &read, 1), 1);
  EXPECT_EQ(read, 'x');
}

TEST_F(QtDescriptorWait, MayBeCalledFromTheEventsThatItServes) {
  int other[2];
  ASSERT_EQ(::pipe(other), 0);
  bool inner = false;
  mainThread->perform([&] {
    mainThread->perform([&] { EXPECT_EQ(::write(other[1], "y", 1), 1); });
    wait.waitUntilReadable(other[0]);
    inner = true;
    write();
  });
  wait.waitUntilReadable(readingEnd());
  EXPECT_TRUE(inner);
  ::close(other[0]);
  ::close(other[1]);
}

TEST_F(QtDescriptorWait, SleepsInAnInnerWaitAfterTheOuterOneIsOver) {
  int other[2];
  ASSERT_EQ(::pipe(other), 0);
  int wakings = 0;
  mainThread->perform([&] {
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, [&] { ++wakings; });
    write();  // the condition of the outer wait
    QTimer::singleShot(200ms, [&] { EXPECT_EQ(::write(other[1], "y", 1), 1); });
    wait.waitUntilReadable(other[0]);
  });
  wait.waitUntilReadable(readingEnd());
  EXPECT_GE(wakings, 1);
  EXPECT_LE(wakings, 10);
  ::close(other[0]);
  ::close(other[1]);
}

TEST_F(QtDescriptorWait, ReturnsWhenTheApplicationEnds) {
  mainThread->perform([&] {
    mainThread->perform([] { QApplication::exit(3); });
    wait.waitUntilReadable(readingEnd());
  });
  EXPECT_EQ(QApplication::exec(), 3);
}

}  // namespace
}  // namespace qm::testing
