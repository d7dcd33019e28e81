// SPDX-License-Identifier: MIT

// Which command lines of the file tools are understood.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/FileCommand.h"

namespace qm::linux_ {
namespace {

using Words = std::vector<std::string>;

std::string reasonAgainst(const std::string& tool, const Words& arguments) {
  const auto command = parseFileCommand(tool, arguments);
  if (!command) return "no file tool";
  if (*command) return "";
  EXPECT_EQ(command->problem().error, EINVAL);
  return command->problem().reason;
}

TEST(CommandOfAFileTool, HasItsOptionsAndPaths) {
  struct Case {
    const char* tool;
    FileCommandKind kind;
    Words options;
  };
  const Case cases[] = {{"mv", FileCommandKind::Move, {"-f"}},
                        {"cp", FileCommandKind::Copy, {"-fpR", "-f", "-p", "-R"}},
                        {"rm", FileCommandKind::Remove, {"-Rrdf", "-r", "-d"}},
                        {"mkdir", FileCommandKind::MakeFolders, {"-p"}},
                        {"touch", FileCommandKind::Touch, {"-c"}}};
  for (const Case& one : cases) {
    Words arguments = one.options;
    arguments.insert(arguments.end(), {"/a", "/b"});
    const auto command = parseFileCommand(one.tool, arguments);
    ASSERT_TRUE(command && *command) << one.tool;
    EXPECT_EQ((*command)->kind, one.kind);
    EXPECT_EQ((*command)->options, one.options);
    EXPECT_EQ((*command)->operands, (Words{"/a", "/b"}));
    EXPECT_FALSE((*command)->meansHollowFolder());
  }
}

TEST(CommandOfAFileTool, HasAsManyPathsAsTheToolTakes) {
  for (const std::string tool : {"mv", "cp"}) {
    for (const Words& paths : {Words{}, {"/a"}, {"/a", "/b", "/c"}}) {
      EXPECT_EQ(reasonAgainst(tool, paths), "wrong number of paths for " + tool);
    }
  }
  for (const std::string tool : {"rm", "mkdir", "touch"}) {
    EXPECT_EQ(reasonAgainst(tool, {}), "wrong number of paths for " + tool);
    for (const Words& paths : {Words{"/a"}, {"/a", "/b", "/c"}}) EXPECT_EQ(reasonAgainst(tool, paths), "");
  }
}

TEST(CommandOfAFileTool, HasNoOptionOfAnotherTool) {
  for (const std::string tool : {"mv", "cp", "rm", "mkdir", "touch"}) {
    for (const std::string option : {"-x", "-fx", "-", "--", "-n"}) {
      EXPECT_EQ(reasonAgainst(tool, {option, "/a", "/b"}),
                option + " is neither an absolute path nor a known option of " + tool);
    }
  }
  EXPECT_EQ(reasonAgainst("ls", {"/a"}), "no file tool");
}

TEST(CommandOfAFileTool, MayMeanOneHollowFolder) {
  const auto command = parseFileCommand("rm", {"--if-hollow", "/a"});
  ASSERT_TRUE(command && *command);
  EXPECT_TRUE((*command)->meansHollowFolder());
  for (const Words& paths : {Words{"--if-hollow"}, {"--if-hollow", "/a", "/b"}}) {
    EXPECT_EQ(reasonAgainst("rm", paths), "--if-hollow takes one path");
  }
}

}  // namespace
}  // namespace qm::linux_
