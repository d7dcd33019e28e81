// SPDX-License-Identifier: MIT

// What administrator rights cost: opening a session compared with pkexec alone, and a launch compared with posix_spawn.
// Runs as root on a throw-away machine; see scripts/bench.

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include "tests/privileges/PolkitMachine.h"

namespace {

using namespace qm::testing;  // only the throw-away machine has these
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kOpenings = 31;
constexpr int kLaunches = 501;

double median(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

double medianOf(int rounds, const std::function<double()>& measure) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) times.push_back(measure());
  return median(times);
}

double timeOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return Milliseconds(std::chrono::steady_clock::now() - start).count();
}

// The whole of pkexec, with the same dialog and a program that does nothing.
double pkexecAlone(const std::string& pkexec) {
  qm::linux_::ChildProgram child;
  int status = -1;
  const double time = timeOf([&] {
    child.start(pkexec, {"--disable-internal-agent", "/bin/true"}, {});
    status = child.wait();
  });
  EXPECT_EQ(status, 0);
  return time;
}

double opening() {
  Application application;
  const double time = timeOf([&] { EXPECT_EQ(application.open(), 0) << application.console.text(); });
  application.end();
  return time;
}

double openingWithCredentials() {
  Application application;
  const double time = timeOf([&] { EXPECT_EQ(application.open(kAnna), 0) << application.console.text(); });
  application.end();
  return time;
}

double bareSpawn() {
  pid_t child = -1;
  char path[] = "/bin/true";
  char* arguments[] = {path, nullptr};
  char* environment[] = {nullptr};
  const double time =
      timeOf([&] { EXPECT_EQ(::posix_spawn(&child, path, nullptr, nullptr, arguments, environment), 0); });
  ::waitpid(child, nullptr, 0);
  return time;
}

double launchOf(Application& application, const std::string& tool, const std::vector<std::string>& arguments) {
  const double time = timeOf([&] { EXPECT_EQ(application.start(tool, arguments), 0); });
  while (application.pipe->readCharacter() >= 0) {
  }
  return time;
}

// Alternating, so that other load on the machine affects all of them alike.
void measureOpening() {
  DesktopAgent agent({kAnna.password});
  std::vector<double> alone, dialog;
  for (int i = 0; i < kOpenings; ++i) {
    alone.push_back(pkexecAlone("/usr/bin/pkexec"));
    dialog.push_back(opening());
  }
  const double bare = median(alone);
  const double added = median(dialog) - bare;
  std::printf("pkexec alone               %8.2f ms\n", bare);
  std::printf("opening with a dialog      %8.2f ms, %+.2f ms (at most +50)\n", bare + added, added);
  EXPECT_LE(added, 50);
}

void measureCredentials() {
  std::vector<double> times;
  for (int i = 0; i < kOpenings; ++i) times.push_back(openingWithCredentials());
  std::printf("opening with credentials   %8.2f ms\n", median(times));
}

void measureLaunches() {
  Application application;
  ASSERT_EQ(application.open(kAnna), 0);
  const double bare = medianOf(kLaunches, bareSpawn);
  const double plain = medianOf(kLaunches, [&] { return launchOf(application, "/bin/true", {}); });
  const double pinned = medianOf(kLaunches, [&] {
    return launchOf(application, "/bin/rm", {"-Rdf", "/home/sam/missing"});
  });
  std::printf("posix_spawn                %8.3f ms\n", bare);
  std::printf("launch                     %8.3f ms, %+.3f ms (at most +2)\n", plain, plain - bare);
  std::printf("launch with a pinned path  %8.3f ms, %+.3f ms (at most +2)\n", pinned, pinned - bare);
  EXPECT_LE(plain - bare, 2);
  EXPECT_LE(pinned - bare, 2);
  application.end();
}

TEST(PrivilegesBench, StaysWithinItsLimits) {
  asAccount(kSam, [] {
    measureOpening();
    measureCredentials();
    measureLaunches();
    std::fflush(stdout);
  });
}

}  // namespace

int main(int count, char** arguments) { return runInThrowAwayMachine(count, arguments); }
