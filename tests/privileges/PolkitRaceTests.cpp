// SPDX-License-Identifier: MIT

// Somebody swaps a folder for a link while administrator rights work in it, end to end.

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "tests/privileges/PolkitTest.h"
#include "tests/privileges/Swapper.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

constexpr int kSwaps = 1000;
// Most of the tools find the link and are refused: this many must have reached the work.
constexpr int kStarted = 50;

const std::string kPrecious = "/Applications/precious";

// Everything in it that a tool could have changed.
std::string listing(const std::string& folder) {
  const std::string command = "find " + folder + " -printf '%p %y %U %m %T@ %C@ %s\n'";
  const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
  std::string all;
  for (int character = 0; (character = ::fgetc(output.get())) != EOF;) all += static_cast<char>(character);
  return all;
}

void makePrecious() {
  for (const std::string folder : {"", "/sub", "/item"}) fs::create_directory(kPrecious + folder);
  for (const std::string file : {"/file", "/sub/file", "/item/file"}) std::ofstream(kPrecious + file) << "precious";
}

// Counts what was started, whatever the result.
class Worker {
 public:
  explicit Worker(Application& application) : application_(application) {}

  void run(const std::string& tool, const std::vector<std::string>& arguments) {
    if (application_.start(tool, arguments) != platform::errAuthorizationSuccess) return;
    ++started_;
    while (application_.pipe->readCharacter() >= 0) {
    }
  }
  int started() const { return started_; }

 private:
  Application& application_;
  int started_ = 0;
};

void workIn(Worker& worker, const std::string& home) {
  std::ofstream(home + "/moved") << "moved";
  const std::string folder = home + "/folder";
  worker.run("/bin/mv", {"-f", home + "/moved", folder + "/moved"});
  worker.run("/bin/cp", {"-f", "-p", "-R", home + "/own", folder + "/file"});
  worker.run("/bin/mkdir", {"-p", folder + "/new/newer"});
  worker.run("/bin/rm", {"-Rdf", folder + "/sub/file"});
  worker.run("/bin/rm", {"-Rdf", folder + "/item"});
  worker.run("/bin/mv", {"-f", folder + "/file", "/Applications/taken"});
}

TEST_P(AdministratorRights, AreLedNowhereElseByAFolderThatIsSwappedForALink) {
  makePrecious();
  const std::string before = listing(kPrecious);
  ASSERT_NE(before, "");
  asAccount(GetParam(), [] {
    const std::string home = std::string("/home/") + GetParam().name;
    fs::create_directory(home + "/folder");
    fs::create_symlink(kPrecious, home + "/link");
    std::ofstream(home + "/own") << "own";
    Application application;
    ASSERT_EQ(application.open(kAnna), platform::errAuthorizationSuccess) << application.console.text();
    {
      const Swapper swapper(GetParam().uid, home + "/folder", home + "/link");
      Worker worker(application);
      while (swapper.swaps() < kSwaps || worker.started() < kStarted) workIn(worker, home);
    }
    application.end();
  });
  EXPECT_EQ(listing(kPrecious), before);
  EXPECT_NE(fileText("/Applications/taken"), "precious");
  for (const std::string name : {"folder", "link", "own", "moved"}) {
    fs::remove_all(std::string("/home/") + GetParam().name + "/" + name);
  }
  fs::remove_all("/Applications/taken");
  fs::remove_all(kPrecious);
}

}  // namespace
}  // namespace qm::testing
