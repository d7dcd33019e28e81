// SPDX-License-Identifier: MIT

// Child programs: how they start, how they are ended, and who waits for them.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <set>
#include <string>

#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/linux/privileges/ChildrenThatRun.h"
#include "Platform/posix/process/Descriptors.h"
#include "tests/privileges/BlockedThread.h"
#include "tests/privileges/Scripts.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::ChildProgram;

/// The children of this process that have not been reaped.
std::set<pid_t> children() {
  std::set<pid_t> found;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream file(thread.path() / "children");
    found.insert(std::istream_iterator<pid_t>(file), std::istream_iterator<pid_t>());
  }
  return found;
}

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Half of what a child that is asked to end is given.
bool isQuick(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1500);
}

class Child : public ::testing::Test {
 protected:
  int start(const std::string& commands, const ChildProgram::Streams& streams = {}) {
    scripts.write("program", commands);
    return child.start(scripts.at("program"), {"one", "two words"}, streams);
  }

  /// Whether there is a child that was not there before the test.
  bool hasChild() const {
    const std::set<pid_t> now = children();
    return !std::includes(before.begin(), before.end(), now.begin(), now.end());
  }

  const std::set<pid_t> before = children();
  Scripts scripts;
  ChildProgram child;
};

TEST_F(Child, IsWaitedForAndGivesItsStatus) {
  const std::ptrdiff_t descriptors = openDescriptors();
  ASSERT_EQ(start("exit 7"), 0);
  EXPECT_EQ(child.wait(), 7);
  EXPECT_EQ(scripts.runs("program"), "one two words\n");
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_FALSE(hasChild());
  EXPECT_EQ(child.wait(), -1) << "there is none any more";
}

TEST_F(Child, GivesTheSignalThatEndedIt) {
  ASSERT_EQ(start("kill -KILL $$"), 0);
  EXPECT_EQ(child.wait(), SIGKILL);
}

TEST_F(Child, StartsWithThreeStreamsAndAnEnvironmentOfItsOwn) {
  const std::string look =
      "links=$(for fd in 0 1 2; do readlink /proc/$$/fd/$fd; done)\necho \"$links\" > links\n"
      "tr '\\0' '\\n' < /proc/$$/environ > environment";
  ASSERT_EQ(start(look), 0);
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(scripts.text("links"), "/dev/null\n/dev/null\n/dev/null\n");
  EXPECT_EQ(scripts.text("environment"), "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLANG=C\nSHELL=/bin/sh\n");

  const posix::Pipe input = posix::makePipe(), output = posix::makePipe(), errors = posix::makePipe();
  const auto link = [](const posix::UniqueFd& fd) {
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd.get())).string() + "\n";
  };
  ASSERT_EQ(start(look, {input.reading.get(), output.writing.get(), errors.writing.get()}), 0);
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(scripts.text("links"), link(input.reading) + link(output.writing) + link(errors.writing));
}

TEST_F(Child, SaysWhyItCannotBeStarted) {
  EXPECT_EQ(child.start(scripts.at("missing"), {}, {}), ENOENT);
  EXPECT_EQ(child.start(scripts.at("hello"), {}, {}), EACCES);
  EXPECT_EQ(child.wait(), -1);
}

TEST_F(Child, DoesNotRunOnWhereItCannotBeWatched) {
  inChild([this] {
    failSystemCall(SYS_pidfd_open, EMFILE);
    EXPECT_EQ(start("exec sleep 1000"), EMFILE);
    EXPECT_FALSE(hasChild());
  });
}

TEST_F(Child, IsAskedToEndBeforeItIsEnded) {
  const posix::Pipe said = posix::makePipe();
  ASSERT_EQ(start("trap 'echo asked > asked; exit 0' TERM\necho ready\nwhile :; do sleep 0.01; done",
                  {.output = said.writing.get()}),
            0);
  char ready = 0;
  ASSERT_EQ(::read(said.reading.get(), &ready, 1), 1);
  child = ChildProgram();
  EXPECT_EQ(scripts.text("asked"), "asked\n");
  EXPECT_FALSE(hasChild());
}

TEST_F(Child, IsNotWaitedForLongerThanItTakesToEnd) {
  ASSERT_EQ(start("exec sleep 1000"), 0);
  EXPECT_TRUE(isQuick([this] { child.end(); }));
  EXPECT_TRUE(isQuick([this] { child.end(); })) << "there is none";
  EXPECT_FALSE(hasChild());
}

TEST_F(Child, IsEndedWhenItDoesNotWantTo) {
  inChild([this] {
    const posix::Pipe said = posix::makePipe();
    ASSERT_EQ(start("trap '' TERM\necho ready\nexec sleep 60", {.output = said.writing.get()}), 0);
    char ready = 0;
    ASSERT_EQ(::read(said.reading.get(), &ready, 1), 1);
    for (const long call : {SYS_poll, SYS_ppoll}) failSystemCall(call, 0);  // as if the time had passed
    EXPECT_TRUE(isQuick([this] { child.end(); }));
    EXPECT_FALSE(hasChild());
  });
}

TEST(OwnStartTime, IsWhatTheKernelSaysWhateverTheNameOfTheProgram) {
  Scripts scripts;
  scripts.write("look", "sed 's/.*) //' /proc/$1/stat | cut -d ' ' -f 20 > found");
  ChildProgram look;
  ASSERT_EQ(look.start(scripts.at("look"), {std::to_string(::getpid())}, {}), 0);
  EXPECT_EQ(look.wait(), 0);
  ASSERT_NE(scripts.text("found"), "");
  EXPECT_EQ(linux_::ownStartTime() + "\n", scripts.text("found"));
  inChild([] {
    const std::string before = linux_::ownStartTime();
    ::prctl(PR_SET_NAME, "a) b (c d) 1 2");
    EXPECT_EQ(linux_::ownStartTime(), before);
    failSystemCall(SYS_openat, EACCES);
    EXPECT_EQ(linux_::ownStartTime(), "");
  });
}

// MARK: - Children that run a program

class ChildrenThatRun : public Child {
 protected:
  ChildrenThatRun() { std::filesystem::copy("/bin/cat", scripts.at("cat")); }

  /// Waits for the children in another thread.
  std::future<void> wait() {
    return std::async(std::launch::async, [this] { linux_::waitForChildrenThatRun(scripts.at("cat")); });
  }
  static bool isOver(const std::future<void>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  }

  posix::Pipe pipe = posix::makePipe();
};

TEST_F(ChildrenThatRun, AreWaitedForAndLeftToBeReaped) {
  ASSERT_EQ(child.start(scripts.at("cat"), {}, {.input = pipe.reading.get()}), 0);
  std::future<void> waiting = wait();
  EXPECT_TRUE(interruptThreadIn(SYS_waitid));
  EXPECT_FALSE(isOver(waiting));
  pipe.writing.reset();
  waiting.get();
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(ChildrenThatRun, AreThoseAsWellThatAreAboutTo) {
  // Its output has no room, so it does not end.
  const std::string filling(1U << 16U, 'x');
  ASSERT_EQ(::write(pipe.writing.get(), filling.data(), filling.size()), static_cast<ssize_t>(filling.size()));
  ASSERT_EQ(child.start("/usr/bin/env", {}, {.output = pipe.writing.get()}), 0);
  std::future<void> waiting = wait();
  EXPECT_TRUE(waitForThreadIn(SYS_waitid));
  EXPECT_FALSE(isOver(waiting));
  pipe = {};
  waiting.get();
}

/// A child that ends once the writing end is closed and until then runs this program, as every child does at first.
pid_t startCopyOfThisProgram(posix::Pipe& pipe) {
  const pid_t copy = ::fork();
  if (copy != 0) return copy;
  pipe.writing.reset();
  char unused{};
  ::_exit(::read(pipe.reading.get(), &unused, 1) == 0 ? 0 : 1);
}

TEST_F(ChildrenThatRun, AreThoseAsWellThatHaveYetToLeaveThisProgram) {
  const pid_t copy = startCopyOfThisProgram(pipe);
  ASSERT_GT(copy, 0);
  std::future<void> waiting = wait();
  EXPECT_TRUE(waitForThreadIn(SYS_waitid));
  EXPECT_FALSE(isOver(waiting));
  pipe.writing.reset();
  waiting.get();
  int status = -1;
  EXPECT_EQ(::waitpid(copy, &status, 0), copy);
  EXPECT_EQ(status, 0);
}

TEST_F(ChildrenThatRun, AreSeenWhileTheyGoFromOneProgramToTheNext) {
  const std::string source = scripts.at("hello");
  for (int round = 0; round < 300; ++round) {
    ASSERT_EQ(child.start("/usr/bin/env", {scripts.at("cat"), source}, {.output = pipe.writing.get()}), 0);
    linux_::waitForChildrenThatRun(scripts.at("cat"));
    pollfd output = {pipe.reading.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&output, 1, 0), 1) << "in round " << round << ", it had yet to write";
    EXPECT_EQ(child.wait(), 0);
    pipe = posix::makePipe();
  }
}

TEST_F(ChildrenThatRun, AreNoneThatRunAnother) {
  ASSERT_EQ(child.start("/bin/cat", {}, {.input = pipe.reading.get()}), 0);
  linux_::waitForChildrenThatRun(scripts.at("cat"));
  EXPECT_TRUE(hasChild());
  pipe.writing.reset();
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace qm::testing
