// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/protocol/Messages.h"

#include <gtest/gtest.h>

namespace qm::linux_ {
namespace {

std::string bytesOf(const Message& message) { return encoded(message).value_or("not encoded"); }

std::vector<Message> messagesIn(const std::string& bytes, std::size_t piece) {
  MessageReader reader;
  std::vector<Message> messages;
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    reader.append(std::string_view(bytes).substr(at, piece));
    while (const auto message = reader.next()) messages.push_back(*message);
  }
  EXPECT_FALSE(reader.isBroken());
  return messages;
}

TEST(PrivilegeMessages, ArriveAsTheyWereSentInPiecesOfAnySize) {
  const std::vector<Message> sent = {Hello{}, Launch{7, "/bin/mv", {"-f", "", "a b\n", "\xFF"}},
                                     Started{7, 0, 1234, {}}, Started{~0ULL, 2, -1, "No such file"},
                                     Exited{7, 256, "note"}};
  std::string bytes;
  for (const Message& message : sent) bytes += bytesOf(message);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{64}, bytes.size()}) {
    EXPECT_EQ(messagesIn(bytes, piece), sent) << piece;
  }
}

TEST(PrivilegeMessages, HaveAFixedForm) {
  EXPECT_EQ(bytesOf(Hello{}), std::string("\x04\0\0\0\x01\x01\0\0\0", 9));
  EXPECT_EQ(bytesOf(Launch{1, "t", {"a"}}),
            std::string("\x16\0\0\0\x02\x01\0\0\0\0\0\0\0\x01\0\0\0t\x01\0\0\0\x01\0\0\0a", 27));
}

TEST(PrivilegeMessages, HoldAsManyArgumentsAsTheLimitAllows) {
  const Launch full{1, "/bin/echo", std::vector<std::string>(kMostArguments, "x")};
  EXPECT_EQ(messagesIn(bytesOf(full), 4096), std::vector<Message>{full});
  Launch tooMany = full;
  tooMany.arguments.emplace_back("x");
  EXPECT_FALSE(encoded(tooMany));
}

TEST(PrivilegeMessages, HoldAsManyBytesAsTheLimitAllows) {
  constexpr std::size_t others = 8 + 4 + 1 + 4 + 4;  // number, tool, count, the argument's length
  const Launch full{1, "t", {std::string(kLargestBody - others, 'x')}};
  EXPECT_EQ(messagesIn(bytesOf(full), 65536), std::vector<Message>{full});
  EXPECT_FALSE(encoded(Launch{1, "tt", full.arguments}));
}

TEST(PrivilegeMessages, HoldNoNulByteInAnArgument) {
  EXPECT_FALSE(encoded(Launch{1, "/bin/rm", {std::string("a\0b", 3)}}));
  EXPECT_FALSE(encoded(Launch{1, std::string("/bin/rm\0x", 9), {}}));
}

TEST(PrivilegeMessages, CutLongReasons) {
  const auto messages = messagesIn(bytesOf(Exited{1, 0, std::string(5000, 'n')}), 4096);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(std::get<Exited>(messages.front()).note, std::string(kLongestText, 'n'));
}

struct Malformed {
  const char* what;
  std::string bytes;
};
void PrintTo(const Malformed& malformed, std::ostream* stream) { *stream << malformed.what; }

class MalformedMessage : public ::testing::TestWithParam<Malformed> {};

TEST_P(MalformedMessage, EndsTheStreamForGood) {
  MessageReader reader;
  reader.append(GetParam().bytes);
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.isBroken());
  reader.append(bytesOf(Hello{}));
  EXPECT_FALSE(reader.next());
}

const std::string kLaunchHead("\x02\x01\0\0\0\0\0\0\0", 9);

INSTANTIATE_TEST_SUITE_P(
    EveryRule, MalformedMessage,
    ::testing::Values(Malformed{"an unknown kind", std::string("\0\0\0\0\x09", 5)},
                      Malformed{"kind zero", std::string("\0\0\0\0\0", 5)},
                      Malformed{"a body over the limit", std::string("\x01\0\x10\0\x01", 5)},
                      Malformed{"a huge body", std::string("\xFF\xFF\xFF\xFF\x02", 5)},
                      Malformed{"a body that is too short", std::string("\x03\0\0\0\x01\x01\0\0", 8)},
                      Malformed{"a body that is too long", std::string("\x05\0\0\0\x01\x01\0\0\0\0", 10)},
                      Malformed{"a text that leaves the body",
                                std::string("\x11\0\0\0", 4) + kLaunchHead + std::string("\x06\0\0\0tool!", 9)},
                      Malformed{"a NUL byte in the tool",
                                std::string("\x12\0\0\0", 4) + kLaunchHead + std::string("\x02\0\0\0t\0\0\0\0\0", 10)},
                      Malformed{"a count over the limit",
                                std::string("\x11\0\0\0", 4) + kLaunchHead + std::string("\x01\0\0\0t\x01\x10\0\0", 9)},
                      Malformed{"fewer arguments than counted",
                                std::string("\x11\0\0\0", 4) + kLaunchHead + std::string("\x01\0\0\0t\x01\0\0\0", 9)}));

}  // namespace
}  // namespace qm::linux_
