// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "Platform/macos/system/MacConsole.h"

namespace qm::macos {
namespace {
std::string logged;
}  // namespace

void logLine(const std::string& line) { logged = line; }

namespace {

TEST(MacConsoleTest, PrintsTextAsItIs) {
  MacConsole().print("“ü” stays");
  EXPECT_EQ(logged, "“ü” stays");
}

TEST(MacConsoleTest, ShowsBytesThatAreNoText) {
  MacConsole().print("a\xff\tb\xc3");
  EXPECT_EQ(logged, "a? b?");
}

}  // namespace
}  // namespace qm::macos
