// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/PosixTasks.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

inline const std::string kShell = "/bin/sh";
inline const std::string kTaskLog = "/home/u/Library/Logs/Quillmark/Demo.1.log";
inline constexpr std::size_t kMebibyte = 1048576;

inline QMTask::Arguments script(const std::string& text) { return std::vector<std::string>{"-c", text}; }

/// This process's children according to the system: their ids and states, 'Z' for one that has ended and is not reaped.
inline std::map<pid_t, char> children() {
  std::map<pid_t, char> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "stat");
    std::stringstream text;
    text << file.rdbuf();
    const std::string line = text.str();
    const std::string number = entry.path().filename().string();
    const auto name = line.rfind(')');
    if (number.find_first_not_of("0123456789") != std::string::npos || name == std::string::npos) continue;
    char state = 0;
    int parent = 0;
    std::istringstream(line.substr(name + 1)) >> state >> parent;
    if (parent == ::getpid()) found.emplace(std::stoi(number), state);
  }
  return found;
}

inline std::string statesOfChildren() {
  std::string states;
  for (const auto& [number, state] : children()) states += state;
  return states;
}

/// The only child; 0 if there is not exactly one.
inline pid_t onlyChild() {
  const auto all = children();
  return all.size() == 1 ? all.begin()->first : 0;
}

/// Waits until a condition holds; false if it does not after 30 seconds.
template <class Condition>
bool eventually(const Condition& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

inline bool hasNoChildren() { return statesOfChildren().empty(); }

inline std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

/// Sleeps for real, up to the end of the test.
class RealSleep : public FakeClock {
 public:
  using FakeClock::FakeClock;

  void sleep(Span span) override {
    pollfd waiting{end_.reading.get(), POLLIN, 0};
    (void)::poll(&waiting, 1, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(span).count()));
  }
  void wakeEverybody() { end_.writing.reset(); }

  bool begin() {
    end_ = posix::makePipe();
    return end_.reading && end_.writing;
  }

 private:
  posix::Pipe end_;
};

/// Serves the fake main thread until a descriptor can be read.
class Pumping : public posix::DescriptorWait {
 public:
  explicit Pumping(FakeMainThread& mainThread) : mainThread_(mainThread) {}

  void waitUntilReadable(int descriptor) override {
    EXPECT_TRUE(mainThread_.pumpUntil([descriptor] {
      pollfd watched{descriptor, POLLIN, 0};
      return ::poll(&watched, 1, 0) > 0;
    }));
  }

 private:
  FakeMainThread& mainThread_;
};

/// Real child processes and real time; everything else is fake. The tools really exist at their paths, and on the fake
/// disk they are executable.
class RealTask : public PlatformTest {
 protected:
  RealTask() : pumping_(fakes.mainThread), tasks_(fakes.mainThread, pumping_) {
    for (const std::string& tool : {kShell, std::string("/bin/cat")}) fakes.disk.addExecutable(tool);
    fakes.disk.addFile(kTaskLog);
    services_ = fakes.platform;
    services_.tasks = &tasks_;
    services_.clock = &clock_;
    platform::install(&services_);
    EXPECT_TRUE(clock_.begin());
  }

  void TearDown() override {
    clock_.wakeEverybody();
    PlatformTest::TearDown();
    QMLog::finishWriting();
    platform::install(&fakes.platform);
    EXPECT_TRUE(eventually(hasNoChildren)) << statesOfChildren();  // whatever a test did
  }

  std::string log() {
    QMLog::finishWriting();
    return fakes.disk.fileContents(kTaskLog).value_or("no log");
  }

  /// A folder of the test's own.
  std::string folder() {
    if (folder_.empty()) {
      std::string pattern = (std::filesystem::temp_directory_path() / "task.XXXXXX").string();
      folder_ = ::mkdtemp(pattern.data());
    }
    return folder_;
  }

  ~RealTask() override {
    if (!folder_.empty()) std::filesystem::remove_all(folder_);
  }

 private:
  RealSleep clock_{fakes.calls};
  Pumping pumping_;
  posix::PosixTasks tasks_;
  platform::Platform services_;
  std::string folder_;
};

}  // namespace qm::testing
