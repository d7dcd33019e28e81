// SPDX-License-Identifier: MIT

// The name of an item in the Trash, and the form of its recorded path.

#include <gtest/gtest.h>

#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/linux/trash/TrashName.h"

namespace qm::linux_ {
namespace {

constexpr std::size_t kLimit = 255;

std::string second(const std::string& name) { return TrashName(name, kLimit).numbered(2); }

TEST(TrashNames, KeepTheirOwnNameFirst) {
  for (const char* name : {"a", "a.txt", ".hidden", "a.", "a.tar.gz", "..."}) {
    EXPECT_EQ(TrashName(name, kLimit).numbered(1), name);
  }
}

TEST(TrashNames, CarryTheNumberBeforeTheExtension) {
  EXPECT_EQ(second("a"), "a 2");
  EXPECT_EQ(second("a.txt"), "a 2.txt");
  EXPECT_EQ(second("Tessaly.app"), "Tessaly 2.app");
  EXPECT_EQ(second("a.tar.gz"), "a.tar 2.gz");
  EXPECT_EQ(second(".hidden"), ".hidden 2");
  EXPECT_EQ(second(".hidden.txt"), ".hidden 2.txt");
  EXPECT_EQ(second("a."), "a 2.");
  EXPECT_EQ(TrashName("a.txt", kLimit).numbered(10000), "a 10000.txt");
}

TEST(TrashNames, LeaveRoomForTheDescription) {
  EXPECT_EQ(TrashName(std::string(245, 'x'), kLimit).numbered(1), std::string(245, 'x'));
  EXPECT_EQ(TrashName(std::string(246, 'x'), kLimit).numbered(1), std::string(245, 'x'));
  EXPECT_EQ(TrashName(std::string(255, 'x'), kLimit).numbered(12), std::string(242, 'x') + " 12");
  EXPECT_EQ(TrashName(std::string(251, 'x') + ".txt", kLimit).numbered(1), std::string(241, 'x') + ".txt");
  EXPECT_EQ(TrashName(std::string(100, 'x') + ".txt", 64).numbered(1), std::string(50, 'x') + ".txt");
}

TEST(TrashNames, ShortenBetweenTwoCharacters) {
  std::string name;
  while (name.size() < 255) name += "日";
  EXPECT_EQ(TrashName(name, kLimit).numbered(1), name.substr(0, 243));
  EXPECT_EQ(TrashName("a" + name.substr(3), kLimit).numbered(1), "a" + name.substr(3, 243));
}

TEST(TrashNames, ShortenBytesThatAreNoTextAtTheLimit) {
  const std::string name(255, '\x80');
  EXPECT_EQ(TrashName(name, kLimit).numbered(1), name.substr(0, 245));
}

TEST(TrashNames, TreatAnOverlongExtensionAsPartOfTheName) {
  const std::string name = "a." + std::string(253, 'x');
  EXPECT_EQ(TrashName(name, kLimit).numbered(2), name.substr(0, 243) + " 2");
}

TEST(FreeNumber, IsTheSmallestOneAfterTenThousandTakenAndFoundWithFewQuestions) {
  int questions = 0;
  const auto isTaken = [&](unsigned number) {
    ++questions;
    return number <= 10000;
  };
  EXPECT_EQ(freeNumber(2, isTaken), 10001U);
  EXPECT_LE(questions, 30);
}

TEST(FreeNumber, IsTheFirstWhenThatIsFree) {
  EXPECT_EQ(freeNumber(2, [](unsigned) { return false; }), 2U);
  EXPECT_EQ(freeNumber(7, [](unsigned) { return false; }), 7U);
}

TEST(FreeNumber, IsFreeWhateverGapsThereAre) {
  const auto isTaken = [](unsigned number) { return number % 3 != 0; };
  EXPECT_EQ(freeNumber(2, isTaken) % 3, 0U);
}

TEST(TrashInfoText, EscapesEverythingButPlainCharactersAndSlashes) {
  EXPECT_EQ(percentEncoded("/a-b_c.d~e/F0"), "/a-b_c.d~e/F0");
  EXPECT_EQ(percentEncoded("a b%\n\t"), "a%20b%25%0A%09");
  EXPECT_EQ(percentEncoded("\xff\x80é"), "%FF%80%C3%A9");
  EXPECT_EQ(percentEncoded("#?&=+;:@[]!'()*,"), "%23%3F%26%3D%2B%3B%3A%40%5B%5D%21%27%28%29%2A%2C");
}

TEST(TrashInfoText, HasItsThreeLines) {
  EXPECT_EQ(trashInfoText("/a b", "2024-02-29T23:05:07"),
            "[Trash Info]\nPath=/a%20b\nDeletionDate=2024-02-29T23:05:07\n");
}

}  // namespace
}  // namespace qm::linux_
