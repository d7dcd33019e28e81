// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "tests/archives/ArchiveTest.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Snapshot = std::map<std::string, std::string>;

const std::string kPythonUnpack = R"(
import os, sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as archive:
    assert archive.testzip() is None
    for item in archive.infolist():
        print(item.filename.encode("unicode_escape").decode(), item.file_size, oct(item.external_attr >> 16), item.compress_type)
)";

const std::string kPythonPack = R"(
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as archive:
    for mode, name, text in ((0o100751, "item/program", "#!"), (0o100600, "item/\u65e5\u672c \u00e9", "text"),
                             (0o040750, "item/folder/", ""), (0o120777, "item/link", "program")):
        item = zipfile.ZipInfo(name, (2001, 9, 9, 1, 46, 40))
        item.external_attr = mode << 16
        item.compress_type = zipfile.ZIP_DEFLATED
        archive.writestr(item, text)
    with archive.open(zipfile.ZipInfo("large format"), "w", force_zip64=True) as item:
        item.write(b"64")
)";

class OtherPrograms : public ArchiveTest {
 protected:
  Snapshot makeItem() {
    makeFile("item/program", "#!");
    ::chmod(path("item/program").c_str(), 0751);
    makeFile("item/\xC3\xA4 \xE6\x97\xA5", std::string(200'000, 'x'));
    makeFile("item/empty", "");
    makeFolder("item/folder", 0750);
    makeFile("item/folder/below/file");
    makeLink("item/link", "program");
    setModified(path("item/program"), 1'000'000'002);  // even, because the old formats store times that way
    return snapshot(path("item"));
  }

  void expectSuccess(const std::vector<std::string>& command) {
    const ProgramRun run = runProgram(command);
    EXPECT_EQ(run.status, 0) << command.front() << ": " << run.output;
  }

  void pack() {
    const ProgramRun run = runZipTool({"-ck", path("item"), path("a.zip")});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "");
  }

  void expectToUnpack(const std::string& archive, const Snapshot& expected) {
    const ProgramRun run = runZipTool({"-xk", archive, path("new")});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(snapshot(path("new")), expected);
  }
};

TEST_F(OtherPrograms, UnzipReadsWhatIsPacked) {
  const Snapshot before = makeItem();
  pack();
  expectSuccess({"env", "LC_ALL=C.UTF-8", "unzip", "-q", path("a.zip"), "-d", path("unzipped")});
  EXPECT_EQ(snapshot(path("unzipped")), before);
}

TEST_F(OtherPrograms, SevenZipReadsWhatIsPacked) {
  const Snapshot before = makeItem();
  pack();
  expectSuccess({"env", "LC_ALL=C.UTF-8", "7zz", "x", path("a.zip"), "-o" + path("unzipped")});
  EXPECT_EQ(snapshot(path("unzipped")), before);
}

TEST_F(OtherPrograms, PythonReadsWhatIsPacked) {
  makeItem();
  pack();
  const ProgramRun run = runProgram({"python3", "-c", kPythonUnpack, path("a.zip")});
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("program 2 0o100751 8\n"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("\\xe4 \\u65e5 200000 0o100644 8\n"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("folder/ 0 0o40750 "), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("link 7 0o120777 "), std::string::npos) << run.output;
}

// In memory, where reading the hole of which the file mostly consists fills no cache.
TEST_F(OtherPrograms, SeeAFileOfMoreThanFourGigabytes) {
  runInPrivateMachine([] {
    const std::string item = machineFolder() + "/large";
    const std::string archive = machineFolder() + "/a.zip";
    const posix::UniqueFd file(::open(item.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_EQ(::ftruncate(file.get(), (off_t{1} << 32) + 1), 0);
    ASSERT_EQ(::pwrite(file.get(), "end", 3, (off_t{1} << 32) - 2), 3);
    const ProgramRun packed = runZipTool({"-ck", item, archive});
    EXPECT_EQ(packed.status, 0) << packed.output;
    EXPECT_EQ(packed.output, "");
    const ProgramRun listed = runProgram({"unzip", "-Zl", archive});
    EXPECT_NE(listed.output.find("4294967297"), std::string::npos) << listed.output;
  });
}

TEST_F(OtherPrograms, WriteWithZipWhatIsUnpacked) {
  const Snapshot before = makeItem();
  for (const std::string locale : {"C", "C.UTF-8"}) {
    expectSuccess({"env", "-C", path("item"), "LC_ALL=" + locale, "zip", "-qry", path("a.zip"), "."});
    expectToUnpack(path("a.zip"), before);
    std::filesystem::remove_all(path("new"));
    ASSERT_EQ(::unlink(path("a.zip").c_str()), 0);
  }
}

TEST_F(OtherPrograms, WriteWithBsdtarWhatIsUnpacked) {
  const Snapshot before = makeItem();
  expectSuccess({"env", "-C", path("item"), "LC_ALL=C.UTF-8", "bsdtar", "--format", "zip", "-cf", path("a.zip"),
                 "program", "empty", "folder", "link", "\xC3\xA4 \xE6\x97\xA5"});
  expectToUnpack(path("a.zip"), before);
}

TEST_F(OtherPrograms, WriteWithSevenZipWhatIsUnpacked) {
  makeItem();
  expectSuccess({"env", "-C", path("item"), "LC_ALL=C.UTF-8", "7zz", "a", "-tzip", "-snl", path("a.zip"), "."});
  const ProgramRun run = runZipTool({"-xk", path("a.zip"), path("new")});
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(contentsOf(path("new/\xC3\xA4 \xE6\x97\xA5")), std::string(200'000, 'x'));
  EXPECT_EQ(attributesOf(path("new/program")).st_mode & 07777, 0751U);
  EXPECT_EQ(attributesOf(path("new/program")).st_mtim.tv_sec, 1'000'000'002);
  EXPECT_EQ(snapshot(path("new")).at("link"), "120777 to program");
  EXPECT_TRUE(isThere(path("new/folder/below/file")));
}

TEST_F(OtherPrograms, MayCompressInOtherWays) {
  makeFile("item/file", std::string(200'000, 'x'));
  for (const std::string method : {"Copy", "Deflate", "BZip2", "LZMA", "PPMd"}) {
    const std::string archive = path(method + ".zip");
    expectSuccess({"7zz", "a", "-tzip", "-mx=9", "-mm=" + method, archive, path("item")});
    const ProgramRun run = runZipTool({"-xk", archive, path(method)});
    EXPECT_EQ(run.status, 0) << method << run.output;
    EXPECT_EQ(contentsOf(path(method + "/item/file")), std::string(200'000, 'x')) << method;
  }
}

TEST_F(OtherPrograms, MayCompressLinksToo) {
  const char* const script =
      "import sys, zipfile\n"
      "link = zipfile.ZipInfo('link')\n"
      "link.create_system = 3\n"
      "link.external_attr = 0o120777 << 16\n"
      "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
      "  z.writestr(link, 'x' * 100, getattr(zipfile, sys.argv[2]))\n";
  for (const std::string method : {"ZIP_STORED", "ZIP_DEFLATED", "ZIP_LZMA"}) {
    expectSuccess({"python3", "-c", script, path(method + ".zip"), method});
    const ProgramRun run = runZipTool({"-xk", path(method + ".zip"), path(method)});
    EXPECT_EQ(run.status, 0) << method << run.output;
    EXPECT_EQ(snapshot(path(method)).at("link"), "120777 to " + std::string(100, 'x')) << method;
  }
}

TEST_F(OtherPrograms, WriteWithPythonWhatIsUnpacked) {
  expectSuccess({"python3", "-c", kPythonPack, path("a.zip")});
  const ProgramRun run = runZipTool({"-xk", path("a.zip"), path("new")});
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(contentsOf(path("new/item/\xE6\x97\xA5\xE6\x9C\xAC \xC3\xA9")), "text");
  EXPECT_EQ(contentsOf(path("new/large format")), "64");
  EXPECT_EQ(attributesOf(path("new/item/program")).st_mode & 07777, 0751U);
  EXPECT_EQ(attributesOf(path("new/item/folder")).st_mode & 07777, 0750U);
  EXPECT_EQ(snapshot(path("new")).at("item/link"), "120777 to program");
}

}  // namespace
}  // namespace qm::testing
