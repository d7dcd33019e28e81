// SPDX-License-Identifier: MIT
#include "tests/faults/TrashOnTheMachine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/faults/Leftovers.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

const std::string kName = "Tessaly.app";
// Has existed in the Trash, and beside the item, before.
const std::string kBystander = "Other.app";
const std::string kSuffix = ".trashinfo";

std::string home() { return machineFolder() + "/home"; }
std::string trash() { return home() + "/.local/share/Trash"; }
std::string files() { return trash() + "/files"; }
std::string info() { return trash() + "/info"; }

void makeTrash() {
  makeFolder(home(), kPerson);
  makeFolder(home() + "/.local", kPerson, 0700);
  makeFolder(home() + "/.local/share", kPerson, 0700);
  for (const std::string& folder : {trash(), files(), info()}) makeFolder(folder, kPerson, 0700);
  makeLink(home() + "/.Trash", ".local/share/Trash/files", kPerson);
  makeFile(files() + "/" + kBystander, "other", kPerson);
  makeFile(info() + "/" + kBystander + kSuffix, "[Trash Info]\nPath=/other\n", kPerson, 0600);
}

void makeItem(const std::string& path) {
  makeFolder(path);
  makeFolder(path + "/Contents", 0, 0555);
  makeFolder(path + "/Contents/Empty", 0, 0700);
  makeFile(path + "/Contents/secret", "secret", 0, 0600);
  makeFile(path + "/Contents/tool", "tool", 0, 04755);
  makeLink(path + "/Contents/link", "/etc");
}

// The first one that reports something.
std::string firstOf(const std::vector<std::string>& findings) {
  for (const std::string& finding : findings) {
    if (!finding.empty()) return finding;
  }
  return {};
}

std::string labelled(const std::string& where, const std::string& finding) {
  return finding.empty() ? finding : where + ": " + finding;
}

bool describes(const std::string& description, const std::string& path) {
  const std::string begin = "[Trash Info]\nPath=" + path + "\nDeletionDate=";
  static const std::regex date("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
  return description.starts_with(begin) && std::regex_match(description.substr(begin.size()), date);
}

std::string changedBystander(const std::string& folder) {
  const bool same = contentsOf(files() + "/" + kBystander) == "other" &&
                    contentsOf(folder + "/" + kBystander) == "other" &&
                    contentsOf(info() + "/" + kBystander + kSuffix) == "[Trash Info]\nPath=/other\n";
  return same ? std::string() : "what had nothing to do with it was changed";
}

std::vector<std::string> copies() { return othersIn(files(), {kBystander}); }

}  // namespace

std::string TrashOnTheMachine::folder() const {
  return machineFolder() + (volumes_ == Volumes::Two ? "/volume/applications" : "/applications");
}

std::string TrashOnTheMachine::item() const { return folder() + "/" + kName; }

std::string TrashOnTheMachine::place() { return home() + "/.Trash/" + kName; }

std::vector<std::string> TrashOnTheMachine::foldersOfLeftovers() const { return {folder(), trash()}; }

void TrashOnTheMachine::build() const {
  makeFile(machineFolder() + "/passwd", "root:x:0:0::/root:/bin/sh\nsam:x:1001:1001::" + home() + ":/bin/sh\n");
  bindMount(machineFolder() + "/passwd", "/etc/passwd");
  if (volumes_ == Volumes::Two) mountTmpfs(machineFolder() + "/volume", "mode=0755");
}

void TrashOnTheMachine::prepare() {
  for (const std::string& path : {home(), folder()}) std::filesystem::remove_all(path);
  makeTrash();
  makeFolder(folder());
  makeFile(folder() + "/" + kBystander, "other");
  makeItem(item());
  if (original_.empty()) original_ = treeAt(item());
}

void TrashOnTheMachine::remember() { expected_ = treeAt(files() + "/" + kName); }

Violations TrashOnTheMachine::judge(Said said) const {
  Violations violations;
  noteFinding(violations, "I1", brokenWhole());
  noteFinding(violations, "I2", brokenReport(said));
  noteFinding(violations, "I3", brokenSurroundings(said));
  return violations;
}

Violations TrashOnTheMachine::judgeNextRun() const {
  Violations violations;
  noteFinding(violations, "I4", brokenNextRun());
  return violations;
}

std::string TrashOnTheMachine::brokenWhole() const {
  const Tree found = treeAt(item());
  int whole = 0;
  if (!found.empty()) {
    const std::string finding = differenceButForFolders(found, original_, kPerson);
    if (!finding.empty()) return "at its place, " + finding;
    ++whole;
  }
  for (const std::string& name : copies()) {
    if (isLeftoverName(name)) continue;  // the other rules report it
    const std::string finding = firstOf({brokenCopy(name), brokenDescription(name)});
    if (!finding.empty()) return finding;
    ++whole;
  }
  return whole > 0 ? std::string() : "it is gone";
}

std::string TrashOnTheMachine::brokenCopy(const std::string& name) const {
  return labelled("files/" + name, differenceButForFolders(treeAt(files() + "/" + name), original_, kPerson));
}

std::string TrashOnTheMachine::brokenDescription(const std::string& name) const {
  const std::string path = info() + "/" + name + kSuffix;
  if (!exists(path)) return "files/" + name + " is not described";
  if (!describes(contentsOf(path), item())) return "info/" + name + kSuffix + " does not tell its place";
  const bool his = ownerOf(path) == kPerson && modeOf(path) == 0600;
  return his ? std::string() : "info/" + name + kSuffix + " is not the person's";
}

std::string TrashOnTheMachine::brokenReport(Said said) const {
  if (said == Said::Success) {
    if (exists(item())) return "reported success, but it is still at its place";
    return copies().empty() ? "reported success, but it is not in the Trash" : std::string();
  }
  if (said == Said::Nothing) return {};
  const std::string finding = difference(treeAt(item()), original_);
  if (!finding.empty()) return "reported failure, but at its place " + finding;
  if (!copies().empty()) return "reported failure, but there is files/" + shownName(copies().front());
  const auto descriptions = othersIn(info(), {kBystander + kSuffix});
  return descriptions.empty() ? std::string() : "reported failure, but there is info/" + descriptions.front();
}

std::string TrashOnTheMachine::brokenSurroundings(Said said) const {
  for (const std::string& name : copies()) {
    if (isLeftoverName(name)) return "files/" + shownName(name) + " is in the way";
  }
  return firstOf({changedBystander(folder()), strayIn(folder(), {kName, kBystander}),
                  strayIn(trash(), {"files", "info"}), strayIn(home() + "/.local/share", {"Trash"}),
                  strayIn(home(), {".Trash", ".local"}), strayDescription(said)});
}

// Two steps cannot be atomic: between them the description reserves the name.
std::string TrashOnTheMachine::strayDescription(Said said) const {
  for (const std::string& name : othersIn(info(), {kBystander + kSuffix})) {
    const bool isDescription = name.ends_with(kSuffix);
    if (isDescription && exists(files() + "/" + name.substr(0, name.size() - kSuffix.size()))) continue;
    const std::string text = contentsOf(info() + "/" + name);
    const bool underWay =
        said == Said::Nothing && isDescription && exists(item()) && (text.empty() || describes(text, item()));
    if (!underWay) return "info/" + name + " describes nothing";
  }
  return {};
}

std::string TrashOnTheMachine::brokenNextRun() const {
  const auto others = [](const std::string& folder, const std::vector<std::string>& known) {
    const auto names = othersIn(folder, known);
    return names.empty() ? std::string() : "after the next run there is " + folder + "/" + shownName(names.front());
  };
  std::vector<std::string> descriptions{kBystander + kSuffix};
  for (const std::string& name : copies()) {
    const std::string finding = firstOf(
        {labelled("after the next run files/" + shownName(name), difference(treeAt(files() + "/" + name), expected_)),
         brokenDescription(name)});
    if (!finding.empty()) return finding;
    descriptions.push_back(name + kSuffix);
  }
  if (copies().empty()) return "after the next run it is not in the Trash";
  if (copies().size() > 2) return "after the next run there are more than two copies";
  return firstOf({others(folder(), {kBystander}), others(trash(), {"files", "info"}), others(info(), descriptions),
                  changedBystander(folder())});
}

}  // namespace qm::testing
