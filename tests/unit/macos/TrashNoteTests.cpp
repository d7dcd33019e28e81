// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qm::macos {
namespace {

TEST(TrashNoteTest, SaysWhereAnItemCameFromAndWhen) {
  const auto note = parsedNote(noteText({"/Users/sam/a folder/ü.txt", "2024-02-29T23:05:07"}));
  ASSERT_TRUE(note);
  EXPECT_EQ(note->origin, "/Users/sam/a folder/ü.txt");
  EXPECT_EQ(note->deletionDate, "2024-02-29T23:05:07");
}

TEST(TrashNoteTest, IsNoneWithoutADate) {
  EXPECT_FALSE(parsedNote(""));
  EXPECT_FALSE(parsedNote("/Users/sam/a"));
  EXPECT_FALSE(parsedNote("2024-02-29 23:05:07 /a"));
  EXPECT_FALSE(parsedNote("2024-02-29T23:05:0x /a"));
  EXPECT_FALSE(parsedNote("2024-02-29T23:05:07 "));
}

TEST(TrashNoteTest, IsNoneWithAPathThatMeansAnotherPlace) {
  EXPECT_FALSE(parsedNote("2024-02-29T23:05:07 a"));
  EXPECT_FALSE(parsedNote("2024-02-29T23:05:07 /a/../b"));
  EXPECT_FALSE(parsedNote("2024-02-29T23:05:07 /a/.."));
  EXPECT_FALSE(parsedNote(std::string("2024-02-29T23:05:07 /a\0b", 24)));
  EXPECT_TRUE(parsedNote("2024-02-29T23:05:07 /a/..b"));
}

}  // namespace
}  // namespace qm::macos
