// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Clock.h"
#include "Platform/MainThread.h"
#include "Platform/Threads.h"
#include "Platform/posix/PosixFileOperations.h"
#include "Shared/FileOperationDelegate.h"
#include "Shared/QMFileManager.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr int kFilesInFolder = 1000;
constexpr off_t kBigFile = off_t{2} << 30U;

/// A main thread that serves its queue until it is told to stop.
class ServedMainThread final : public platform::MainThread {
 public:
  bool isMainThread() const override { return true; }
  void performAndWait(std::function<void()> work) override { work(); }
  void perform(std::function<void()> work) override {
    const std::scoped_lock lock(mutex_);
    queue_.push_back(std::move(work));
    queued_.notify_one();
  }
  bool handleOneEvent(std::chrono::milliseconds /*limit*/) override { return false; }

  void serveUntil(const bool& ended) {
    while (!ended) {
      std::unique_lock lock(mutex_);
      queued_.wait(lock, [this] { return !queue_.empty(); });
      const auto work = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      work();
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable queued_;
  std::deque<std::function<void()>> queue_;
};

class EndDelegate final : public FileOperationDelegate {
 public:
  bool ended = false;
  bool respondsToSelector(const std::string& /*selector*/) const override { return true; }
  void perform(const std::string& selector, const FileOperationDictionary& /*report*/,
               const platform::FileOperationRef& /*operation*/) override {
    ended = ended || selector == finishedWithOperation;
  }
};

ServedMainThread& mainThread() {
  static auto* thread = new ServedMainThread;
  return *thread;
}

/// The machine with a main thread that is served.
const platform::Platform& servedMachine() {
  static auto* service = new posix::PosixFileOperations(mainThread(), *machine().threads, *machine().clock);
  static auto* services = new platform::Platform(machine());
  services->mainThread = &mainThread();
  services->fileOperations = service;
  return *services;
}

void copyOurs(const std::string& source, const std::string& destination) {
  const auto delegate = std::make_shared<EndDelegate>();
  if (!QMFileManager::copyFileWithProgress(source, destination, delegate, nullptr)) std::abort();
  mainThread().serveUntil(delegate->ended);
  if (!QMFileManager::fileExistsAtPath(destination)) std::abort();
}

void copyBareFile(int fromFolder, const char* from, int toFolder, const char* to) {
  const int source = ::openat(fromFolder, from, O_RDONLY | O_CLOEXEC);
  struct stat attributes {};
  if (::fstat(source, &attributes) != 0) std::abort();
  const int copy = ::openat(toFolder, to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, attributes.st_mode & 0777);
  for (off_t left = attributes.st_size; left > 0;) {
    const ssize_t copied = ::copy_file_range(source, nullptr, copy, nullptr, static_cast<std::size_t>(left), 0);
    if (copied <= 0) std::abort();
    left -= copied;
  }
  ::close(source);
  ::close(copy);
}

void copyBareFolder(int fromFolder, const char* from, int toFolder, const char* to) {
  const int source = ::openat(fromFolder, from, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (::mkdirat(toFolder, to, 0755) != 0) std::abort();
  const int copy = ::openat(toFolder, to, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = ::fdopendir(source);
  while (const dirent* entry = ::readdir(listing)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    (entry->d_type == DT_DIR ? copyBareFolder : copyBareFile)(source, name.c_str(), copy, name.c_str());
  }
  ::closedir(listing);
  ::close(copy);
}

void copyWithTool(const std::string& source, const std::string& destination) {
  std::string tool = "cp";
  std::string option = "-a";
  std::string from = source;
  std::string to = destination;
  char* const arguments[] = {tool.data(), option.data(), from.data(), to.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawn(&child, "/bin/cp", nullptr, nullptr, arguments, environ) != 0) std::abort();
  int status = 0;
  if (::waitpid(child, &status, 0) != child || status != 0) std::abort();
}

std::string makeBigFile() {
  const std::string path = freshFolder("big") + "/file";
  std::vector<char> block(std::size_t{1} << 22U);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 31 + i / 4096);
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  for (off_t written = 0; written < kBigFile; written += static_cast<off_t>(block.size())) {
    if (::write(file, block.data(), block.size()) != static_cast<ssize_t>(block.size())) std::abort();
  }
  ::close(file);
  return path;
}

std::string makeTree(int files) {
  const std::string tree = freshFolder("tree") + "/tree";
  const std::string contents(4096, 'c');
  ::mkdir(tree.c_str(), 0755);
  for (int i = 0; i < files; ++i) {
    const std::string folder = tree + "/" + std::to_string(i / kFilesInFolder);
    if (i % kFilesInFolder == 0) ::mkdir(folder.c_str(), 0755);
    writeFile(folder + "/file" + std::to_string(i), contents);
  }
  return tree;
}

/// The item that each round copies, under a new name each time.
struct Work {
  std::string source;
  bool keepsCopies;  ///< removing many files would slow down what comes next
  std::string destination{};

  void prepare() {
    if (!keepsCopies && !destination.empty()) ::unlink(destination.c_str());
    destination = freshFolder("copy") + "/copy";
    ::sync();
  }
};

void compareCopies(const std::string& name, Work& work, decltype(copyBareFile)* bare, int rounds) {
  const auto prepare = [&work] { work.prepare(); };
  compare({.name = name,
           .bar = 1.1,
           .ours = {"copyFileWithProgress:", prepare, [&work] { copyOurs(work.source, work.destination); }, {}},
           .limit = {"copy_file_range",
                     prepare,
                     [&work, bare] { bare(AT_FDCWD, work.source.c_str(), AT_FDCWD, work.destination.c_str()); },
                     {}},
           .peers = {{"cp -a", prepare, [&work] { copyWithTool(work.source, work.destination); }, {}}},
           .rounds = rounds});
}

/// The peak memory, in KiB, of a child process while it copies.
long peakMemory(const std::string& source) {
  const std::string destination = freshFolder("copy") + "/copy";
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak
    copyOurs(source, destination);
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with("VmHWM:")) {
    }
    const long peak = std::atol(line.substr(6).c_str());
    ::_exit(::write(ends[1], &peak, sizeof peak) == sizeof peak ? 0 : 1);
  }
  long peak = 0;
  if (::read(ends[0], &peak, sizeof peak) != sizeof peak) std::abort();
  ::waitpid(child, nullptr, 0);
  ::close(ends[0]);
  ::close(ends[1]);
  return peak;
}

void compareMemory(const std::string& name, const std::string& tenth, const std::string& whole) {
  const long least = peakMemory(tenth);
  const long most = peakMemory(whole);
  const double ratio = static_cast<double>(most) / static_cast<double>(least);
  std::printf("Memory of copying %s\n  a tenth %8ld KiB\n  all     %8ld KiB   all / a tenth %.2f, at most 1.10: %s\n",
              name.c_str(), least, most, ratio, ratio <= 1.1 ? "holds" : "OVER");
  std::fflush(stdout);
}

}  // namespace

void copyMuch() {
  const auto* before = platform::install(&servedMachine());
  Work tree{makeTree(20'000), true};
  compareMemory("20000 files of 4 KiB", makeTree(2'000), tree.source);
  compareCopies("Copy 20000 files of 4 KiB", tree, copyBareFolder, 9);
  Work file{makeBigFile(), false};
  compareCopies("Copy a file of 2 GiB", file, copyBareFile, 5);
  platform::install(before);
}

}  // namespace qm::bench
