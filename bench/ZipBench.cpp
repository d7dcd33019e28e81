// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/SystemInformation.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr std::size_t kMebibyte = 1048576;

/// Data that compresses to about a half: each line is half random, half not.
std::string halfCompressible() {
  std::string block(kMebibyte, ' ');
  std::uint64_t state = 88172645463325252U;
  for (std::size_t i = 0; i < block.size(); ++i) {
    state ^= state << 13U, state ^= state >> 7U, state ^= state << 17U;
    block[i] = i % 64 < 32 ? static_cast<char>(state) : static_cast<char>('a' + i % 26);
  }
  return block;
}

void makeLargeFile(const std::string& path, std::size_t mebibytes) {
  const std::string block = halfCompressible();
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  for (std::size_t i = 0; i < mebibytes; ++i) {
    if (::write(file, block.data(), block.size()) != static_cast<ssize_t>(block.size())) std::abort();
  }
  ::close(file);
}

/// The peak resident memory of a running program so far, in KiB; 0 once it has ended. (The number for ended children
/// includes the memory of their parent.)
long peakMemory(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::atol(line.c_str() + line.find(':') + 1);
  }
  return 0;
}

/// Runs a program to its end and returns its memory as above.
long run(std::vector<std::string> command) {
  constexpr std::chrono::milliseconds pause(5);
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (::posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0) std::abort();
  long peak = 0;
  int status = 0;
  pid_t ended = 0;
  while ((ended = ::waitpid(child, &status, WNOHANG)) == 0) {
    peak = std::max(peak, peakMemory(child));
    std::this_thread::sleep_for(pause);
  }
  if (ended != child || status != 0) std::abort();
  return peak;
}

long pack(const std::string& folder) {
  return run({platform::platform().systemInformation->zipToolPath(), "-ck", folder, folder + ".zip"});
}

long unpack(const std::string& folder) {
  return run({platform::platform().systemInformation->zipToolPath(), "-xk", folder + ".zip", freshFolder("unpacked")});
}

std::string folderWithLargeFile(std::size_t mebibytes) {
  std::string folder = freshFolder("packed");
  makeLargeFile(folder + "/large", mebibytes);
  return folder;
}

void compareMemory(const std::string& small, const std::string& large) {
  for (const auto& [name, measure] : {std::pair("making", &pack), std::pair("unpacking", &unpack)}) {
    const long before = measure(small);
    const long after = measure(large);
    // Pages of shared libraries come and go.
    std::printf("  memory while %s: %ld KiB for 100 MiB, %ld KiB for 1 GiB: %s\n", name, before, after,
                after <= before + 1024 ? "flat" : "GROWS");
  }
}

}  // namespace

void zipMuch() {
  const std::string small = folderWithLargeFile(100);
  const std::string large = folderWithLargeFile(1024);
  const std::string peers = large + ".peer.zip";
  compare({.name = "Zip 1 GiB",
           .bar = 1.1,
           .ours = {"tessaly-ditto", {}, [&] { pack(large); }, {}},
           .limit = {"bsdtar",
                     {},
                     [&] {
                       run({"bsdtar", "--format", "zip", "-cf", peers, "-C", large, "large"});
                     },
                     {}},
           .peers = {},
           .rounds = 3});
  compareMemory(small, large);
}

}  // namespace qm::bench
