// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "Platform/OperationQueue.h"
#include "Shared/QMLog.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace qm::bench {
namespace {

constexpr int kLines = 100'000;

/// The minimal queue with one writing thread.
class BareQueue {
 public:
  explicit BareQueue(int descriptor) : descriptor_(descriptor), worker_([this] { work(); }) {}
  ~BareQueue() {
    {
      const std::scoped_lock lock(mutex_);
      ended_ = true;
    }
    filled_.notify_one();
    worker_.join();
  }
  void add(std::string line) {
    {
      const std::scoped_lock lock(mutex_);
      lines_.push_back(std::move(line));
    }
    filled_.notify_one();
  }

 private:
  void work() {
    std::unique_lock lock(mutex_);
    while (true) {
      filled_.wait(lock, [this] { return ended_ || !lines_.empty(); });
      if (lines_.empty()) return;
      const std::string line = std::move(lines_.front());
      lines_.pop_front();
      lock.unlock();
      if (::write(descriptor_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) std::abort();
      lock.lock();
    }
  }

  int descriptor_;
  bool ended_ = false;
  std::deque<std::string> lines_;
  std::mutex mutex_;
  std::condition_variable filled_;
  std::thread worker_;
};

void logBare() {
  const std::string path = freshFolder("log") + "/bare.log";
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  {
    BareQueue queue(descriptor);
    for (int i = 0; i < kLines; ++i) {
      queue.add("2024-02-29 23:05:07 +0000 - Moved item " + std::to_string(i) +
                " of the list to the Trash of the user\n");
    }
  }
  ::close(descriptor);
}

void logOurs() {
  for (int i = 0; i < kLines; ++i) QMLog::fastAppendLog("Moved item %d of the list to the Trash of the user", i);
  QMLog::finishWriting();
}

void logLongLines() {
  // Over 99 characters, so that nobody waits for it.
  for (int i = 0; i < kLines; ++i) {
    QMLog::appendLog("Moved item %d of the list to the Trash of the user, from a folder with a long name: %@", i,
                     "/Applications/Quillmark/Tessaly.app/Contents/Resources");
  }
  QMLog::finishWriting();
}

}  // namespace

void writeLog() {
  const auto newLog = [] { QMLog::createNewLog(); };
  compare({.name = "Log 100000 lines",
           .bar = 1.3,
           .ours = {"fastAppendLog:", newLog, logOurs, {}},
           .limit = {"one write a line through a bare queue", {}, logBare, {}},
           .peers = {{"ours, with lines twice as long", newLog, logLongLines, {}}},
           .rounds = 7});
}

}  // namespace qm::bench
