// SPDX-License-Identifier: MIT
#include "Platform/posix/WholeAnswer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace qm::posix {
namespace {

using ::testing::Optional;

struct Facts {
  int user = 0;
  int group = 0;
};

/// What is read by a system call that writes so many bytes.
std::optional<Facts> factsOf(int written) {
  return wholeAnswer<Facts>([written](Facts* facts, int size) {
    EXPECT_EQ(size, static_cast<int>(sizeof(Facts)));
    *facts = {501, 20};
    return written;
  });
}

TEST(AnswerOfTheSystem, IsKnownWhereAllOfItIsWritten) {
  const auto facts = factsOf(sizeof(Facts));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->user, 501);
  EXPECT_EQ(facts->group, 20);
}

TEST(AnswerOfTheSystem, IsUnknownWhereItIsRefusedOrOnlyPartOfIt) {
  for (const int written : {-1, 0, 4, 12}) EXPECT_FALSE(factsOf(written)) << written;
}

/// What is read of a text by a system call that has eight bytes of room.
std::optional<std::string> readText(std::string_view text) {
  return wholeText<8>([text](char* bytes, std::size_t room) {
    const std::size_t length = text.empty() ? 0 : text.size() + 1;
    text.substr(0, room - 1).copy(bytes, room - 1);
    return length;
  });
}

TEST(TextOfTheSystem, IsKnownWhereItFits) {
  EXPECT_THAT(readText("/var"), Optional(std::string("/var")));
  EXPECT_THAT(readText("/folder"), Optional(std::string("/folder")));
}

TEST(TextOfTheSystem, IsUnknownWhereItIsCutOffOrThereIsNone) {
  EXPECT_FALSE(readText("/folders"));
  EXPECT_FALSE(readText(""));
}

}  // namespace
}  // namespace qm::posix
