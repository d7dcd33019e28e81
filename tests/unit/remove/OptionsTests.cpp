// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qm::removal {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using Arguments = std::vector<std::string>;

Options optionsOf(const Arguments& arguments) {
  const ParsedOptions parsed = parseOptions(arguments);
  EXPECT_EQ(parsed.problem, "");
  return parsed.options;
}

std::string problemOf(const Arguments& arguments) { return parseOptions(arguments).problem; }

TEST(Options, RemoveNothingByThemselves) {
  const Options options = optionsOf({});
  EXPECT_FALSE(options.isInEarnest());
  EXPECT_FALSE(options.plan || options.preferences || options.allUsers || options.systemOnly);
  EXPECT_THAT(options.users, IsEmpty());
  EXPECT_EQ(options.ifRunning, IfRunning::Refuse);
  EXPECT_EQ(options.report, ReportForm::Table);
  EXPECT_EQ(options.timeLimit, std::chrono::seconds(600));
}

TEST(Options, RemoveOnlyWithAYes) {
  EXPECT_TRUE(optionsOf({"--yes"}).isInEarnest());
  EXPECT_FALSE(optionsOf({"--plan"}).isInEarnest());
  EXPECT_FALSE(optionsOf({"--preferences"}).isInEarnest());
}

TEST(Options, TakePersonsOneAfterTheOther) {
  EXPECT_THAT(optionsOf({"--user", "sam", "--user=anna"}).users, ElementsAre("sam", "anna"));
  EXPECT_TRUE(optionsOf({"--all-users"}).allUsers);
  EXPECT_TRUE(optionsOf({"--system-only"}).systemOnly);
}

TEST(Options, TakeValuesBehindAnEqualsSignOrAsTheNextArgument) {
  EXPECT_EQ(optionsOf({"--if-running=refuse"}).ifRunning, IfRunning::Refuse);
  EXPECT_EQ(optionsOf({"--if-running=ask-to-quit"}).ifRunning, IfRunning::AskToQuit);
  EXPECT_EQ(optionsOf({"--if-running", "end"}).ifRunning, IfRunning::End);
  EXPECT_EQ(optionsOf({"--report=json"}).report, ReportForm::Json);
  EXPECT_EQ(optionsOf({"--report=json", "--report", "table"}).report, ReportForm::Table);
  EXPECT_EQ(optionsOf({"--time-limit", "1"}).timeLimit, std::chrono::seconds(1));
  EXPECT_EQ(optionsOf({"--time-limit=86400"}).timeLimit, std::chrono::hours(24));
  EXPECT_TRUE(optionsOf({"--preferences"}).preferences);
}

TEST(Options, PutBackWhatTheLastRunMovedWithoutAnyChoice) {
  EXPECT_TRUE(optionsOf({"--restore", "--plan", "--report=json", "--time-limit=5"}).restore);
  EXPECT_FALSE(optionsOf({"--restore"}).isInEarnest());
  EXPECT_TRUE(optionsOf({"--yes", "--restore"}).isInEarnest());
  for (const char* choice : {"--user=sam", "--all-users", "--system-only", "--preferences", "--if-running=refuse"}) {
    EXPECT_EQ(problemOf({"--restore", choice}),
              "--restore puts back everything that the last run moved, so nothing can be selected.");
  }
}

TEST(Options, SayWhatIsWrongWithThem) {
  EXPECT_EQ(problemOf({"--force"}), "There is no option \"--force\".");
  EXPECT_EQ(problemOf({"--restored"}), "There is no option \"--restored\".");
  EXPECT_EQ(problemOf({"--us=sam"}), "There is no option \"--us\".");
  EXPECT_EQ(problemOf({"--"}), "There is no option \"--\".");
  EXPECT_EQ(problemOf({"sam"}), "Unexpected argument \"sam\": only options are allowed.");
  EXPECT_EQ(problemOf({"-y"}), "Unexpected argument \"-y\": only options are allowed.");
  EXPECT_EQ(problemOf({""}), "Unexpected argument \"\": only options are allowed.");
  EXPECT_EQ(problemOf({"\x1b[2J"}), "Unexpected argument \"?[2J\": only options are allowed.");
  EXPECT_EQ(problemOf({"--yes=no"}), "--yes takes no value.");
  EXPECT_EQ(problemOf({"--user"}), "--user needs a value.");
  EXPECT_EQ(problemOf({"--user="}), "--user needs the name of a user.");
  EXPECT_EQ(problemOf({"--if-running=kill"}), "--if-running is \"refuse\", \"ask-to-quit\" or \"end\", not \"kill\".");
  EXPECT_EQ(problemOf({"--report=xml"}), "--report is \"table\" or \"json\", not \"xml\".");
  for (const std::string wrong : {"0", "-1", "86401", "5m", "", " 5", "99999999999999"}) {
    EXPECT_EQ(problemOf({"--time-limit", wrong}),
              "--time-limit is a number of seconds from 1 to 86400, not \"" + wrong + "\".");
  }
}

TEST(Options, MayNotContradictEachOther) {
  EXPECT_EQ(problemOf({"--plan", "--yes"}), "--plan and --yes exclude each other.");
  for (const Arguments& both : {Arguments{"--user=sam", "--all-users"}, Arguments{"--all-users", "--system-only"},
                                Arguments{"--system-only", "--user=sam"}}) {
    EXPECT_EQ(problemOf(both), "--user, --all-users and --system-only exclude each other.");
  }
}

TEST(Options, AreReadUpToTheFirstThatIsWrong) {
  const ParsedOptions parsed = parseOptions({"--preferences", "--oops", "--yes"});
  EXPECT_EQ(parsed.problem, "There is no option \"--oops\".");
  EXPECT_FALSE(parsed.options.yes);
}

TEST(Texts, OfTheHelpAreTheseAndFitATerminal) {
  EXPECT_EQ(helpText(), R"(Usage: tessaly-remove [OPTION...]

Moves the items of Tessaly to the Trash, and removes the maker's folder if
nothing is left in it. Without --yes nothing is done: it shows what would be
moved.

What is moved
  --plan              Show what would be moved. Changes nothing.
  --yes               Do it.
  --preferences       Move the preferences as well.
  --restore           Put back what your last run moved, from the Trash. An item
                      stays there if something else is at its path now. Root
                      puts back what root's last run moved, for all its users.

For whom (as root; otherwise it is always for you)
  --user NAME         For this user. May be given more than once.
  --all-users         For every ordinary account of this computer.
  --system-only       For no user: move only what belongs to the computer.
  Without these options, root's run is for the user at the computer. Each
  user's items go to that user's Trash, the computer's to root's own.

How
  --if-running=HOW    What to do if Tessaly is running for one of these users:
                      "refuse" (the default), "ask-to-quit" (and refuse if it
                      has not quit after ten seconds) or "end" (unsaved work in
                      it is lost).
  --time-limit=SECONDS  Begin no further item after this time. 600 by default.
  --report=FORM       "table" (the default) or "json", on standard output.
  --help              Show this.
  --version           Show the version.

Exit status
   0  nothing is left to remove or put back, also if nothing was there
   2  something is left
   3  rights are missing; root has them
  64  the command line is wrong
  75  nothing was done: Tessaly is running, another run is in progress, or the
      lock or the record cannot be used
)");
  std::size_t length = 0;
  for (const char character : helpText()) {
    length = character == '\n' ? 0 : length + 1;
    EXPECT_LE(length, 80U);
  }
}

TEST(Texts, OfVersionAndMisuseNameTheProgram) {
  EXPECT_THAT(versionText(), MatchesRegex("tessaly-remove [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_EQ(usageText("There is no option \"--x\"."),
            "tessaly-remove: There is no option \"--x\".\nTry \"tessaly-remove --help\".\n");
}

TEST(Texts, OfTheHelpNameEveryStatus) {
  for (const int status : {kNothingLeft, kSomethingStayed, kRightsMissing, kUsage, kTryLater}) {
    const std::string number = std::to_string(status);
    EXPECT_THAT(std::string(helpText()), HasSubstr("\n" + std::string(4 - number.size(), ' ') + number + "  "));
  }
}

}  // namespace
}  // namespace qm::removal
