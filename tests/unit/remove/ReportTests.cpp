// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Uninstaller/remove/Options.h"

namespace qm::removal {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

ReportItem item(Outcome outcome, const std::string& path = "/Applications/Tessaly.app") {
  ReportItem result;
  result.path = path;
  result.outcome = outcome;
  result.kind = ItemKind::Folder;
  result.bytes = 2048;
  return result;
}

ReportItem stayed(bool needsRights) {
  ReportItem result = item(Outcome::Stayed);
  result.reason = "It is busy.";
  result.needsRights = needsRights;
  return result;
}

Report reportOf(const std::vector<ReportItem>& items) {
  Report report;
  report.items = items;
  return report;
}

Report planOf(const std::vector<ReportItem>& items) {
  Report report = reportOf(items);
  report.isPlan = true;
  return report;
}

TEST(Status, IsThatNothingIsLeftWhereAllWentOrNothingWasThere) {
  EXPECT_EQ(statusOf(reportOf({})), 0);
  EXPECT_EQ(statusOf(reportOf({item(Outcome::NotThere), item(Outcome::Kept)})), 0);
  EXPECT_EQ(statusOf(reportOf({item(Outcome::Trashed), item(Outcome::Removed)})), 0);
}

TEST(Status, SaysThatSomethingStayedOrWouldGo) {
  EXPECT_EQ(statusOf(reportOf({item(Outcome::Trashed), stayed(false)})), 2);
  EXPECT_EQ(statusOf(planOf({item(Outcome::Goes)})), 2);
}

TEST(Status, SaysFirstThatRightsAreMissing) { EXPECT_EQ(statusOf(reportOf({stayed(false), stayed(true)})), 3); }

TEST(Status, IsThatOfTheProblemWhereThereIsOne) {
  Report report = reportOf({item(Outcome::Goes)});
  report.ownStatus = kTryLater;
  EXPECT_EQ(statusOf(report), 75);
}

TEST(Change, IsWhatHasBeenMovedOrRemoved) {
  EXPECT_TRUE(hasChanged(reportOf({item(Outcome::NotThere), item(Outcome::Trashed)})));
  EXPECT_TRUE(hasChanged(reportOf({item(Outcome::Removed)})));
  EXPECT_FALSE(
      hasChanged(reportOf({item(Outcome::NotThere), item(Outcome::Kept), stayed(false), item(Outcome::Goes)})));
}

TEST(Summary, SaysWhatIsLeft) {
  EXPECT_EQ(summaryOf(reportOf({})), "Nothing is left to remove.");
  EXPECT_EQ(summaryOf(reportOf({stayed(false)})), "1 item stayed.");
  EXPECT_EQ(summaryOf(reportOf({stayed(false), stayed(true)})),
            "2 items stayed. More rights are needed; run it as root.");
}

TEST(Summary, OfAPlanSaysThatNothingHasBeenChanged) {
  EXPECT_EQ(summaryOf(planOf({item(Outcome::NotThere)})), "Nothing is left to remove.");
  Report plan = planOf({item(Outcome::Goes), item(Outcome::Goes)});
  EXPECT_EQ(summaryOf(plan), "2 items would be removed. Nothing has been changed.");
  plan.wantsYes = true;
  EXPECT_EQ(summaryOf(plan), "2 items would be removed. Nothing has been changed. Use --yes to do it.");
}

TEST(Summary, OfAWayBackSaysWhatDidNotComeBack) {
  Report report = reportOf({item(Outcome::Restored), item(Outcome::NotThere)});
  report.isRestore = true;
  EXPECT_EQ(summaryOf(report), "Nothing is left to put back.");
  EXPECT_EQ(statusOf(report), 0);
  EXPECT_TRUE(hasChanged(report));
  report.items = {stayed(false), item(Outcome::Lost), item(Outcome::Lost)};
  EXPECT_EQ(summaryOf(report), "1 item was not put back. 2 items cannot be found any more.");
  EXPECT_EQ(statusOf(report), 2);
  EXPECT_FALSE(hasChanged(report));
  report.items = {stayed(true)};
  EXPECT_EQ(summaryOf(report), "1 item was not put back. More rights are needed; run it as root.");
  EXPECT_EQ(statusOf(report), 3);
}

TEST(Summary, OfThePlanOfAWayBackSaysWhatWouldComeBack) {
  Report plan = planOf({item(Outcome::ComesBack)});
  plan.isRestore = true;
  EXPECT_EQ(summaryOf(plan), "1 item would be put back. Nothing has been changed.");
  EXPECT_EQ(statusOf(plan), 2);
  plan.items = {item(Outcome::Lost)};
  EXPECT_EQ(summaryOf(plan), "1 item cannot be found any more.");
  plan.items = {item(Outcome::NotThere)};
  EXPECT_EQ(summaryOf(plan), "Nothing is left to put back.");
}

TEST(Summary, IsTheProblemWhereThereIsOne) {
  Report report = reportOf({item(Outcome::Goes)});
  report.problem = "Another run of tessaly-remove is under way.";
  EXPECT_EQ(summaryOf(report), "Another run of tessaly-remove is under way.");
}

TEST(Table, HasALineForEachItemThatIsThereAndItsReason) {
  ReportItem moved = item(Outcome::Trashed);
  moved.trashOf = "sam";
  moved.trashedTo = "/home/sam/.local/share/Trash/files/Tessaly 2.app";
  ReportItem kept = item(Outcome::Kept, "/home/sam/Library/Preferences/com.quillmark.Tessaly.plist");
  kept.user = "sam";
  kept.kind = ItemKind::File;
  kept.bytes = 12;
  kept.reason = "Preferences are moved only with --preferences.";
  EXPECT_EQ(reportTable(reportOf({moved, item(Outcome::NotThere, "/nowhere"), kept, stayed(false)})),
            "OUTCOME  SIZE     WHOSE         TRASH OF  ITEM\n"
            "trashed  2.00 KB  the computer  sam       /Applications/Tessaly.app\n"
            "                                          In the Trash: "
            "/home/sam/.local/share/Trash/files/Tessaly 2.app\n"
            "kept     12 B     sam                     /home/sam/Library/Preferences/com.quillmark.Tessaly.plist\n"
            "                                          Preferences are moved only with --preferences.\n"
            "stayed   2.00 KB  the computer            /Applications/Tessaly.app\n"
            "                                          It is busy.\n"
            "1 item stayed.\n");
}

TEST(Table, IsOneSentenceWhereNothingIsThere) {
  EXPECT_EQ(reportTable(reportOf({item(Outcome::NotThere)})), "Nothing is left to remove.\n");
}

TEST(Table, NamesTheProcessesThatRun) {
  Report report = reportOf({});
  report.running = {{41, "sam"}, {42, "an\tna"}};
  report.problem = "Nothing has been done, because Tessaly is running.";
  EXPECT_EQ(reportTable(report),
            "Tessaly is running for sam (process 41).\nTessaly is running for an?na (process 42).\n"
            "Nothing has been done, because Tessaly is running.\n");
}

TEST(Table, ShowsNoControlCharactersOfNames) {
  EXPECT_THAT(reportTable(reportOf({item(Outcome::Goes, "/home/\x1b[2J/x")})), HasSubstr("/home/?[2J/x\n"));
}

TEST(Json, IsOneObjectWithOneForEachItem) {
  ReportItem moved = item(Outcome::Trashed);
  moved.trashOf = "sam";
  moved.trashedTo = "/home/sam/.local/share/Trash/files/Tessaly.app";
  ReportItem gone = item(Outcome::NotThere, "/home/sam/x");
  gone.user = "sam";
  gone.kind = std::nullopt;
  gone.bytes = 0;
  Report report = reportOf({moved, gone, stayed(true)});
  report.running = {{41, "sam"}};
  const std::string json = reportJson(report);
  EXPECT_THAT(json, StartsWith("{\n  \"schema\": 1,\n  \"version\": \""));
  EXPECT_THAT(json, HasSubstr("\",\n  \"restore\": false,\n  \"plan\": false,"));
  EXPECT_EQ(json.substr(json.find("  \"plan\"")),
            "  \"plan\": false,\n"
            "  \"changed\": true,\n"
            "  \"status\": 3,\n"
            "  \"summary\": \"1 item stayed. More rights are needed; run it as root.\",\n"
            "  \"problem\": null,\n"
            "  \"running\": [\n"
            "    {\"process\": 41, \"user\": \"sam\"}\n"
            "  ],\n"
            "  \"items\": [\n"
            "    {\"user\": null, \"path\": \"/Applications/Tessaly.app\", \"kind\": \"folder\", \"bytes\": 2048, "
            "\"outcome\": \"trashed\", \"reason\": \"\", \"needs_rights\": false, \"trash_of\": \"sam\", "
            "\"trashed_to\": \"/home/sam/.local/share/Trash/files/Tessaly.app\"},\n"
            "    {\"user\": \"sam\", \"path\": \"/home/sam/x\", \"kind\": null, \"bytes\": 0, "
            "\"outcome\": \"not_there\", \"reason\": \"\", \"needs_rights\": false, \"trash_of\": null, "
            "\"trashed_to\": null},\n"
            "    {\"user\": null, \"path\": \"/Applications/Tessaly.app\", \"kind\": \"folder\", \"bytes\": 2048, "
            "\"outcome\": \"stayed\", \"reason\": \"It is busy.\", \"needs_rights\": true, \"trash_of\": null, "
            "\"trashed_to\": null}\n"
            "  ]\n"
            "}\n");
}

TEST(Json, OfARunThatWasRefusedHasItsProblemAndEmptyLists) {
  Report report = reportOf({});
  report.problem = "Another run of tessaly-remove is under way.";
  report.ownStatus = kTryLater;
  const std::string json = reportJson(report);
  EXPECT_THAT(json, HasSubstr("\"changed\": false,\n  \"status\": 75,"));
  EXPECT_THAT(json, HasSubstr("\"problem\": \"Another run of tessaly-remove is under way.\",\n"
                              "  \"running\": [],\n  \"items\": []\n}\n"));
}

TEST(Json, EscapesWhatNamesMayHold) {
  const std::string json = reportJson(reportOf({item(Outcome::Goes, "/a\"b\\c\n\x7f\xffü\xc2\x85")}));
  EXPECT_THAT(json, HasSubstr("\"path\": \"/a\\\"b\\\\c\\u000a\\u007f\\ufffdü\\u0085\""));
}

TEST(Json, HasAWordForEveryOutcomeAndKind) {
  std::string words;
  for (const Outcome outcome : {Outcome::Goes, Outcome::Trashed, Outcome::Removed, Outcome::NotThere, Outcome::Kept,
                                Outcome::Stayed, Outcome::ComesBack, Outcome::Restored, Outcome::Lost}) {
    words += wordFor(outcome) + " ";
  }
  EXPECT_EQ(words, "goes trashed removed not_there kept stayed comes_back restored lost ");
  for (const auto& [kind, word] :
       {std::pair(ItemKind::File, "file"), std::pair(ItemKind::Link, "link"), std::pair(ItemKind::Other, "other")}) {
    ReportItem each = item(Outcome::Goes);
    each.kind = kind;
    EXPECT_THAT(reportJson(reportOf({each})), HasSubstr("\"kind\": \"" + std::string(word) + "\""));
  }
}

/// As if the catalogue had wide characters for everything.
class Wide final : public uninstaller::Language {
 public:
  std::string translated(std::string_view english) const override {
    if (english == "{sentence} {further}") return "{sentence}{further}";
    return english == "OUTCOME" ? "結果" : english == "stayed" ? "残存" : "<" + std::string(english) + ">";
  }
  std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const override {
    return translated(count == 1 ? one : many);
  }
  std::string systemMessage(std::string_view english) const override { return std::string(english); }
  std::string decimalPoint() const override { return ","; }
};

class ReportInALanguage : public ::testing::Test {
 public:
  ReportInALanguage() { uninstaller::useLanguage(language_); }
  ~ReportInALanguage() override { uninstaller::useLanguage(uninstaller::english()); }

 private:
  Wide language_;
};

TEST_F(ReportInALanguage, HasATableWhoseColumnsAreAsWideAsTheirTexts) {
  EXPECT_EQ(reportTable(reportOf({stayed(true)})),
            "結果  <SIZE>     <WHOSE>         <TRASH OF>  <ITEM>\n"
            "残存  <2,00 KB>  <the computer>              /Applications/Tessaly.app\n"
            "                                             <It is busy.>\n"
            "<1 item stayed.><More rights are needed; run it as root.>\n");
}

TEST_F(ReportInALanguage, TranslatesAProblemThatNamesTheSystems) {
  Report report = reportOf({});
  report.problem = "It couldn’t be created again: No such file or directory.";
  EXPECT_EQ(reportTable(report), "<It couldn’t be created again: No such file or directory.>\n");
}

TEST_F(ReportInALanguage, StaysEnglishForPrograms) {
  const Report report = reportOf({stayed(true)});
  EXPECT_EQ(summaryOf(report), "1 item stayed. More rights are needed; run it as root.");
  EXPECT_THAT(reportJson(report), AllOf(HasSubstr("\"summary\": \"1 item stayed."),
                                        HasSubstr("\"outcome\": \"stayed\", \"reason\": \"It is busy.\"")));
}

}  // namespace
}  // namespace qm::removal
