// SPDX-License-Identifier: MIT
#include "tests/faults/FolderOnTheMachine.h"

#include <filesystem>

#include "tests/faults/Leftovers.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

std::string applications() { return machineFolder() + "/applications"; }
std::string neighbour() { return applications() + "/Neighbour"; }

void makeHousekeeping(const std::string& folder) {
  makeFile(folder + "/.DS_Store", "store");
  makeFile(folder + "/Icon\r", "icon");
}

bool isHousekeeping(const std::string& path, const TreeItem& item) {
  return item.kind == 'f' && (path.ends_with("/.DS_Store") || path.ends_with("/Icon\r"));
}

// Without what may be removed; without folders, too, if those may.
Tree lasting(const Tree& tree, bool withFolders) {
  Tree left;
  for (const auto& [path, item] : tree) {
    if (!isHousekeeping(path, item) && (withFolders || item.kind != 'd')) left.emplace(path, item);
  }
  return left;
}

// Everything that is there was there before.
Tree among(const Tree& tree, const Tree& found) {
  Tree left;
  for (const auto& [path, item] : tree) {
    if (found.contains(path)) left.emplace(path, item);
  }
  return left;
}

}  // namespace

std::string FolderOnTheMachine::folder() { return applications() + "/Quillmark"; }

std::vector<std::string> FolderOnTheMachine::foldersOfLeftovers() { return {applications()}; }

void FolderOnTheMachine::prepare() {
  std::filesystem::remove_all(applications());
  makeFolder(applications());
  makeFolder(neighbour());
  makeHousekeeping(neighbour());
  makeFolder(folder());
  makeHousekeeping(folder());
  for (const char* name : {"/Empty", "/Deep", "/Deep/Deeper"}) makeFolder(folder() + name, 0, 0750);
  makeHousekeeping(folder() + "/Deep/Deeper");
  if (holds_ == Holds::SomethingElse) makeFile(folder() + "/Deep/document", "document", kPerson);
  original_ = treeAt(folder());
  neighbour_ = treeAt(neighbour());
}

Violations FolderOnTheMachine::judge(Said said) const {
  Violations violations;
  noteFinding(violations, "I1", brokenKeeping());
  noteFinding(violations, "I2", brokenReport(said));
  noteFinding(violations, "I3", strayIn(applications(), {"Quillmark", "Neighbour"}));
  return violations;
}

Violations FolderOnTheMachine::judgeNextRun() const {
  Violations violations;
  noteFinding(violations, "I4", brokenNextRun());
  return violations;
}

std::string FolderOnTheMachine::brokenKeeping() const {
  if (treeAt(neighbour()) != neighbour_) return "a neighbour was changed";
  const Tree found = treeAt(folder());
  const std::string lost = difference(lasting(found, false), lasting(original_, false));
  return lost.empty() ? difference(found, among(original_, found)) : lost;
}

std::string FolderOnTheMachine::brokenReport(Said said) const {
  const Tree found = treeAt(folder());
  if (said == Said::Success && !found.empty()) return "reported success, but it is still there";
  if (said != Said::Failure) return {};
  // Bottom up: folders in which nothing was left may be gone before one cannot be removed.
  if (holds_ == Holds::Housekeeping) return found.empty() ? "reported failure, but it is gone" : std::string();
  const std::string lost = difference(lasting(found, true), lasting(original_, true));
  return lost.empty() ? lost : "reported failure, but " + lost;
}

std::string FolderOnTheMachine::brokenNextRun() const {
  const auto others = othersIn(applications(), {"Neighbour", "Quillmark"});
  if (!others.empty()) return "after the next run there is " + shownName(others.front());
  const Tree found = treeAt(folder());
  if (holds_ == Holds::Housekeeping) return found.empty() ? std::string() : "after the next run it is still there";
  return difference(lasting(found, true), lasting(original_, true));
}

}  // namespace qm::testing
