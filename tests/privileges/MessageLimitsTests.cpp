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

TEST(ArgumentsInAMessage, AreReadUpToTheirLimit) {
  constexpr std::size_t header = 5;
  constexpr std::size_t count = header + 8 + 4;
  std::string bytes = encoded(Launch{1, "", std::vector<std::string>(kMostArguments)}).value_or("");
  MessageReader reader;
  reader.append(bytes);
  EXPECT_TRUE(reader.next());
  bytes[0] = static_cast<char>(bytes[0] + 4);  // one more empty text
  ++bytes[count];
  reader.append(bytes + std::string(4, '\0'));
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.isBroken());
}

// What is missing is not made up for by what follows.
TEST(TextsInAMessage, EndWithinTheMessage) {
  const std::string head("\x10\0\0\0\x02\x01\0\0\0\0\0\0\0", 13);
  MessageReader reader;
  reader.append(head + std::string("\x05\0\0\0\0\0\0\0", 8));
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.isBroken());
}

}  // namespace
}  // namespace qm::linux_
