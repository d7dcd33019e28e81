// SPDX-License-Identifier: MIT

// A pipe takes the place of the queue of kernel events, which Linux does not have.
#include "Platform/posix/process/KernelQueue.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/Readable.h"

namespace qm::posix {
namespace {

class KernelQueue : public ::testing::Test {
 protected:
  /// The queue of a process whose watch ends with this error number.
  UniqueFd queueFor(int error) {
    const auto watch = [error](int) { return error; };
    const auto announce = [this](int queue) {
      announcedIn = queue;
      return announcing == 0 && ::write(pipe.writing.get(), "", 1) == 1 ? 0 : announcing;
    };
    return queueForExit(std::move(pipe.reading), watch, announce);
  }

  Pipe pipe = makePipe();
  const int number = pipe.reading.get();
  int announcing = 0;
  int announcedIn = -1;
};

TEST_F(KernelQueue, WaitsForAProcessThatRuns) {
  const UniqueFd queue = queueFor(0);
  EXPECT_EQ(queue.get(), number);
  EXPECT_FALSE(isReadable(queue.get(), 0));
  EXPECT_EQ(announcedIn, -1);
}

TEST_F(KernelQueue, IsReadableAtOnceForAProcessThatHasExited) {
  const UniqueFd queue = queueFor(ESRCH);
  EXPECT_EQ(announcedIn, number);
  EXPECT_TRUE(isReadable(queue.get(), 0));
}

TEST_F(KernelQueue, IsNoneForAProcessThatCannotBeWatched) {
  EXPECT_FALSE(queueFor(EACCES));
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(announcedIn, -1);
  EXPECT_EQ(::fcntl(number, F_GETFD), -1);  // it is closed
}

TEST_F(KernelQueue, IsNoneWhereTheExitCannotBeAnnounced) {
  announcing = ENOMEM;
  EXPECT_FALSE(queueFor(ESRCH));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST_F(KernelQueue, IsNoneAndNotPreparedWhereTheSystemMakesNone) {
  pipe.reading.reset();
  bool isPrepared = false;
  EXPECT_FALSE(preparedQueue(std::move(pipe.reading), [&](int) {
    isPrepared = true;
    return 0;
  }));
  EXPECT_FALSE(isPrepared);
}

}  // namespace
}  // namespace qm::posix
