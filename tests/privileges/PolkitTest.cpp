#include "tests/privileges/PolkitTest.h"

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

// What runs, but for polkit, which the message bus starts when it is needed.
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

// All that was changed on the machine, and what is on its volumes in memory.
std::string files() {
  std::string all;
  for (const char* folder : {"/run/machine/changes", "/run", "/tmp", "/var/tmp", "/dev/shm", "/root"}) {
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
      const std::string path = entry.path();
      if (!path.starts_with("/run/machine/changes") || std::string_view(folder) != "/run") all += path + "\n";
    }
  }
  return all;
}

std::string traces() {
  std::string all = files();
  for (const char* file : {"/etc/passwd", "/etc/group", "/proc/self/mounts"}) all += fileText(file);
  // What passwords were made into is not for anybody's eyes.
  return all + std::to_string(std::hash<std::string>()(fileText("/etc/shadow")));
}

class Machine : public ::testing::Environment {
 public:
  explicit Machine(std::string policyFile) : policyFile_(std::move(policyFile)) {}
  void SetUp() override { takeMachineIntoUse(policyFile_); }

 private:
  std::string policyFile_;
};

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

int main(int count, char** arguments) {
  ::testing::InitGoogleTest(&count, arguments);
  if (count != 2) return 2;
  ::testing::AddGlobalTestEnvironment(new qm::testing::Machine(arguments[1]));
  return RUN_ALL_TESTS();
}
