// SPDX-License-Identifier: MIT
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/Cases.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

/// Starts a program that writes a byte to its standard output at its first paint, and returns how long that took.
double untilFirstPaint(const std::string& program) {
  const std::string path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / program;
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  std::string name = program;
  char* const arguments[] = {name.data(), nullptr};
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (::posix_spawn(&child, path.c_str(), &actions, nullptr, arguments, environ) != 0) std::abort();
  ::close(ends[1]);
  char byte = 0;
  const bool painted = ::read(ends[0], &byte, 1) == 1;
  const auto end = std::chrono::steady_clock::now();
  ::close(ends[0]);
  ::kill(child, SIGTERM);
  ::waitpid(child, nullptr, 0);
  posix_spawn_file_actions_destroy(&actions);
  if (!painted) std::abort();
  return std::chrono::duration<double, std::milli>(end - start).count();
}

}  // namespace

void firstPaint() {
  compare({.name = "Start to first paint",
           .bar = 1.15,
           .ours = {"the main window", {}, {}, [] { return untilFirstPaint("bench_paint_ours"); }},
           .limit = {"a Qt window with one line of text", {}, {}, [] { return untilFirstPaint("bench_paint_line"); }},
           .peers = {},
           .rounds = 61});
}

}  // namespace qm::bench
