// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include "Platform/linux/archives/ToolArguments.h"
#include "tests/archives/ArchiveTest.h"

namespace qm::testing {
namespace {

using linux_::KeepParent;
using linux_::parsedArguments;
using Command = linux_::ToolArguments::Command;

const std::string kUsage =
    "Usage: tessaly-ditto -ck [--keepParent] ITEM ARCHIVE\n"
    "       tessaly-ditto -xk ARCHIVE FOLDER\n";

class ZipToolArguments : public ArchiveTest {};

TEST_F(ZipToolArguments, AreTheMacsForMakingAnArchive) {
  for (const auto& words : std::vector<std::vector<std::string>>{
           {"-ck", "/item", "/archive"}, {"-c", "-k", "/item", "/archive"}, {"-kc", "--", "/item", "/archive"}}) {
    const auto parsed = parsedArguments(words);
    ASSERT_TRUE(parsed) << words.front();
    EXPECT_EQ(parsed->command, Command::Compress);
    EXPECT_EQ(parsed->keepParent, KeepParent::No);
    EXPECT_EQ(parsed->source, "/item");
    EXPECT_EQ(parsed->destination, "/archive");
  }
}

TEST_F(ZipToolArguments, SayWhetherTheParentIsKept) {
  const auto parsed = parsedArguments({"-ck", "--keepParent", "/item", "/archive"});
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->keepParent, KeepParent::Yes);
}

TEST_F(ZipToolArguments, AreTheMacsForUnpacking) {
  const auto parsed = parsedArguments({"-xk", "/archive", "/folder"});
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->command, Command::Extract);
  EXPECT_EQ(parsed->source, "/archive");
  EXPECT_EQ(parsed->destination, "/folder");
}

TEST_F(ZipToolArguments, MayBePathsThatLookLikeOptionsAfterTheEndOfOptions) {
  const auto parsed = parsedArguments({"-ck", "--", "-x", "-k"});
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->source, "-x");
  EXPECT_EQ(parsed->destination, "-k");
}

TEST_F(ZipToolArguments, ThatAreAnythingElseGiveTheUsageAndDoNothing) {
  const std::string item = makeFile("item");
  const std::string archive = path("a.zip");
  const std::vector<std::vector<std::string>> all = {{},
                                                     {"-ck"},
                                                     {"-ck", item},
                                                     {"-ck", item, archive, archive},
                                                     {"-c", item, archive},
                                                     {"-k", item, archive},
                                                     {"-cxk", item, archive},
                                                     {"-xk", "--keepParent", archive, item},
                                                     {"-ckz", item, archive},
                                                     {"--sequesterRsrc", "-ck", item, archive},
                                                     {item, archive},
                                                     {"-ck", "", archive},
                                                     {"-ck", item, ""},
                                                     {"-", item, archive}};
  for (const auto& arguments : all) {
    const ProgramRun run = runZipTool(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.output, kUsage);
  }
  EXPECT_FALSE(isThere(archive));
}

TEST_F(ZipToolArguments, AreTakenFromTheWorkingFolderWhenTheyAreRelative) {
  makeFile("item/file");
  const ProgramRun packed = runProgram({"env", "-C", path(""), zipTool(), "-ck", "--keepParent", "item", "a.zip"});
  EXPECT_EQ(packed.status, 0) << packed.output;
  const ProgramRun unpacked = runProgram({"env", "-C", path(""), zipTool(), "-xk", "a.zip", "new/folder"});
  EXPECT_EQ(unpacked.status, 0) << unpacked.output;
  EXPECT_EQ(contentsOf(path("new/folder/item/file")), "contents");
}

}  // namespace
}  // namespace qm::testing
