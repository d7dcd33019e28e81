// SPDX-License-Identifier: MIT
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Shared/QMTask.h"
#include "bench/Cases.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr const char* kTool = "/bin/dd";
constexpr std::size_t kBlock = 100000;
constexpr std::size_t kBlocks = 1000;  // 100 MB
constexpr long kMostGrowth = 1024;     // in KiB

std::vector<std::string> toolArguments(std::size_t blocks) {
  return {"if=/dev/zero", "bs=" + std::to_string(kBlock), "count=" + std::to_string(blocks), "status=none"};
}

// Counts the received bytes, until the end.
class CountingDelegate : public AsyncTaskDelegate {
 public:
  bool respondsToSelector(const std::string& /*selector*/) const override { return true; }
  void perform(const std::string& /*selector*/, const std::string& data, QMTask& /*task*/,
               const std::shared_ptr<void>& /*object*/) override {
    bytes_ += data.size();
    if (!data.empty()) return;
    const std::scoped_lock lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }

  std::size_t waitForAll() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return ended_; });
    return bytes_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t bytes_ = 0;
  bool ended_ = false;
};

void readInTheBackground(std::size_t blocks) {
  const auto delegate = std::make_shared<CountingDelegate>();
  QMTask::make()->asyncDataFromTask(kTool, toolArguments(blocks), delegate, "data:task:object:", nullptr);
  if (delegate->waitForAll() != blocks * kBlock) std::abort();
}

std::size_t readToEnd(int pipe) {
  std::array<char, 65536> block{};
  std::size_t bytes = 0;
  for (ssize_t got = 0; (got = ::read(pipe, block.data(), block.size())) > 0;) bytes += static_cast<std::size_t>(got);
  return bytes;
}

void readBare() {
  int ends[2] = {-1, -1};
  if (::pipe(ends) != 0) std::abort();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  auto texts = toolArguments(kBlocks);
  std::string tool = kTool;
  std::vector<char*> arguments = {tool.data()};
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (::posix_spawn(&child, kTool, &actions, nullptr, arguments.data(), environ) != 0) std::abort();
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (readToEnd(ends[0]) != kBlocks * kBlock) std::abort();
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
}

// The peak memory of this process since the mark was reset, in KiB.
long peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  std::abort();
}

long peakOfReading(std::size_t blocks) {
  std::ofstream("/proc/self/clear_refs") << "5\n";
  readInTheBackground(blocks);
  return peakMemory();
}

void compareMemory() {
  const long some = peakOfReading(kBlocks);
  const long tenTimes = peakOfReading(10 * kBlocks);
  std::printf("Memory while reading\n  100 MB %8ld KiB\n  1 GB   %8ld KiB   %+ld KiB, at most %ld: %s\n", some,
              tenTimes, tenTimes - some, kMostGrowth, tenTimes - some <= kMostGrowth ? "holds" : "OVER");
}

}  // namespace

void readAsyncTask() {
  compare({.name = "Read 100 MB of a tool's output in the background",
           .bar = 1.2,
           .ours = {"asyncDataFromTask:", {}, [] { readInTheBackground(kBlocks); }, {}},
           .limit = {"a loop of reads", {}, readBare, {}},
           .peers = {},
           .rounds = 11});
  compareMemory();
}

}  // namespace qm::bench
