// SPDX-License-Identifier: MIT
#include "Uninstaller/Language.h"

#include <gtest/gtest.h>

#include "Uninstaller/RemovalDetails.h"
#include "Uninstaller/Sentences.h"

namespace qm::testing {
namespace {

using namespace qm::uninstaller;

/// Shows what was looked up in the catalogue, by brackets, and what in the system's.
class Brackets final : public Language {
 public:
  std::string translated(std::string_view english) const override { return "[" + std::string(english) + "]"; }
  std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const override {
    return translated(count == 1 ? one : many);
  }
  std::string systemMessage(std::string_view english) const override {
    return english == "Input/output error" ? "<" + std::string(english) + ">" : std::string(english);
  }
  std::string decimalPoint() const override { return ","; }
};

const Brackets kBrackets;

class UsedLanguage : public ::testing::Test {
 public:
  ~UsedLanguage() override { useLanguage(english()); }
};

TEST(Placeholders, AreFilledInTheOrderOfTheText) {
  EXPECT_EQ(filled("{b} of {a}", {{"a", "1"}, {"b", "2"}}), "2 of 1");
  EXPECT_EQ(filled("{a}{a}", {{"a", "x"}}), "xx");
  EXPECT_EQ(filled("", {{"a", "x"}}), "");
}

TEST(Placeholders, MeanNothingInValues) { EXPECT_EQ(filled("{a}{b}", {{"a", "{b}"}, {"b", "{a}"}}), "{b}{a}"); }

TEST(Placeholders, StayWhereThereIsNoValue) {
  EXPECT_EQ(filled("{a} {b} {", {{"a", "x"}}), "x {b} {");
  EXPECT_EQ(filled("{", {}), "{");
}

TEST(Numbers, ChooseTheForm) {
  EXPECT_EQ(counted(english(), 1, "{count} item", "{count} items"), "1 item");
  EXPECT_EQ(counted(english(), 0, "{count} item", "{count} items"), "0 items");
  EXPECT_EQ(counted(kBrackets, 2, "{count} item, {size}", "{count} items, {size}", {{"size", "3 B"}}),
            "[2 items, 3 B]");
}

TEST(Sizes, HaveTheDecimalPointAndTheUnitsOfTheLanguage) {
  EXPECT_EQ(sizeText(english(), 0), "0 B");
  EXPECT_EQ(sizeText(english(), 1536), "1.50 KB");
  EXPECT_EQ(sizeText(kBrackets, 1), "[1 B]");
  EXPECT_EQ(sizeText(kBrackets, 1536), "[1,50 KB]");
  EXPECT_EQ(sizeText(kBrackets, 1 << 20), "[1,00 MB]");
  EXPECT_EQ(sizeText(kBrackets, 1 << 30), "[1,00 GB]");
}

TEST(SentencesOfServices, AreTranslatedByWhatTheyWereMadeFrom) {
  EXPECT_EQ(inLanguage(kBrackets, "“a b.app” couldn’t be moved to the Trash because a volume is mounted there."),
            "[“a b.app” couldn’t be moved to the Trash because [a volume is mounted there].]");
  EXPECT_EQ(inLanguage(kBrackets, "“a” couldn’t be put back because the Trash folder “/t” belongs to somebody else."),
            "[“a” couldn’t be put back because [the Trash folder “/t” belongs to somebody else].]");
  EXPECT_EQ(inLanguage(kBrackets, "“a” couldn’t be moved to the Trash because of a system error (Input/output error)."),
            "[“a” couldn’t be moved to the Trash because [of a system error (<Input/output error>)].]");
}

TEST(SentencesOfServices, HaveSentencesInThem) {
  EXPECT_EQ(inLanguage(kBrackets, "Not authorized: “a” couldn’t be moved to the Trash because nobody is logged in."),
            "[Not authorized: [“a” couldn’t be moved to the Trash because [nobody is logged in].]]");
  EXPECT_EQ(inLanguage(kBrackets, "/bin/mv was not started: /a: something in it is locked; left as it was: /a"),
            "[/bin/mv was not started: [/a: [something in it is locked]]; left as it was: /a]");
  EXPECT_EQ(inLanguage(kBrackets, "/bin/mv failed with status 1: /a: Input/output error"),
            "[/bin/mv failed with status 1: [/a: [of a system error (<Input/output error>)]]]");
}

TEST(SentencesOfServices, StayEnglishWhereNobodyKnowsThem) {
  EXPECT_EQ(knownInLanguage(kBrackets, "“a” couldn’t be moved to the Trash because of the weather."), std::nullopt);
  EXPECT_EQ(inLanguage(kBrackets, "Something new."), "[Something new.]") << "a whole text of the catalogue";
  EXPECT_EQ(knownInLanguage(kBrackets, ""), std::nullopt);
}

TEST(SentencesOfServices, AreTheCallersToo) {
  constexpr std::string_view own[] = {"It is no use: {system}."};
  EXPECT_EQ(inLanguage(kBrackets, "It is no use: Input/output error.", own), "[It is no use: <Input/output error>.]");
}

TEST(SentencesOfServices, AreAsTheyWereInEnglish) {
  for (const char* sentence : {"“a” couldn’t be moved to the Trash because a volume is mounted there.",
                               "Not authorized: It is busy.", "/a: something in it is locked", "Something new.", ""}) {
    EXPECT_EQ(inLanguage(english(), sentence), sentence);
  }
}

TEST_F(UsedLanguage, IsEnglishAtFirst) {
  EXPECT_EQ(translated("{option} needs a value.", {{"option", "--user"}}), "--user needs a value.");
}

TEST_F(UsedLanguage, IsWhatMainChose) {
  useLanguage(kBrackets);
  EXPECT_EQ(translated("Cancel"), "[Cancel]");
}

TEST_F(UsedLanguage, IsThatOfTheDetailsButNotOfTheReasonsForTheLog) {
  useLanguage(kBrackets);
  ItemResult result;
  result.planned.path = "/a";
  EXPECT_EQ(reasonToStay(result), "The system gives no reason.");
  EXPECT_EQ(removalDetails({result}), "/a\n[The system gives no reason.]\n");
}

}  // namespace
}  // namespace qm::testing
