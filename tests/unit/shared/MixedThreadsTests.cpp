// SPDX-License-Identifier: MIT

// Everything that has threads at once, on the real services: eight threads log, four tools print in the background, two
// copies run, and an owner ends running tools. For QM_MIXED_THREADS_SECONDS, or briefly; meant for ThreadSanitizer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/linux/LinuxPlatform.h"
#include "Shared/FileOperationDelegate.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"
#include "Uninstaller/Product.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int kLoggers = 8;
constexpr int kTasks = 4;
constexpr int kCopies = 2;
constexpr std::size_t kPrinted = 300000;
constexpr std::uintmax_t kCopied = 2000000;

std::chrono::milliseconds duration() {
  const char* seconds = std::getenv("QM_MIXED_THREADS_SECONDS");
  return seconds == nullptr ? 300ms : std::chrono::seconds(std::strtol(seconds, nullptr, 10));
}

// The main thread's work, run by whoever calls `serve`.
class ServedMainThread : public platform::MainThread {
 public:
  bool isMainThread() const override { return std::this_thread::get_id() == thread_; }
  void performAndWait(std::function<void()> /*work*/) override { FAIL() << "nobody here waits for the main thread"; }
  bool handleOneEvent(std::chrono::milliseconds /*limit*/) override { return false; }

  void perform(std::function<void()> work) override {
    const std::scoped_lock lock(mutex_);
    works_.push_back(std::move(work));
    changed_.notify_all();
  }

  void wakeUp() {
    const std::scoped_lock lock(mutex_);
    changed_.notify_all();
  }

  // Until `done`, which is checked after each piece of work and each `wakeUp`, or until the limit.
  bool serve(const std::function<bool()>& done, std::chrono::steady_clock::time_point limit) {
    std::unique_lock lock(mutex_);
    while (!done()) {
      if (works_.empty() && changed_.wait_until(lock, limit) == std::cv_status::timeout) return done();
      if (works_.empty()) continue;
      const auto work = std::move(works_.front());
      works_.pop_front();
      lock.unlock();
      work();
      lock.lock();
    }
    return true;
  }

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> works_;
};

class NoDescriptorWait : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int /*descriptor*/) override {}
};

// Counts the bytes of one run.
class Receiver : public AsyncTaskDelegate {
 public:
  bool respondsToSelector(const std::string& /*selector*/) const override { return true; }
  void perform(const std::string& /*selector*/, const std::string& data, QMTask& /*task*/,
               const std::shared_ptr<void>& /*object*/) override {
    const std::scoped_lock lock(mutex_);
    bytes_ += data.size();
    ended_ = ended_ || data.empty();
    changed_.notify_all();
  }

  std::size_t waitForEnd() {
    return waitUntil([this] { return ended_; });
  }
  std::size_t waitForBytes() {
    return waitUntil([this] { return bytes_ > 0; });
  }

 private:
  template <class Condition>
  std::size_t waitUntil(Condition condition) {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, 60s, condition));
    return bytes_;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t bytes_ = 0;
  bool ended_ = false;
};

// Copies one folder again and again, from one report to the next, on the main thread. Each third copy is cancelled as
// soon as it has begun.
class Copying : public FileOperationDelegate, public std::enable_shared_from_this<Copying> {
 public:
  Copying(std::string source, std::string destination)
      : source_(std::move(source)), destination_(std::move(destination)) {}

  void begin() {
    isRunning_ = QMFileManager::copyFileWithProgress(source_, destination_, shared_from_this(), nullptr);
    EXPECT_TRUE(isRunning_);
  }
  void endAfterThisOne() { ends_ = true; }
  bool isRunning() const { return isRunning_; }
  int finished() const { return finished_; }

  bool respondsToSelector(const std::string& selector) const override {
    return selector == progressWithOperation || selector == finishedWithOperation;
  }
  void perform(const std::string& selector, const FileOperationDictionary& /*report*/,
               const platform::FileOperationRef& operation) override {
    if (selector == finishedWithOperation) return finish();
    if (started_ % 3 == 2) QMFileManager::cancelFileOperation(operation);
  }

 private:
  // A copy that was cancelled at its last moment may be there, but then it is whole.
  void finish() {
    const bool isThere = fs::exists(destination_);
    EXPECT_TRUE(isThere || started_ % 3 == 2);
    EXPECT_EQ(isThere ? fs::file_size(destination_ + "/file") : kCopied, kCopied);
    fs::remove_all(destination_);
    ++finished_;
    ++started_;
    isRunning_ = false;
    if (!ends_) begin();
  }

  const std::string source_;
  const std::string destination_;
  bool isRunning_ = false;
  bool ends_ = false;
  int started_ = 0;
  int finished_ = 0;
};

// A process of an ordinary user with a home folder, and its threads.
class Mixture {
 public:
  explicit Mixture(std::string home) : folder_(std::move(home)) {
    EXPECT_EQ(::setenv("HOME", folder_.c_str(), 1), 0);
    platform::install(&linux_::wholeLinuxPlatform(kProduct, {mainThread_, wait_}));
    fs::create_directories(folder_ + "/source/folder");
    std::ofstream(folder_ + "/source/file") << std::string(kCopied, 'x');
    std::ofstream(folder_ + "/source/folder/file") << "small";
  }

  void run();

 private:
  // Runs `work` on a thread of its own, again and again until the end, with a short pause each time: the interplay is
  // tested, not how busy a machine can get.
  void again(const std::function<void(int)>& work) {
    threads_.emplace_back([this, work] {
      for (int round = 0; !stopsAfter(1ms); ++round) work(round);
    });
  }

  bool stopsAfter(std::chrono::milliseconds rest) {
    std::unique_lock lock(mutex_);
    return stopping_.wait_for(lock, rest, [this] { return stops_; });
  }

  void stop() {
    {
      const std::scoped_lock lock(mutex_);
      stops_ = true;
      stopping_.notify_all();
    }
    for (std::thread& thread : threads_) thread.join();
  }

  std::vector<std::string> logLines() const {
    std::vector<std::string> lines;
    for (int number = 5; number >= 1; --number) {
      std::ifstream file(folder_ + "/Library/Logs/Quillmark/mixed_threads_test." + std::to_string(number) + ".log");
      for (std::string line; std::getline(file, line);) {
        if (line.find(" - Thread ") != std::string::npos) lines.push_back(line);
      }
    }
    return lines;
  }

  // They outlive the threads that are left to end by themselves.
  static inline auto& mainThread_ = *new ServedMainThread;
  static inline auto& wait_ = *new NoDescriptorWait;

  const std::string folder_;
  std::mutex mutex_;
  std::condition_variable stopping_;
  bool stops_ = false;
  std::vector<std::thread> threads_;
};

void logSome(int thread, int round) {
  for (int line = 10 * round; line < 10 * round + 9; ++line) QMLog::fastAppendLog("Thread %i says %i.", thread, line);
  QMLog::appendLog("Thread %i says %i.", thread, 10 * round + 9);
}

void runTool() {
  const auto receiver = std::make_shared<Receiver>();
  const std::vector<std::string> arguments = {"-c", std::to_string(kPrinted), "/dev/zero"};
  QMTask::make()->asyncDataFromTask("/usr/bin/head", arguments, receiver, "data", nullptr);
  EXPECT_EQ(receiver->waitForEnd(), kPrinted);
}

// Ends one run, replaces another one, and releases a third.
void endTools() {
  const auto receiver = std::make_shared<Receiver>();
  const auto runner = QMTask::make();
  const auto start = [&] { runner->asyncDataFromTask("/usr/bin/yes", {}, receiver, "data", nullptr); };
  start();
  EXPECT_GT(receiver->waitForBytes(), 0U);
  runner->terminateAsyncTask();
  EXPECT_EQ(runner->theTask(), nullptr);
  start();
  runner->terminateAsyncTask();
}

// The lines of each thread are whole, in the order in which they were logged, and none is duplicated.
void expectOrder(const std::vector<std::string>& lines) {
  std::map<int, int> last;
  for (const std::string& line : lines) {
    int thread = -1;
    int number = -1;
    char end = 0;
    const std::string text = line.substr(line.find("Thread"));
    ASSERT_EQ(std::sscanf(text.c_str(), "Thread %d says %d%c", &thread, &number, &end), 3) << line;
    ASSERT_EQ(end, '.') << line;
    ASSERT_TRUE(!last.contains(thread) || last[thread] < number) << line;
    last[thread] = number;
  }
  EXPECT_EQ(last.size(), static_cast<std::size_t>(kLoggers));
}

void Mixture::run() {
  std::atomic<int> runs{0};
  std::atomic<int> endings{0};
  QMLog::createNewLog(std::string("mixed_threads_test"));
  const auto end = std::chrono::steady_clock::now() + duration();
  for (int thread = 0; thread < kLoggers; ++thread) again([thread](int round) { logSome(thread, round); });
  for (int task = 0; task < kTasks; ++task) again([&](int) { runTool(), ++runs; });
  again([&](int) { endTools(), ++endings; });
  std::vector<std::shared_ptr<Copying>> copies;
  for (int copy = 0; copy < kCopies; ++copy) {
    copies.push_back(std::make_shared<Copying>(folder_ + "/source", folder_ + "/copy" + std::to_string(copy)));
    copies.back()->begin();
  }
  mainThread_.serve([] { return false; }, end);
  stop();
  // A thread that had to wait for long may have nothing in the logs that are kept; now each has.
  for (int thread = 0; thread < kLoggers; ++thread)
    QMLog::appendLog("Thread %i says %i.", thread, std::numeric_limits<int>::max());
  for (const auto& copy : copies) copy->endAfterThisOne();
  const auto allEnded = [&] {
    return std::ranges::none_of(copies, [](const auto& copy) { return copy->isRunning(); });
  };
  EXPECT_TRUE(mainThread_.serve(allEnded, std::chrono::steady_clock::now() + 60s));
  QMLog::finishWriting();
  expectOrder(logLines());
  EXPECT_GT(runs, 0);
  EXPECT_GT(endings, 0);
  for (const auto& copy : copies) EXPECT_GT(copy->finished(), 0);
}

TEST(MixedThreads, GetAlongWithEachOther) {
  constexpr uid_t person = 1001;
  runInPrivateMachine([] {
    const std::string home = machineFolder() + "/home";
    fs::create_directory(home);
    ASSERT_EQ(::chown(home.c_str(), person, person), 0);
    asUser(person, person, [&] { Mixture(home).run(); });
  });
}

}  // namespace
}  // namespace qm::testing
