// SPDX-License-Identifier: MIT
#include "tests/contract/desktop/DesktopMachine.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/contract/system/RealTasks.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

bool keepsAttributes(const std::string& folder) {
  return ::setxattr(folder.c_str(), "user.test", "x", 1, 0) == 0 && ::removexattr(folder.c_str(), "user.test") == 0;
}

/// A folder that is removed at the end of its scope.
struct PassingFolder {
  std::string path;
  ~PassingFolder() {
    if (!path.empty()) fs::remove_all(path);
  }
};

/// The machine's own volume supports extended attributes only since Linux 6.6; the system's does.
std::string makeHome(PassingFolder& passing) {
  std::string home = machineFolder() + "/home";
  fs::create_directory(home);
  if (!keepsAttributes(home)) {
    char name[] = "/var/tmp/desktop-test-XXXXXX";
    passing.path = ::mkdtemp(name);
    home = passing.path;
    EXPECT_TRUE(keepsAttributes(home)) << home;
  }
  EXPECT_EQ(::chmod(home.c_str(), 0755), 0);
  EXPECT_EQ(::chown(home.c_str(), kPerson, kPerson), 0);
  return home;
}

void inMachine(const std::function<void(const std::string&)>& body) {
  runInPrivateMachine([&] {
    for (const char* name : {"XDG_DATA_HOME", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS"}) ::unsetenv(name);
    ::umask(022);
    PassingFolder passing;
    const std::string home = makeHome(passing);
    body(home);
  });
}

}  // namespace

void asPerson(const std::function<void(const std::string&)>& body) {
  inMachine([&](const std::string& home) { asUser(kPerson, kPerson, [&] { body(home); }); });
}

void asRootForPerson(const std::function<void(const std::string&)>& body) {
  inMachine([&](const std::string& home) {
    const std::string accounts = machineFolder() + "/passwd";
    writeText(accounts, "root:x:0:0::/root:/bin/sh\nu:x:1000:1000::" + home + ":/bin/sh\n");
    ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
    mountTmpfs("/run");  // the real one may belong to another root
    fs::create_directories("/run/user/1000");
    ASSERT_EQ(::chown("/run/user/1000", kPerson, kPerson), 0);
    body(home);
  });
}

void writeText(const std::string& path, const std::string& text, unsigned mode) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  ASSERT_TRUE(file.flush()) << path;
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

std::string textAt(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (!fs::is_directory(folder)) return names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

Ran run(const std::vector<std::string>& command) {
  RealTasks real;
  const auto task = real.tasks.makeTask();
  // One stream for both, so that neither blocks the other.
  std::vector<std::string> arguments = {"-c", "exec \"$@\" 2>&1", "sh"};
  arguments.insert(arguments.end(), command.begin(), command.end());
  task->setLaunchPath("/bin/sh");
  task->setArguments(arguments);
  task->setStandardInput(platform::TaskStream::NullDevice);
  task->setStandardOutput(platform::TaskStream::Pipe);
  EXPECT_TRUE(task->launch().ok()) << command.front();
  Ran ran;
  const auto reader = task->standardOutputReader();
  for (std::string piece; !(piece = reader->availableData()).empty();) ran.output += piece;
  task->waitUntilExit();
  ran.succeeded = task->terminationStatus() == 0;
  return ran;
}

void makeBundle(const std::string& path, const std::string& keys, const std::string& executable) {
  writeText(path + "/Contents/Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + keys + "</dict></plist>\n");
  writeText(path + "/Contents/MacOS/" + executable, "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >> \"$OUT\"\n", 0755);
}

std::string key(const std::string& name, const std::string& value) {
  return "<key>" + name + "</key><string>" + value + "</string>";
}

}  // namespace qm::testing
