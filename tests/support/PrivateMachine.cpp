// SPDX-License-Identifier: MIT
#include "tests/support/PrivateMachine.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "tests/support/LeakCheck.h"
#include "tests/support/SubordinateIds.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

std::string systemText(const std::string& what) { return what + ": " + std::strerror(errno); }

/// The exit status of a child whose test cannot be run here. The reason has been reported already.
constexpr int kSkipped = 77;

/// Ends the running test, or the part of it that a child runs, as one that cannot be run here.
[[noreturn]] void leaveSkippedTest() {
  throw ::testing::AssertionException({::testing::TestPartResult::kSkip, __FILE__, __LINE__, ""});
}

[[noreturn]] void skipTest(const char* file, int line, const std::string& why) {
  GTEST_MESSAGE_AT_(file, line, why.c_str(), ::testing::TestPartResult::kSkip);
  leaveSkippedTest();
}

[[noreturn]] void skipWithoutMachine(const std::string& why) {
  skipTest(__FILE__, __LINE__, "No private machine can be made here: " + why);
}

/// Sends the failures of a child, and why it is skipped, to the process that runs the test: the type, file, line and
/// message, each ended by a NUL byte.
class FailureSender : public ::testing::EmptyTestEventListener {
 public:
  explicit FailureSender(UniqueFd pipe) : pipe_(std::move(pipe)) {}

  void OnTestPartResult(const ::testing::TestPartResult& result) override {
    if (!result.failed() && !result.skipped()) return;
    status_ = result.failed() ? 1 : kSkipped;
    std::string record = result.failed() ? "failed" : "skipped";
    record += '\0';
    record += result.file_name() != nullptr ? result.file_name() : "unknown file";
    record += '\0' + std::to_string(result.line_number()) + '\0' + result.message() + '\0';
    send(record);
  }

  /// The exit status of this process.
  int status() const { return status_; }

 private:
  void send(std::string_view record) {
    while (!record.empty()) {
      const ssize_t written = ::write(pipe_.get(), record.data(), record.size());
      if (written < 0 && errno != EINTR) return;
      if (written > 0) record.remove_prefix(static_cast<std::size_t>(written));
    }
  }

  UniqueFd pipe_;
  int status_ = 0;
};

/// Null in the process that runs the test. A child of a child writes to the same pipe.
FailureSender* failureSender = nullptr;

void becomeSender(UniqueFd pipe) {
  auto& listeners = ::testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());
  delete listeners.Release(listeners.default_xml_generator());
  failureSender = new FailureSender(std::move(pipe));  // owned by the list
  listeners.Append(failureSender);
}

void runBody(const std::function<void()>& body) {
  try {
    body();
  } catch (const ::testing::AssertionException&) {  // reported already
  } catch (const std::exception& exception) {
    ADD_FAILURE() << "the child's body threw: " << exception.what();
  }
}

std::string readLink(const char* path) {
  char target[64] = {};
  const ssize_t length = ::readlink(path, target, sizeof target - 1);
  return {target, static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

/// A leak check examines this process from a child of its own, which must be able to see it and to list its threads.
bool isSeenByItsChildren() {
  const UniqueFd threads(::open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return threads && readLink("/proc/self") == std::to_string(::getpid()) &&
         readLink("/proc/self/ns/pid") == readLink("/proc/self/ns/pid_for_children");
}

/// Those of a sanitizer count too.
bool hasOtherThreads() {
  std::error_code error;
  const std::filesystem::directory_iterator threads("/proc/self/task", error);
  return std::distance(begin(threads), end(threads)) > 1;
}

[[noreturn]] void childMain(UniqueFd pipe, const std::function<void()>& body) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (failureSender == nullptr) becomeSender(std::move(pipe));
  runBody(body);
  if (!isSeenByItsChildren()) skipLeakCheck();
  std::exit(failureSender->status());
}

std::string readToEnd(int fd) {
  std::string all;
  char block[4096];
  for (;;) {
    const ssize_t got = ::read(fd, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return all;
    all.append(block, static_cast<std::size_t>(got));
  }
}

std::vector<std::string> splitAtNuls(const std::string& text) {
  std::vector<std::string> parts;
  for (std::size_t start = 0, end = 0; (end = text.find('\0', start)) != std::string::npos; start = end + 1) {
    parts.push_back(text.substr(start, end - start));
  }
  return parts;
}

/// The test that is skipped ends here.
void repeatResults(const std::string& records) {
  const auto parts = splitAtNuls(records);
  for (std::size_t i = 0; i + 3 < parts.size(); i += 4) {
    const char* file = parts[i + 1].c_str();
    const int line = std::stoi(parts[i + 2]);
    if (parts[i] == "skipped") skipTest(file, line, parts[i + 3]);
    ADD_FAILURE_AT(file, line) << parts[i + 3];
  }
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// An exit status that the child's own failures do not explain is a failure as well.
bool judge(int status, bool reported) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return !reported;
  if (failureSender != nullptr && WIFEXITED(status) && WEXITSTATUS(status) == kSkipped) leaveSkippedTest();
  const bool explained = WIFEXITED(status) && WEXITSTATUS(status) == 1;
  if (WIFSIGNALED(status)) {
    ADD_FAILURE() << "the child was ended by signal " << WTERMSIG(status);
  } else if (!explained || (failureSender == nullptr && !reported)) {
    ADD_FAILURE() << "the child ended with status " << WEXITSTATUS(status);
  }
  return false;
}

bool makePipe(UniqueFd& reading, UniqueFd& writing) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  reading.reset(ends[0]);
  writing.reset(ends[1]);
  return true;
}

/// `beforeWaiting` runs in the parent while the child is running.
bool runChild(const std::function<void()>& body, const std::function<void(pid_t)>& beforeWaiting) {
  UniqueFd reading;
  UniqueFd writing;
  if (!makePipe(reading, writing)) {
    ADD_FAILURE() << systemText("pipe");
    return false;
  }
  static_cast<void>(std::fflush(nullptr));
  // The memory of threads is copied, they themselves are not: what they use would be taken for leaks.
  const bool leavesThreads = hasOtherThreads();
  const pid_t child = ::fork();
  if (child == 0) {
    if (leavesThreads) skipLeakCheck();
    reading.reset();
    childMain(std::move(writing), body);
  }
  writing.reset();
  if (child < 0) {
    ADD_FAILURE() << systemText("fork");
    return false;
  }
  if (beforeWaiting) beforeWaiting(child);
  const std::string records = readToEnd(reading.get());
  const int status = waitFor(child);
  repeatResults(records);
  return judge(status, !records.empty());
}

void makeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) FAIL() << systemText("mkdir " + path);
}

std::string& scratchFolder() {
  static std::string folder;
  return folder;
}

/// An empty folder outside, on which the machine's tmpfs is mounted.
class MountPoint {
 public:
  MountPoint() {
    char pattern[] = "/tmp/private-machine-XXXXXX";
    if (::mkdtemp(pattern) != nullptr) path_ = pattern;
  }
  ~MountPoint() {
    if (!path_.empty()) ::rmdir(path_.c_str());
  }
  MountPoint(const MountPoint&) = delete;
  MountPoint& operator=(const MountPoint&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void enterMachine(const std::string& folder) {
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) skipWithoutMachine(systemText("mount"));
  mountTmpfs(folder, "mode=0755");
  scratchFolder() = folder;
  ASSERT_EQ(::chdir("/"), 0);
}

/// The child's side of a machine for a user who may not mount: its parent maps its ids, with the setuid programs for
/// that, as soon as the namespace exists.
class NamespaceForUser {
 public:
  NamespaceForUser() : usable_(makePipe(madeReading_, madeWriting_) && makePipe(mappedReading_, mappedWriting_)) {}

  void enter() {
    ASSERT_TRUE(usable_) << systemText("pipe");
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) skipWithoutMachine(systemText("unshare"));
    ASSERT_EQ(::write(madeWriting_.get(), "m", 1), 1);
    char answer = 0;
    ASSERT_EQ(::read(mappedReading_.get(), &answer, 1), 1);
    if (answer != 'y') skipWithoutMachine("there are no ids for other users (newuidmap, /etc/subuid and /etc/subgid)");
    ASSERT_EQ(::setresgid(0, 0, 0), 0) << systemText("setresgid");
    ASSERT_EQ(::setresuid(0, 0, 0), 0) << systemText("setresuid");
    for (UniqueFd* end : {&madeReading_, &madeWriting_, &mappedReading_, &mappedWriting_}) end->reset();
  }

  void mapIdsOf(pid_t child) {
    madeWriting_.reset();
    mappedReading_.reset();
    char made = 0;
    if (::read(madeReading_.get(), &made, 1) != 1) return;
    const char answer = mapIds(child) ? 'y' : 'n';
    EXPECT_EQ(::write(mappedWriting_.get(), &answer, 1), 1);
  }

 private:
  UniqueFd madeReading_;
  UniqueFd madeWriting_;
  UniqueFd mappedReading_;
  UniqueFd mappedWriting_;
  bool usable_;
};

/// Root in a container may have fewer rights than root usually has.
bool mayMount() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
  if (::syscall(SYS_capget, &header, data) != 0) return false;
  return (data[CAP_TO_INDEX(CAP_SYS_ADMIN)].effective & CAP_TO_MASK(CAP_SYS_ADMIN)) != 0;
}

bool runAsRoot(const std::string& folder, const std::function<void()>& body) {
  return runChild(
      [&] {
        if (::unshare(CLONE_NEWNS) != 0) skipWithoutMachine(systemText("unshare"));
        ASSERT_NO_FATAL_FAILURE(enterMachine(folder));
        body();
      },
      nullptr);
}

bool runInUserNamespace(const std::string& folder, const std::function<void()>& body) {
  NamespaceForUser space;
  return runChild(
      [&] {
        ASSERT_NO_FATAL_FAILURE(space.enter());
        ASSERT_NO_FATAL_FAILURE(enterMachine(folder));
        body();
      },
      [&](pid_t child) { space.mapIdsOf(child); });
}

void dropRights(uid_t user, gid_t group) {
  ASSERT_EQ(::setgroups(0, nullptr), 0) << systemText("setgroups");
  ASSERT_EQ(::setresgid(group, group, group), 0) << systemText("setresgid");
  ASSERT_EQ(::setresuid(user, user, user), 0) << systemText("setresuid");
  // As in a program that this user started: it can read its own entries in /proc.
  ::prctl(PR_SET_DUMPABLE, 1);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

}  // namespace

bool runInPrivateMachine(const std::function<void()>& body) {
  const MountPoint point;
  if (point.path().empty()) {
    ADD_FAILURE() << systemText("mkdtemp");
    return false;
  }
  return mayMount() ? runAsRoot(point.path(), body) : runInUserNamespace(point.path(), body);
}

void needRootsOwnSystem() {
  struct stat root {};
  if (::stat("/usr/bin", &root) != 0 || root.st_uid != 0) skipWithoutMachine("the system's files are another root's");
}

const std::string& machineFolder() { return scratchFolder(); }

bool asUser(uid_t user, gid_t group, const std::function<void()>& body) {
  return runChild(
      [&] {
        ASSERT_NO_FATAL_FAILURE(dropRights(user, group));
        body();
      },
      nullptr);
}

bool inChild(const std::function<void()>& body) { return runChild(body, nullptr); }

void mountTmpfs(const std::string& path, const std::string& options) {
  ASSERT_NO_FATAL_FAILURE(makeFolder(path));
  ASSERT_EQ(::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()), 0)
      << systemText("mounting a tmpfs on " + path);
}

void bindMount(const std::string& folder, const std::string& path, Writable writable) {
  ASSERT_NO_FATAL_FAILURE(makeFolder(path));
  ASSERT_EQ(::mount(folder.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0) << systemText("binding " + path);
  if (writable == Writable::No) makeReadOnly(path);
}

void makeReadOnly(const std::string& path) {
  ASSERT_EQ(::mount(nullptr, path.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY | MS_NOSUID | MS_NODEV, nullptr),
            0)
      << systemText("making " + path + " read-only");
}

}  // namespace qm::testing
