// SPDX-License-Identifier: MIT
#include "tests/privileges/PolkitTest.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include "tests/contract/system/WaitUntil.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

// The running processes, except polkit, which the message bus starts when it is needed.
std::string runningPrograms() {
  std::vector<std::string> names;
  std::error_code error;  // what has ended meanwhile
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const bool runs = !fs::read_symlink(entry.path() / "exe", error).empty();
    const std::string name = fileText(entry.path() / "comm");
    if (runs && entry.path().filename() != "self" && entry.path().filename() != "thread-self" && name != "polkitd\n") {
      names.push_back(name);
    }
  }
  std::ranges::sort(names);
  std::string all;
  for (const std::string& name : names) all += name;
  return all;
}

// Everything that was changed on the machine, and the contents of its volumes in memory.
dev_t volumeOf(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

/// The contents of the machine's own volumes. The visible parts of the real one may change meanwhile.
std::string files() {
  std::string all;
  for (const char* folder : {"/run/machine/changes", "/run", "/tmp", "/var/tmp", "/dev/shm", "/root"}) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; entry != end; entry.increment(error)) {
      const std::string path = entry->path();
      all += path + "\n";
      if (volumeOf(path) != volumeOf(folder)) entry.disable_recursion_pending();
    }
  }
  return all;
}

std::string traces() {
  std::string all = files();
  for (const char* file : {"/etc/passwd", "/etc/group", "/proc/self/mounts"}) all += fileText(file);
  // Password hashes must not be shown to anybody.
  return all + std::to_string(std::hash<std::string>()(fileText("/etc/shadow")));
}

}  // namespace

std::string fileText(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void AdministratorRights::SetUp() {
  programsBefore_ = runningPrograms();
  before_ = traces();
}

void AdministratorRights::TearDown() {
  EXPECT_TRUE(nobodyIsLeft());
  EXPECT_TRUE(waitUntil([&] { return runningPrograms() == programsBefore_; }));
  EXPECT_EQ(traces(), before_);
}

INSTANTIATE_TEST_SUITE_P(Of, AdministratorRights, ::testing::Values(kSam, kAnna),
                         [](const auto& person) { return std::string(person.param.name); });

}  // namespace qm::testing

int main(int count, char** arguments) { return qm::testing::runInThrowAwayMachine(count, arguments); }
