// SPDX-License-Identifier: MIT
#include "tests/contract/trash/RealTrashWorld.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Uninstaller/Product.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr const char* kAccounts =
    "root:x:0:0::/root:/bin/sh\n"
    "u:x:501:501::/home/u:/bin/sh\n"
    "stranger:x:502:502::/home/stranger:/bin/sh\n"
    "homeless:x:503:503::/home/homeless:/bin/sh\n";

std::string reason(const std::string& what) { return what + ": " + std::strerror(errno); }

void makeRootFolder(const std::string& path, mode_t mode) {
  ASSERT_EQ(::mkdir(path.c_str(), mode), 0) << reason(path);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << reason(path);
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  ASSERT_TRUE(file.flush()) << reason(path);
}

// The private machine's own folder becomes "/": it contains only the case's accounts.
void buildRoot(const std::string& root) {
  for (const char* folder : {"/etc", "/home", "/proc", "/root", "/volumes"}) makeRootFolder(root + folder, 0755);
  makeRootFolder(root + "/tmp", 01777);
  writeText(root + "/etc/passwd", kAccounts);
  writeText(root + "/etc/group", "root:x:0:\nu:x:501:\nstranger:x:502:\n");
  writeText(root + "/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
  ASSERT_EQ(::mount("/proc", (root + "/proc").c_str(), nullptr, MS_BIND | MS_REC, nullptr), 0) << reason("proc");
  ASSERT_EQ(::chroot(root.c_str()), 0) << reason("chroot");
  ASSERT_EQ(::chdir("/"), 0);
}

// The whole process acts with an ordinary user's effective rights.
class EffectiveUser {
 public:
  EffectiveUser(uid_t user, bool wanted) : active_(wanted) {
    if (!active_) return;
    EXPECT_EQ(::setgroups(1, &user), 0) << reason("setgroups");
    EXPECT_EQ(::setegid(user), 0) << reason("setegid");
    EXPECT_EQ(::seteuid(user), 0) << reason("seteuid");
    ::prctl(PR_SET_DUMPABLE, 1);
  }
  EffectiveUser(const EffectiveUser&) = delete;
  EffectiveUser& operator=(const EffectiveUser&) = delete;
  ~EffectiveUser() {
    if (!active_) return;
    EXPECT_EQ(::seteuid(0), 0);
    EXPECT_EQ(::setegid(0), 0);
    EXPECT_EQ(::setgroups(0, nullptr), 0);
    ::prctl(PR_SET_DUMPABLE, 1);
  }

 private:
  bool active_;
};

struct stat statusOf(const std::string& path) {
  struct stat found {};
  EXPECT_EQ(::lstat(path.c_str(), &found), 0) << reason(path);
  return found;
}

}  // namespace

void RealTrashWorld::play(const std::function<void(RealTrashWorld&)>& body) {
  runInPrivateMachine([&] {
    ::umask(022);
    ::unsetenv("XDG_DATA_HOME");
    ASSERT_NO_FATAL_FAILURE(buildRoot(machineFolder()));
    RealTrashWorld world;
    world.makeFolder(kHome);
    body(world);
  });
}

RealTrashWorld::RealTrashWorld()
    : trash_(std::make_unique<linux_::FreedesktopTrash>(users_, clock_, kProduct.workFolderPrefix)) {}

void RealTrashWorld::makeFolder(const std::string& path) {
  ASSERT_EQ(::mkdir(path.c_str(), 0755), 0) << reason(path);
  giveTo(kUser, path);
}

void RealTrashWorld::makeFile(const std::string& path, const std::string& contents) {
  ASSERT_NO_FATAL_FAILURE(writeText(path, contents));
  giveTo(kUser, path);
}

void RealTrashWorld::makeLink(const std::string& path, const std::string& target) {
  ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0) << reason(path);
  giveTo(kUser, path);
}

void RealTrashWorld::removeFile(const std::string& path) { ASSERT_EQ(::unlink(path.c_str()), 0) << reason(path); }

void RealTrashWorld::actAsRoot(const std::optional<std::string>& consoleUser) { users_.actAsRoot(consoleUser); }

ItemKind RealTrashWorld::kindOf(const std::string& path) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return ItemKind::Nothing;
  if (S_ISLNK(found.st_mode)) return ItemKind::Link;
  return S_ISDIR(found.st_mode) ? ItemKind::Folder : ItemKind::File;
}

std::string RealTrashWorld::contentsOf(const std::string& path) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  if (length >= 0) return {target.data(), static_cast<std::size_t>(length)};
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> RealTrashWorld::namesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

platform::Status RealTrashWorld::recycle(const std::string& folder, const std::optional<std::string>& trashDirectory,
                                         const std::vector<std::string>& names) {
  platform::Recycled recycled;
  withUsersRights([&] { recycled = trash_->recycleItems(folder, trashDirectory, names); });
  recycledTo = recycled.paths;
  return recycled.status;
}

platform::TrashedItems RealTrashWorld::itemsFrom(const std::string& origin,
                                                 const std::optional<std::string>& trashDirectory) {
  platform::TrashedItems items;
  withUsersRights([&] { items = trash_->itemsFrom(origin, trashDirectory); });
  return items;
}

platform::Status RealTrashWorld::putBack(const platform::TrashedItem& item,
                                         const std::optional<std::string>& trashDirectory,
                                         platform::MissingFolders missing) {
  platform::Status status;
  withUsersRights([&] { status = trash_->putBack(item, trashDirectory, missing); });
  return status;
}

void RealTrashWorld::withUsersRights(const std::function<void()>& work) {
  const unsigned user = users_.realUserId();
  const EffectiveUser rights(user, user != 0);
  work();
}

void RealTrashWorld::mountVolume(const std::string& path, const std::string& options) {
  if (kindOf(path) == ItemKind::Nothing) makeRootFolder(path, 0755);
  mountTmpfs(path, options);
}

void RealTrashWorld::makeReadOnly(const std::string& path) { qm::testing::makeReadOnly(path); }

void RealTrashWorld::bind(const std::string& folder, const std::string& path) { bindMount(folder, path); }

void RealTrashWorld::giveTo(uid_t owner, const std::string& path) {
  ASSERT_EQ(::lchown(path.c_str(), owner, owner), 0) << reason(path);
}

void RealTrashWorld::setMode(const std::string& path, mode_t mode) {
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << reason(path);
}

mode_t RealTrashWorld::modeOf(const std::string& path) { return statusOf(path).st_mode & 07777; }

uid_t RealTrashWorld::ownerOf(const std::string& path) { return statusOf(path).st_uid; }

ino_t RealTrashWorld::inodeOf(const std::string& path) { return statusOf(path).st_ino; }

void RealTrashWorld::rename(const std::string& from, const std::string& to) {
  ASSERT_EQ(::rename(from.c_str(), to.c_str()), 0) << reason(from);
}

void RealTrashWorld::removeTree(const std::string& path) { std::filesystem::remove_all(path); }

void RealTrashWorld::makePlainFile(const std::string& path, const std::string& contents) { writeText(path, contents); }

void RealTrashWorld::useDataHome(const std::string& path) {
  ::setenv("XDG_DATA_HOME", path.c_str(), 1);
  trash_ = std::make_unique<linux_::FreedesktopTrash>(users_, clock_, kProduct.workFolderPrefix);
}

}  // namespace qm::testing
