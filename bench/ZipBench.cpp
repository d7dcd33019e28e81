#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Platform/SystemInformation.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr std::size_t kMebibyte = 1048576;

/// Data that shrinks to about a half: each line is half chance, half not.
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

/// Runs a program to its end; the largest part of its memory that was ever in use, in KiB.
long run(std::vector<std::string> command) {
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  if (::posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0) std::abort();
  if (::wait4(child, &status, 0, &usage) != child || status != 0) std::abort();
  return usage.ru_maxrss;
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
