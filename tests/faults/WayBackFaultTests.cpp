// SPDX-License-Identifier: MIT

// The command moves the items as root and puts them back, with a fault or a kill at each of its system calls.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Platform/linux/LinuxPlatform.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Platform/posix/process/MainLoop.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/remove/Removal.h"
#include "Uninstaller/remove/Restoring.h"
#include "Uninstaller/remove/WithoutDialog.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeMainThread.h"
#include "tests/faults/Campaign.h"
#include "tests/faults/Leftovers.h"
#include "tests/faults/Tree.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

const std::string kHome = "/home/sam";
const std::string kFolder = "/Applications/Quillmark";
const std::string kApplication = kFolder + "/Tessaly.app";
const std::string kCaches = kHome + "/Library/Caches/com.quillmark.tessaly";
const std::string kMemory = "/var/lib/tessaly-remove";
const std::vector<std::string> kTrashes = {"/root/.local/share/Trash", kHome + "/.local/share/Trash"};

const std::function<bool()> kInTime = [] { return false; };
const removal::Work::Progress kUnseen = [](const std::string&, std::size_t, std::size_t) {};

// The private machine's own folder becomes "/".
void buildRoot() {
  const std::string root = machineFolder();
  for (const char* folder : {"/etc", "/dev", "/home", "/proc", "/root", "/run", "/var", "/var/lib"}) {
    makeFolder(root + folder);
  }
  makeFile(root + "/etc/passwd", "root:x:0:0::/root:/bin/sh\nsam:x:1001:1001::/home/sam:/bin/sh\n");
  makeFile(root + "/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
  makeFile(root + "/dev/null", "");
  ASSERT_EQ(::mount("/dev/null", (root + "/dev/null").c_str(), nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(::mount("/proc", (root + "/proc").c_str(), nullptr, MS_BIND | MS_REC, nullptr), 0);
  ASSERT_EQ(::chroot(root.c_str()), 0);
  ASSERT_EQ(::chdir("/"), 0);
}

/// The command's services, in the process that works.
class Services {
 public:
  Services() {
    all_ = linux_::linuxPlatform(kProduct, {.mainThread = loop_, .descriptorWait = loop_, .users = &users});
    withoutDialog_ = std::make_unique<removal::WithoutDialog>(*all_.authorizationServices);
    all_.authorizationServices = withoutDialog_.get();
    // Nobody waits for an event that does not come: the clock advances by itself, for a thread that is not the main
    // one.
    all_.clock = &clock_;
    mainThread_.disown();
    all_.mainThread = &mainThread_;
    observer = std::make_unique<RemovalObserver>(all_);
    platform::install(&observer->services());
  }

  linux_::SystemUsers system;
  removal::WorkingFor users{system};
  std::unique_ptr<RemovalObserver> observer;
  removal::RunRecordFile memory{0, kMemory};

 private:
  posix::MainLoop loop_;
  Calls calls_;
  FakeClock clock_{calls_};
  FakeMainThread mainThread_{calls_, clock_};
  platform::Platform all_;
  std::unique_ptr<removal::WithoutDialog> withoutDialog_;
};

bool removeAll() {
  auto& all = *new Services;  // the process ends with it
  removal::Removal removal(all.users, *all.observer, {{{kPerson, kPerson, "sam", kHome}}, "root"}, RemoveConfig::No,
                           "");
  removal.look();
  const auto run = removal.toRemember();
  if (!run || all.memory.begin(*run) != 0) return false;
  removal.rememberIn(all.memory);
  removal.run(kInTime, kUnseen);
  // If an item cannot be examined, no claim is made that it exists.
  const auto items = removal.items();
  return std::ranges::count(items, removal::Outcome::Trashed, &removal::ReportItem::outcome) == 2;
}

bool putAllBack() {
  auto& all = *new Services;
  std::vector<removal::RunRecord> runs;
  if (all.memory.read(runs) != 0) return false;
  removal::Restoring restoring(all.users, all.memory, runs, removal::systemPersons());
  restoring.look();
  restoring.run(kInTime, kUnseen);
  const auto items = restoring.items();
  return std::ranges::all_of(items, [](const removal::ReportItem& item) {
    return item.outcome == removal::Outcome::Restored || item.outcome == removal::Outcome::NotThere;
  });
}

/// The installed items, and the rules for removing them and putting them back:
///
/// I1  Each item is whole at its place or in a Trash, with a description there.
/// I2  Reported success: the items are gone, or everything is back.
/// I4  After the next run, which puts everything back, all is as it was before.
class WayOnTheMachine {
 public:
  void prepare() {
    for (const std::string& path : {std::string("/Applications"), std::string("/Library"), kHome, kMemory,
                                    std::string("/root/.local"), std::string("/root/.Trash")}) {
      std::filesystem::remove_all(path);
    }
    makeFolder("/Applications");
    makeFolder("/Library");
    makeFolder(kFolder);
    makeFolder(kApplication, 0, 0750);
    makeFile(kApplication + "/program", "program", 0, 04755);
    makeFile(kApplication + "/secret", "secret", kOther, 0600);
    makePersonsFolders();
    makeFile(kCaches + "/data", "data", kPerson);
    // Last, because creating items in it changes its time.
    ASSERT_EQ(::chown(kFolder.c_str(), 0, kOther), 0);
    ASSERT_EQ(::chmod(kFolder.c_str(), 02775), 0);
    const timespec times[] = {{1, 1}, {2, 2}};
    ASSERT_EQ(::utimensat(AT_FDCWD, kFolder.c_str(), times, 0), 0);
    before_ = state();
  }

  Violations judge(Said said, bool isWayBack) const {
    Violations violations;
    for (const std::string& item : {kApplication, kCaches}) {
      if (!isWholeAnywhere(item)) violations["I1"] = item + " is not whole anywhere";
      if (said == Said::Success && exists(item) != isWayBack) violations["I2"] = item;
    }
    if (said == Said::Success && isWayBack && !exists(kFolder)) violations["I2"] = kFolder;
    return violations;
  }

  Violations judgeNextRun() const {
    Violations violations;
    const std::string finding = difference(state(), before_);
    if (!finding.empty()) violations["I4"] = finding;
    if (std::filesystem::last_write_time(kFolder, error_) != time_) violations["I4"] = "the time of the maker's folder";
    for (const std::string& name : othersIn("/Applications", {"Quillmark"})) violations["I4"] = shownName(name);
    return violations;
  }

 private:
  static void makePersonsFolders() {
    makeFolder(kHome, kPerson);
    for (const char* folder : {"/Library", "/Library/Caches"}) makeFolder(kHome + folder, kPerson);
    makeFolder(kCaches, kPerson);
  }

  static Tree state() {
    Tree all = treeAt(kFolder);
    for (const auto& [path, item] : treeAt(kCaches)) all["caches" + path] = item;
    return all;
  }

  static Tree wholeOf(const Tree& state, const std::string& item) {
    const std::string prefix = item == kApplication ? "/Tessaly.app" : "caches";
    Tree whole;
    for (const auto& [path, each] : state) {
      if (path.starts_with(prefix)) whole[path.substr(prefix.size())] = each;
    }
    return whole;
  }

  bool isWholeAnywhere(const std::string& item) const {
    std::vector<std::string> places = {item};
    const std::string name = item.substr(item.rfind('/') + 1);
    for (const std::string& trash : kTrashes) {
      if (exists(trash + "/info/" + name + ".trashinfo")) places.push_back(trash + "/files/" + name);
    }
    return std::ranges::any_of(
        places, [&](const std::string& place) { return difference(treeAt(place), wholeOf(before_, item)).empty(); });
  }

  Tree before_;
  mutable std::error_code error_;
  const std::filesystem::file_time_type time_ = std::filesystem::file_time_type::clock::from_sys(
      std::chrono::sys_time<std::chrono::nanoseconds>(std::chrono::seconds(2) + std::chrono::nanoseconds(2)));
};

void play(bool isWayBack, const std::string& name, void (*campaign)(const Scenario&)) {
  runInPrivateMachine([&] {
    ::umask(022);
    ::unsetenv("XDG_DATA_HOME");
    ASSERT_NO_FATAL_FAILURE(buildRoot());
    WayOnTheMachine way;
    Scenario scenario;
    scenario.name = name;
    scenario.rules = {"I1", "I2", "I4"};
    scenario.extent = Extent::Sample;
    scenario.prepare = [&] {
      way.prepare();
      EXPECT_TRUE(!isWayBack || runUndisturbed([] { return removeAll() ? 0 : 1; }));
    };
    scenario.work = isWayBack ? putAllBack : removeAll;
    scenario.judge = [&](Said said) { return way.judge(said, isWayBack); };
    scenario.nextRun = [] { putAllBack(); };
    scenario.judgeNextRun = [&] { return way.judgeNextRun(); };
    campaign(scenario);
  });
}

TEST(RemovalForTheWayBack, LosesNothingWhateverFails) {
  play(false, "the command removes, failing calls", failEveryCall);
}

TEST(RemovalForTheWayBack, LosesNothingWhereverItEnds) {
  play(false, "the command removes, ended at calls", endAtEveryCall);
}

TEST(WayBackOfARun, LosesNothingWhateverFails) { play(true, "the command puts back, failing calls", failEveryCall); }

TEST(WayBackOfARun, LosesNothingWhereverItEnds) { play(true, "the command puts back, ended at calls", endAtEveryCall); }

}  // namespace
}  // namespace qm::testing
