// SPDX-License-Identifier: MIT

// The privileged move to a user's Trash, with a fault or a kill at each of its system calls.

#include <gtest/gtest.h>

#include "tests/faults/Campaign.h"
#include "tests/faults/NextRun.h"
#include "tests/faults/TrashOnTheMachine.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Volumes = TrashOnTheMachine::Volumes;

bool moveToTrash(const TrashOnTheMachine& machine) {
  const Outcome outcome = launchHere("/bin/mv", {"-f", machine.item(), TrashOnTheMachine::place()});
  return outcome.started() && outcome.waitStatus == 0;
}

Scenario scenarioOn(TrashOnTheMachine& machine, const std::string& name) {
  Scenario scenario;
  scenario.name = name;
  scenario.rules = {"I1", "I2", "I3", "I4"};
  scenario.prepare = [&] { machine.prepare(); };
  scenario.work = [&] { return moveToTrash(machine); };
  scenario.judge = [&](Said said) { return machine.judge(said); };
  scenario.nextRun = [&] {
    nextRun(machine.foldersOfLeftovers());
    if (exists(machine.item())) moveToTrash(machine);
  };
  scenario.judgeNextRun = [&] { return machine.judgeNextRun(); };
  return scenario;
}

void play(Volumes volumes, const std::string& name, void (*campaign)(const Scenario&)) {
  runInPrivateMachine([&] {
    TrashOnTheMachine machine(volumes);
    machine.build();
    machine.prepare();
    ASSERT_TRUE(runUndisturbed([&] { return moveToTrash(machine) ? 0 : 1; }));
    machine.remember();
    campaign(scenarioOn(machine, name));
  });
}

TEST(MoveOnOneVolume, KeepsTheItemWholeWhateverFails) {
  play(Volumes::One, "move on one volume, failing calls", failEveryCall);
}

TEST(MoveOnOneVolume, KeepsTheItemWholeWhereverItEnds) {
  play(Volumes::One, "move on one volume, ended at calls", endAtEveryCall);
}

TEST(MoveAcrossVolumes, KeepsTheItemWholeWhateverFails) {
  play(Volumes::Two, "move across volumes, failing calls", failEveryCall);
}

TEST(MoveAcrossVolumes, KeepsTheItemWholeWhereverItEnds) {
  play(Volumes::Two, "move across volumes, ended at calls", endAtEveryCall);
}

}  // namespace
}  // namespace qm::testing
