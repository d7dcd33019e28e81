// SPDX-License-Identifier: MIT

// The privileged removal of a folder, with a fault or a kill at each of its system calls.

#include <gtest/gtest.h>

#include "tests/faults/Campaign.h"
#include "tests/faults/FolderOnTheMachine.h"
#include "tests/faults/NextRun.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Holds = FolderOnTheMachine::Holds;

bool removeFolder() {
  const Outcome outcome = removeIfHollowHere(FolderOnTheMachine::folder());
  return outcome.started() && outcome.waitStatus == 0;
}

Scenario scenarioOn(FolderOnTheMachine& machine, const std::string& name) {
  Scenario scenario;
  scenario.name = name;
  scenario.rules = {"I1", "I2", "I3", "I4"};
  scenario.prepare = [&] { machine.prepare(); };
  scenario.work = removeFolder;
  scenario.judge = [&](Said said) { return machine.judge(said); };
  scenario.nextRun = [] {
    nextRun(FolderOnTheMachine::foldersOfLeftovers());
    if (exists(FolderOnTheMachine::folder())) removeFolder();
  };
  scenario.judgeNextRun = [&] { return machine.judgeNextRun(); };
  return scenario;
}

void play(Holds holds, const std::string& name, void (*campaign)(const Scenario&)) {
  runInPrivateMachine([&] {
    FolderOnTheMachine machine(holds);
    Scenario scenario = scenarioOn(machine, name);
    if (holds == Holds::SomethingElse) scenario.undisturbed = Said::Failure;
    campaign(scenario);
  });
}

TEST(FolderOfHousekeeping, LosesNothingElseWhateverFails) {
  play(Holds::Housekeeping, "folder removal, failing calls", failEveryCall);
}

TEST(FolderOfHousekeeping, LosesNothingElseWhereverItEnds) {
  play(Holds::Housekeeping, "folder removal, ended at calls", endAtEveryCall);
}

TEST(FolderWithADocument, IsKeptWhateverFails) {
  play(Holds::SomethingElse, "folder with a document, failing calls", failEveryCall);
}

TEST(FolderWithADocument, IsKeptWhereverItEnds) {
  play(Holds::SomethingElse, "folder with a document, ended at calls", endAtEveryCall);
}

}  // namespace
}  // namespace qm::testing
