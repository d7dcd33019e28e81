// SPDX-License-Identifier: MIT
#include "Platform/posix/process/ToolOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <vector>

namespace qm::posix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What reading gives, in this order: an error number, or 0 for a character. After that the output ends.
using Answers = std::vector<int>;

ssize_t nextAnswer(void* cookie, char* bytes, std::size_t /*room*/) {
  auto& answers = *static_cast<Answers*>(cookie);
  if (answers.empty()) return 0;
  errno = answers.front();
  answers.erase(answers.begin());
  if (errno != 0) return -1;
  *bytes = 'x';
  return 1;
}

std::FILE* streamOf(Answers& answers) { return ::fopencookie(&answers, "r", {nextAnswer, nullptr, nullptr, nullptr}); }

TEST(OutputOfATool, IsReadToItsEnd) {
  Answers answers{0, 0};
  ToolOutput output(streamOf(answers));
  EXPECT_EQ(output.readCharacter(), 'x');
  EXPECT_EQ(output.readCharacter(), 'x');
  EXPECT_FALSE(output.hasEnded());
  EXPECT_EQ(output.readCharacter(), -1);
  EXPECT_TRUE(output.hasEnded());
}

TEST(OutputOfATool, IsReadOnWhereASignalInterruptsIt) {
  Answers answers{EINTR, EINTR, 0, EINTR};
  ToolOutput output(streamOf(answers));
  EXPECT_EQ(output.readCharacter(), 'x');
  EXPECT_EQ(output.readCharacter(), -1);
  EXPECT_THAT(answers, IsEmpty());
}

TEST(OutputOfATool, IsWaitedForWhereASignalInterruptsIt) {
  Answers answers{0, EINTR, 0, 0};
  ToolOutput output(streamOf(answers));
  output.waitForEnd();
  EXPECT_TRUE(output.hasEnded());
  EXPECT_THAT(answers, IsEmpty());
}

TEST(OutputOfATool, EndsWhereItCannotBeRead) {
  Answers answers{0, EIO, 0};
  ToolOutput output(streamOf(answers));
  output.waitForEnd();
  EXPECT_TRUE(output.hasEnded());
  EXPECT_THAT(answers, ElementsAre(0));  // it has not been asked again
}

}  // namespace
}  // namespace qm::posix
