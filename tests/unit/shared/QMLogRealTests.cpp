// SPDX-License-Identifier: MIT
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/unit/shared/LogTest.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// The log of a fake program, in a real folder.
class LogOnDisk : public LogTest {
 protected:
  LogOnDisk() {
    static auto* const files = new posix::PosixFileSystem;  // outlives the log
    std::string pattern = (fs::temp_directory_path() / "log-XXXXXX").string();
    home_ = ::mkdtemp(pattern.data());
    fakes.users.setHomeDirectory(home_.string());
    fakes.platform.fileSystem = files;
  }
  ~LogOnDisk() override {
    QMLog::finishWriting();
    log().setFileHandle(nullptr);
    fs::remove_all(home_);
  }

  fs::path folder() const { return home_ / "Library" / "Logs" / "Quillmark"; }
  fs::path file(int number) const { return folder() / ("Demo." + std::to_string(number) + ".log"); }
  fs::path home(const std::string& name) const { return home_ / name; }
  static std::string read(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  static void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }
  std::size_t fileCount() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()));
  }

 private:
  fs::path home_;
};

TEST_F(LogOnDisk, IsBegunRotatedAndWritten) {
  for (int round = 1; round <= 7; ++round) {
    QMLog::createNewLog();
    QMLog::appendLog("Round %i", round);
  }
  EXPECT_EQ(fileCount(), 5U);
  for (int number = 1; number <= 5; ++number) {
    EXPECT_EQ(read(file(number)), kHeader + lineOf("Round " + std::to_string(8 - number)));
  }
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(LogOnDisk, GoesOnInTheFileThatIsThere) {
  write(file(1), "old line\n");
  QMLog::appendLog("new");
  EXPECT_EQ(read(file(1)), "old line\n" + lineOf("new"));
}

TEST_F(LogOnDisk, IsNeverMadeByAMessage) {
  QMLog::appendLog("lost");
  EXPECT_FALSE(fs::exists(folder()));
  fs::create_directories(folder());
  QMLog::appendLog("lost");
  EXPECT_TRUE(fs::is_empty(folder()));
  EXPECT_EQ(printed().size(), 4U);
}

TEST_F(LogOnDisk, IsBegunAnewAfterFiveHundredThousandBytesWithNoLineLost) {
  QMLog::createNewLog();
  constexpr std::size_t lineLength = 1'000;
  const std::string message(lineLength - lineOf("").size(), 'x');
  for (int number = 0; number < 501; ++number) QMLog::fastAppendLog("%@", message);
  QMLog::finishWriting();
  EXPECT_EQ(fs::file_size(file(2)), kHeader.size() + 500 * lineLength);
  const std::string rest = read(file(1));
  EXPECT_THAT(rest, StartsWith(kHeader));
  // The notice follows what was waiting, which is at least nothing.
  const std::string last = lineOf(message);
  const std::string notice = lineOf("Log truncated at 500KB");
  EXPECT_TRUE(rest == kHeader + last + notice || rest == kHeader + notice + last);
}

TEST_F(LogOnDisk, IsNotWrittenThroughALink) {
  write(home("victim"), "precious\n");
  fs::create_directories(folder());
  fs::create_symlink(home("victim"), file(1));
  QMLog::appendLog("lost");
  EXPECT_EQ(read(home("victim")), "precious\n");
  EXPECT_EQ(printed().size(), 2U);
  QMLog::createNewLog();
  EXPECT_TRUE(fs::is_symlink(file(2)));
  EXPECT_EQ(read(file(1)), kHeader);
  EXPECT_EQ(read(home("victim")), "precious\n");
}

/// A disk on which the process ends at one of the changes: right before it or right after.
class LastChange : public posix::PosixFileSystem {
 public:
  explicit LastChange(int moment) : moment_(moment) {}

  platform::Status moveItem(const std::string& source, const std::string& destination) override {
    return during([&] { return PosixFileSystem::moveItem(source, destination); });
  }
  platform::Status linkItem(const std::string& source, const std::string& destination) override {
    return during([&] { return PosixFileSystem::linkItem(source, destination); });
  }
  platform::Status removeItem(const std::string& path) override {
    return during([&] { return PosixFileSystem::removeItem(path); });
  }
  platform::Status writeFileAtomically(const std::string& path, std::string_view contents) override {
    return during([&] { return PosixFileSystem::writeFileAtomically(path, contents); });
  }

 private:
  template <class Change>
  platform::Status during(const Change& change) {
    endIfDue();
    const platform::Status done = change();
    endIfDue();
    return done;
  }
  void endIfDue() {
    if (moment_-- == 0) ::_exit(EXIT_FAILURE);
  }

  int moment_;
};

/// Begins a new log in a process that ends at a given moment; returns whether it reached the end before.
bool newLogUpTo(int moment, platform::Platform& services) {
  const pid_t process = ::fork();
  if (process == 0) {
    LastChange files(moment);
    services.fileSystem = &files;
    QMLog::createNewLog();
    ::_exit(EXIT_SUCCESS);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(process, &status, 0), process);
  return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

TEST_F(LogOnDisk, GoesOnInAFileAtWhicheverMomentANewOneWasInterrupted) {
  bool wasComplete = false;
  int moment = 0;
  for (; !wasComplete; ++moment) {
    SCOPED_TRACE("moment " + std::to_string(moment));
    fs::remove_all(folder());
    for (int number = 1; number <= 5; ++number) write(file(number), "old " + std::to_string(number) + "\n");
    wasComplete = newLogUpTo(moment, fakes.platform);
    const std::string current = read(file(1));
    EXPECT_TRUE(current == "old 1\n" || current == kHeader) << current;
    EXPECT_TRUE(current != kHeader || read(file(2)) == "old 1\n");
    QMLog::appendLog("next");
    EXPECT_EQ(read(file(1)), current + lineOf("next"));
    log().setFileHandle(nullptr);
  }
  const int changes = 6;  // the fifth is removed, three are moved, one gets a second name, the header is written
  EXPECT_EQ(moment, 2 * changes + 1);
  EXPECT_THAT(printed(), IsEmpty());
}

TEST_F(LogOnDisk, SaysWhyItCannotBeWritten) {
  write(home("Library"), "no folder");
  QMLog::createNewLog();
  EXPECT_THAT(printed(), ElementsAre("Unable to create folder " + folder().string() + "."));
  EXPECT_EQ(read(home("Library")), "no folder");
}

}  // namespace
}  // namespace qm::testing
