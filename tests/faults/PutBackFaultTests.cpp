// SPDX-License-Identifier: MIT

// Root puts an item back from a user's Trash, with a fault or a kill at each of its system calls.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Platform/linux/trash/FreedesktopTrash.h"
#include "Uninstaller/Product.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeUsers.h"
#include "tests/faults/Campaign.h"
#include "tests/faults/Leftovers.h"
#include "tests/faults/Tree.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

const std::string kName = "Tessaly.app";

std::string home() { return machineFolder() + "/home"; }
std::string trash() { return home() + "/.local/share/Trash"; }
std::string stored() { return trash() + "/files/" + kName; }
std::string info() { return trash() + "/info/" + kName + ".trashinfo"; }

/// An item in a user's Trash that is to be put back into a root-owned folder, and the rules for that:
///
/// I1  The item is whole at its place, or whole in the Trash with its description, or, after a kill, whole in a folder
///     in the Trash that only root can access. Nothing that is incomplete has its name.
/// I2  Reported failure: the item is only in the Trash. Reported success: it is only at its place.
/// I3  Nothing else is left but folders named ".tessaly-uninstaller-...", accessible only to root, in the Trash's
///     folder and beside the item's place, and after a kill its description.
/// I4  After the next run the item is at its place and nothing is left, except one more complete copy in the Trash at
///     most.
class ItemToPutBack {
 public:
  explicit ItemToPutBack(bool acrossVolumes)
      : folder_(machineFolder() + (acrossVolumes ? "/volume/applications" : "/applications")) {
    makeFile(machineFolder() + "/passwd", "root:x:0:0::/root:/bin/sh\nsam:x:1001:1001::" + home() + ":/bin/sh\n");
    bindMount(machineFolder() + "/passwd", "/etc/passwd");
    if (acrossVolumes) mountTmpfs(machineFolder() + "/volume", "mode=0755");
    users_.actAsRoot("sam");
    users_.addUser("sam", home());
  }

  void prepare() {
    for (const std::string& path : {home(), folder_}) std::filesystem::remove_all(path);
    makeFolder(folder_);
    makeFolder(home(), kPerson);
    for (const char* folder :
         {"/.local", "/.local/share", "/.local/share/Trash", "/.local/share/Trash/files", "/.local/share/Trash/info"}) {
      makeFolder(home() + folder, kPerson, 0700);
    }
    makeFolder(stored(), kPerson);
    makeFile(stored() + "/secret", "secret", 0, 0600);
    makeFolder(stored() + "/folder", kPerson, 0555);
    makeFile(info(), "[Trash Info]\nPath=" + place() + "\nDeletionDate=2024-02-29T23:05:07\n", kPerson, 0600);
    if (whole_.empty()) whole_ = treeAt(stored());
  }

  bool putBack() {
    linux_::FreedesktopTrash trash(users_, clock_, kProduct.workFolderPrefix);
    const platform::TrashedItem item{stored(), place(), "2024-02-29T23:05:07"};
    return trash.putBack(item, home() + "/.Trash", platform::MissingFolders::Fail).ok();
  }

  Violations judge(Said said) const {
    Violations violations;
    noteFinding(violations, "I1", brokenWhole());
    noteFinding(violations, "I2", brokenReport(said));
    noteFinding(violations, "I3", brokenSurroundings(said));
    return violations;
  }

  void nextRun() {
    linux_::FreedesktopTrash trash(users_, clock_, kProduct.workFolderPrefix);
    static_cast<void>(trash.itemsFrom(place(), home() + "/.Trash"));
    if (!exists(place())) putBack();
  }

  Violations judgeNextRun() const {
    Violations violations;
    std::string finding = difference(treeAt(place()), whole_);
    if (finding.empty() && exists(stored())) finding = difference(treeAt(stored()), whole_);
    if (finding.empty() && exists(stored()) != exists(info())) finding = "there is one half of an entry in the Trash";
    for (const std::string& name : othersIn(trash(), {"files", "info"})) finding = "in the Trash is " + shownName(name);
    for (const std::string& name : othersIn(folder_, {kName})) finding = "beside it is " + shownName(name);
    noteFinding(violations, "I4", finding);
    return violations;
  }

 private:
  std::string place() const { return folder_ + "/" + kName; }

  std::string brokenWhole() const {
    int whole = 0;
    for (const std::string& path : {place(), stored(), taken()}) {
      if (path.empty() || !exists(path)) continue;
      const std::string finding = difference(treeAt(path), whole_);
      if (!finding.empty()) return path + ": " + finding;
      if (path != place() && !exists(info())) return "it is not described";
      ++whole;
    }
    return whole > 0 ? std::string() : "it is gone";
  }

  // Where the item is while it is being moved.
  static std::string taken() {
    for (const std::string& name : othersIn(trash(), {"files", "info"})) {
      if (exists(trash() + "/" + name + "/item")) return trash() + "/" + name + "/item";
    }
    return {};
  }

  std::string brokenReport(Said said) const {
    if (said == Said::Success) return exists(stored()) ? "reported success, but it is in the Trash" : atPlaceAlone();
    if (said == Said::Nothing) return {};
    if (exists(place())) return "reported failure, but it is at its place";
    return exists(stored()) && exists(info()) ? std::string() : "reported failure, but it is not in the Trash";
  }

  std::string atPlaceAlone() const {
    return exists(place()) ? std::string() : "reported success, but it is not at its place";
  }

  std::string brokenSurroundings(Said said) const {
    const std::string beside = strayIn(folder_, {kName});
    const std::string inTrash = strayIn(trash(), {"files", "info"});
    const bool isFinished = said == Said::Success && othersIn(trash(), {"files", "info"}).empty();
    return !beside.empty()                ? beside
           : !inTrash.empty()             ? inTrash
           : isFinished && exists(info()) ? "its description is left"
                                          : "";
  }

  const std::string folder_;
  Calls calls_;
  FakeUsers users_{calls_};
  FakeClock clock_{calls_};
  Tree whole_;
};

void play(bool acrossVolumes, const std::string& name, void (*campaign)(const Scenario&)) {
  runInPrivateMachine([&] {
    ::unsetenv("XDG_DATA_HOME");
    ItemToPutBack item(acrossVolumes);
    Scenario scenario;
    scenario.name = name;
    scenario.rules = {"I1", "I2", "I3", "I4"};
    scenario.extent = Extent::Sample;
    scenario.prepare = [&] { item.prepare(); };
    scenario.work = [&] { return item.putBack(); };
    scenario.judge = [&](Said said) { return item.judge(said); };
    scenario.nextRun = [&] { item.nextRun(); };
    scenario.judgeNextRun = [&] { return item.judgeNextRun(); };
    campaign(scenario);
  });
}

TEST(PutBackOnOneVolume, KeepsTheItemWholeWhateverFails) {
  play(false, "put back on one volume, failing calls", failEveryCall);
}

TEST(PutBackOnOneVolume, KeepsTheItemWholeWhereverItEnds) {
  play(false, "put back on one volume, ended at calls", endAtEveryCall);
}

TEST(PutBackAcrossVolumes, KeepsTheItemWholeWhateverFails) {
  play(true, "put back across volumes, failing calls", failEveryCall);
}

TEST(PutBackAcrossVolumes, KeepsTheItemWholeWhereverItEnds) {
  play(true, "put back across volumes, ended at calls", endAtEveryCall);
}

}  // namespace
}  // namespace qm::testing
