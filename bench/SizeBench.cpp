// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr int kFilesInEach = 100;
constexpr int kSide = 200;

void makeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0755) != 0) std::abort();
}

/// Folders of 100 files, 100 of them in a folder.
std::string makeFiles(int count) {
  const std::string top = freshFolder("size");
  for (int i = 0; i < count; ++i) {
    const std::string outer = top + "/outer " + std::to_string(i / (kFilesInEach * 100));
    const std::string inner = outer + "/inner " + std::to_string(i / kFilesInEach);
    if (i % (kFilesInEach * 100) == 0) makeFolder(outer);
    if (i % kFilesInEach == 0) makeFolder(inner);
    const int file = ::open((inner + "/file " + std::to_string(i)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0 || ::write(file, "contents", 8) != 8) std::abort();
    ::close(file);
  }
  return top;
}

/// Nested folders, each with the file that is searched for.
std::string makeGrid(int side) {
  const std::string top = freshFolder("grid");
  for (int i = 0; i < side; ++i) {
    const std::string outer = top + "/outer " + std::to_string(i);
    makeFolder(outer);
    for (int j = 0; j < kSide; ++j) {
      const std::string inner = outer + "/inner " + std::to_string(j);
      makeFolder(inner);
      writeFile(inner + "/match.conf", "");
    }
  }
  return top;
}

/// A folder with the bare calls.
struct RawFolder {
  RawFolder(int parent, const char* name) : descriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor < 0) std::abort();
  }
  RawFolder(const RawFolder&) = delete;
  RawFolder& operator=(const RawFolder&) = delete;
  ~RawFolder() { ::close(descriptor); }

  template <class Take>
  void forEach(Take take) const {
    alignas(dirent64) char block[32768];
    for (;;) {
      const long got = ::syscall(SYS_getdents64, descriptor, block, sizeof block);
      if (got <= 0) return;
      for (long at = 0; at < got;) {
        const auto* entry = reinterpret_cast<const dirent64*>(block + at);
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) take(*entry);
        at += entry->d_reclen;
      }
    }
  }

  int descriptor;
};

std::uint64_t bareSize(int parent, const char* name) {
  const RawFolder folder(parent, name);
  std::uint64_t sum = 0;
  folder.forEach([&](const dirent64& entry) {
    if (entry.d_type == DT_DIR) {
      sum += bareSize(folder.descriptor, entry.d_name);
      return;
    }
    struct statx found {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (::statx(folder.descriptor, entry.d_name, flags, STATX_TYPE | STATX_SIZE, &found) == 0) sum += found.stx_size;
  });
  return sum;
}

std::size_t bareMatches(const std::string& top) {
  std::vector<std::string> found;
  const RawFolder base(AT_FDCWD, top.c_str());
  base.forEach([&](const dirent64& outer) {
    const RawFolder folder(base.descriptor, outer.d_name);
    folder.forEach([&](const dirent64& inner) {
      const RawFolder last(folder.descriptor, inner.d_name);
      if (::faccessat(last.descriptor, "match.conf", F_OK, 0) != 0) return;
      found.push_back(top + "/" + outer.d_name + "/" + inner.d_name + "/match.conf");
    });
  });
  return found.size();
}

/// The same without opening the folders that are not listed.
std::size_t barestMatches(const std::string& top) {
  std::vector<std::string> found;
  const RawFolder base(AT_FDCWD, top.c_str());
  base.forEach([&](const dirent64& outer) {
    const RawFolder folder(base.descriptor, outer.d_name);
    folder.forEach([&](const dirent64& inner) {
      const std::string name = std::string(inner.d_name) + "/match.conf";
      if (::faccessat(folder.descriptor, name.c_str(), F_OK, 0) != 0) return;
      found.push_back(top + "/" + outer.d_name + "/" + name);
    });
  });
  return found.size();
}

std::size_t globMatches(const std::string& top) {
  glob_t found{};
  ::glob((top + "/*/*/match.conf").c_str(), 0, nullptr, &found);
  const std::size_t count = found.gl_pathc;
  ::globfree(&found);
  return count;
}

void runTool(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const auto& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  if (::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) std::abort();
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (status != 0) std::abort();
}

void expectCount(std::uint64_t found, std::uint64_t wanted) {
  if (found != wanted) {
    std::fprintf(stderr, "bench: %llu instead of %llu\n", static_cast<unsigned long long>(found),
                 static_cast<unsigned long long>(wanted));
    std::abort();
  }
}

/// How much the peak memory of the process grows while `work` is running, in KiB. In a child, where no freed memory can
/// be reused.
long memoryOf(const std::function<void()>& work) {
  int pipe[2];
  if (::pipe(pipe) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    const auto highest = [] {
      std::ifstream status("/proc/self/status");
      for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) return std::strtol(line.c_str() + 6, nullptr, 10);
      }
      return 0L;
    };
    std::ofstream("/proc/self/clear_refs") << "5";
    const long before = highest();
    work();
    const long grown = highest() - before;
    static_cast<void>(!::write(pipe[1], &grown, sizeof grown));
    ::_exit(0);
  }
  long grown = 0;
  if (::read(pipe[0], &grown, sizeof grown) != sizeof grown) std::abort();
  ::close(pipe[0]);
  ::close(pipe[1]);
  ::waitpid(child, nullptr, 0);
  return grown;
}

}  // namespace

void sizeMany() {
  constexpr std::uint64_t kFiles = 100000;
  const std::string top = makeFiles(kFiles);
  compare({.name = "Size of 100,000 files",
           .bar = 1.15,
           .ours = {"fileSize:", {}, [&] { expectCount(QMFileManager::fileSize(top), kFiles * 8); }, {}},
           .limit = {"getdents64 and statx", {}, [&] { expectCount(bareSize(AT_FDCWD, top.c_str()), kFiles * 8); }, {}},
           .peers = {{"du -sb",
                      {},
                      [&] {
                        runTool({"/usr/bin/du", "-sb", top});
                      },
                      {}}},
           .rounds = 11});
  const std::string fewer = makeFiles(kFiles / 10);
  const long little = memoryOf([&] { QMFileManager::fileSize(fewer); });
  const long much = memoryOf([&] { QMFileManager::fileSize(top); });
  std::printf("  memory for 10,000 files %ld KiB, for 100,000 %ld KiB\n", little, much);
}

void matchMany() {
  constexpr std::size_t kMatches = std::size_t{kSide} * kSide;
  const std::string top = makeGrid(kSide);
  const auto ours = [&] {
    expectCount(QMFileManager::filesMatchingWildcardPath("*/*/match.conf", top).size(), kMatches);
  };
  const Contender glob = {"glob", {}, [&] { expectCount(globMatches(top), kMatches); }, {}};
  compare(
      {.name = "Find */*/match.conf in 200 x 200 folders",
       .bar = 1.15,
       .ours = {"filesMatchingWildcardPath:fromBasePath:", {}, ours, {}},
       .limit = {"openat of each folder", {}, [&] { expectCount(bareMatches(top), kMatches); }, {}},
       .peers = {glob,
                 {"a search that opens no inner folder", {}, [&] { expectCount(barestMatches(top), kMatches); }, {}}},
       .rounds = 11});
  const std::string fewer = makeGrid(kSide / 10);
  const auto nothing = [](const std::string& base) {
    expectCount(QMFileManager::filesMatchingWildcardPath("*/*/none", base).size(), 0);
  };
  const long little = memoryOf([&] { nothing(fewer); });
  const long much = memoryOf([&] { nothing(top); });
  std::printf("  memory beside the matches in 20 x 200 folders %ld KiB, in 200 x 200 %ld KiB\n", little, much);
}

}  // namespace qm::bench
