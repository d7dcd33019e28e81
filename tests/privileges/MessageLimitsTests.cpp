// SPDX-License-Identifier: MIT

// What no message may contain, on the side that writes it and on the side that reads it.

#include <gtest/gtest.h>

#include "Platform/linux/privileges/protocol/Messages.h"

namespace qm::linux_ {
namespace {

TEST(TextsInAMessage, AreWrittenWithoutNulBytesUpToWhereTheyAreCut) {
  const std::string nul("a\0b", 3);
  const std::string late = std::string(kLongestText, 'x') + nul;
  EXPECT_FALSE(encoded(Started{1, 2, 3, nul}));
  EXPECT_FALSE(encoded(Exited{1, 2, nul}));
  EXPECT_TRUE(encoded(Started{1, 2, 3, late}));
  EXPECT_TRUE(encoded(Exited{1, 2, late}));
}

// The message with one byte more in its text, whose length is in these bytes: that of the body, and that of the text.
std::string longer(std::string bytes, std::size_t textLength) {
  for (const std::size_t place : {std::size_t{0}, textLength}) ++bytes[place];
  return bytes + "x";
}

TEST(TextsInAMessage, AreReadUpToTheirLimit) {
  constexpr std::size_t header = 5;
  const std::pair<Message, std::size_t> cases[] = {
      {Started{1, 2, 3, std::string(kLongestText, 'x')}, header + 8 + 4 + 4},
      {Exited{1, 2, std::string(kLongestText, 'x')}, header + 8 + 4}};
  for (const auto& [message, textLength] : cases) {
    const std::string bytes = encoded(message).value_or("");
    MessageReader reader;
    reader.append(bytes);
    EXPECT_TRUE(reader.next() == message);
    reader.append(longer(bytes, textLength));
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.isBroken());
  }
}

}  // namespace
}  // namespace qm::linux_
