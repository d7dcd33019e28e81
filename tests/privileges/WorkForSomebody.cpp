// SPDX-License-Identifier: MIT
#include "tests/privileges/WorkForSomebody.h"

#include <cstdlib>

#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Swapper.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr int kRounds = 1000;

}  // namespace

void WorkForSomebody::run(const std::function<void(FakePlatform&)>& body) {
  runInPrivateMachine([&] {
    ::unsetenv("XDG_DATA_HOME");
    race::build();
    race::buildTrash();
    for (const char* folder : {"/Library", "/Library/Logs", "/Library/Logs/Quillmark"}) {
      makeFolder(race::home() + folder, kPerson);
    }
    FakePlatform fakes;
    fakes.actAsRoot("sam");
    fakes.users.addUser("sam", race::home());
    body(fakes);
  });
}

void WorkForSomebody::raceAgainstSwaps(const std::string& name, const std::string& part, const std::string& likeness,
                                       const std::function<void(Race&)>& work) {
  makeLink(race::home() + "/link", likeness, kPerson);
  const std::string before = race::listing(race::precious());
  const Swapper swapper(kPerson, race::home() + part, race::home() + "/link");
  Race race(name, kRounds, [&] { return swapper.swaps(); });
  race.run([&] { work(race); });
  EXPECT_EQ(race::listing(race::precious()), before) << "after " << race.numbers();
}

}  // namespace qm::testing
