// SPDX-License-Identifier: MIT
#include "tests/privileges/LaunchMachine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/FolderRemoval.h"
#include "Platform/linux/privileges/helper/LaunchRun.h"
#include "Uninstaller/Product.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

void give(const std::string& path, uid_t owner) { ASSERT_EQ(::lchown(path.c_str(), owner, owner), 0) << path; }

std::string readToEnd(int fd) {
  std::string all;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(fd, block, sizeof block)) > 0;) all.append(block, static_cast<std::size_t>(got));
  return all;
}

// Only the removal, whatever the folder's path is.
class FolderRemovalAlone : public linux_::HelperPolicy {
 public:
  using HelperPolicy::HelperPolicy;

  linux_::PreparedWork prepare(const linux_::Launch& launch, const linux_::UserRecord&) const override {
    return linux_::prepareFolderRemoval(launch.arguments.back());
  }
};

struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    reading.reset(ends[0]);
    writing.reset(ends[1]);
  }
  UniqueFd reading;
  UniqueFd writing;
};

void note(Outcome& outcome, const linux_::Message& message) {
  if (const auto* started = std::get_if<linux_::Started>(&message)) {
    outcome.error = started->error;
    outcome.reason = started->reason;
  } else if (const auto* exited = std::get_if<linux_::Exited>(&message)) {
    outcome.waitStatus = exited->waitStatus;
    outcome.note = exited->note;
  }
}

}  // namespace

linux_::UserRecord person() { return {kPerson, kPerson, "sam", machineFolder() + "/home"}; }

Outcome launch(const std::string& tool, const std::vector<std::string>& arguments) {
  needRootsOwnSystem();
  return launch(linux_::AnyToolPolicy(kProduct), tool, arguments);
}

// In a process of its own, like the helper's launches: a confinement is permanent.
Outcome launch(const linux_::HelperPolicy& policy, const std::string& tool, const std::vector<std::string>& arguments) {
  Pipe output;
  Pipe messages;
  const pid_t child = ::fork();
  if (child == 0) {
    output.reading.reset();
    linux_::runLaunch(policy, {1, tool, arguments}, person(), std::move(output.writing), [&](const auto& message) {
      const std::string bytes = linux_::encoded(message).value_or("");
      static_cast<void>(!::write(messages.writing.get(), bytes.data(), bytes.size()));
    });
    ::_exit(0);
  }
  output.writing.reset();
  messages.writing.reset();
  Outcome outcome;
  std::thread reader([&] { outcome.output = readToEnd(output.reading.get()); });
  linux_::MessageReader parts;
  parts.append(readToEnd(messages.reading.get()));
  while (const auto message = parts.next()) note(outcome, *message);
  reader.join();
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
  return outcome;
}

Outcome launchHere(const std::string& tool, const std::vector<std::string>& arguments) {
  return launchHere(linux_::AnyToolPolicy(kProduct), tool, arguments);
}

Outcome launchHere(const linux_::HelperPolicy& policy, const std::string& tool,
                   const std::vector<std::string>& arguments) {
  Outcome outcome;
  linux_::runLaunch(policy, {1, tool, arguments}, person(), UniqueFd(),
                    [&](const linux_::Message& message) { note(outcome, message); });
  return outcome;
}

Outcome removeIfHollowHere(const std::string& folder) {
  return launchHere(FolderRemovalAlone(kProduct), "/bin/rm", {"-Rdf", folder});
}

Outcome removeIfHollow(const std::string& folder) {
  return launch(FolderRemovalAlone(kProduct), "/bin/rm", {"-Rdf", folder});
}

void makeFolder(const std::string& path, uid_t owner, mode_t mode) {
  ASSERT_EQ(::mkdir(path.c_str(), 0700), 0) << path;
  give(path, owner);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

void makeFile(const std::string& path, const std::string& contents, uid_t owner, mode_t mode) {
  std::ofstream(path) << contents;
  give(path, owner);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

void makeLink(const std::string& path, const std::string& target, uid_t owner) {
  ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0) << path;
  give(path, owner);
}

bool exists(const std::string& path) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0;
}

bool isLink(const std::string& path) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode);
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

uid_t ownerOf(const std::string& path) {
  struct stat found {};
  EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
  return found.st_uid;
}

mode_t modeOf(const std::string& path) {
  struct stat found {};
  EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
  return found.st_mode & 07777U;
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::ranges::sort(names);
  return names;
}

}  // namespace qm::testing
