// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "Platform/linux/system/SystemConsole.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/support/PrivateMachine.h"
#include "tests/unit/system/Stubs.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;
using ::testing::HasSubstr;

/// Standard error for the duration of a scope.
class StandardErrorIs {
 public:
  explicit StandardErrorIs(int descriptor) : saved_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    ::dup2(descriptor, STDERR_FILENO);
  }
  ~StandardErrorIs() { ::dup2(saved_.get(), STDERR_FILENO); }
  StandardErrorIs(const StandardErrorIs&) = delete;
  StandardErrorIs& operator=(const StandardErrorIs&) = delete;

 private:
  UniqueFd saved_;
};

struct Ends {
  explicit Ends(int type) {
    int ends[2] = {-1, -1};
    if (type == 0) {
      EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    } else {
      EXPECT_EQ(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
    }
    reading.reset(ends[0]);
    writing.reset(ends[1]);
  }
  UniqueFd reading, writing;
};

std::string readPiece(int descriptor) {
  std::string piece(1 << 16, '\0');
  const ssize_t count = ::read(descriptor, piece.data(), piece.size());
  piece.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return piece;
}

std::string readToEnd(int descriptor) {
  std::string all;
  for (std::string piece = readPiece(descriptor); !piece.empty(); piece = readPiece(descriptor)) all += piece;
  return all;
}

class SystemConsole : public ::testing::Test {
 protected:
  std::string captured(const std::function<void(platform::Console&)>& body) {
    Ends pipe(0);
    {
      const StandardErrorIs capture(pipe.writing.get());
      linux_::SystemConsole console(clock_, "program");
      body(console);
    }
    pipe.writing.reset();
    return readToEnd(pipe.reading.get());
  }
  std::string prefix() const { return "2024-02-29 23:05:07 +0130 program[" + std::to_string(::getpid()) + "]: "; }

  StubClock clock_;
};

TEST_F(SystemConsole, PrintsADatedLine) {
  EXPECT_EQ(captured([](auto& console) { console.print("Task timed out. Terminating..."); }),
            prefix() + "Task timed out. Terminating...\n");
}

TEST_F(SystemConsole, PrintsAnyTextAsItStands) {
  const std::string odd = "100% %n %s \xff\xc3\xa4 \u2028";
  EXPECT_EQ(captured([&odd](auto& console) { console.print(odd); }), prefix() + odd + "\n");
}

TEST_F(SystemConsole, PrintsNothingThatSteersATerminal) {
  const std::string odd("/home/\x1b[2J\r\t\0\u009b\x9b\x7fu", 18);
  EXPECT_EQ(captured([&odd](auto& console) { console.print(odd); }), prefix() + "/home/ [2J      u\n");
}

TEST_F(SystemConsole, KeepsLineEndsAndEmptyMessages) {
  EXPECT_EQ(captured([](auto& console) {
              console.print("one\ntwo\n");
              console.print("");
            }),
            prefix() + "one\ntwo\n\n" + prefix() + "\n");
}

TEST_F(SystemConsole, WritesAMessageInOnePiece) {
  Ends pair(SOCK_SEQPACKET);
  {
    const StandardErrorIs capture(pair.writing.get());
    linux_::SystemConsole console(clock_, "program");
    console.print("one\ntwo");
    console.print("three");
  }
  EXPECT_EQ(readPiece(pair.reading.get()), prefix() + "one\ntwo\n");
  EXPECT_EQ(readPiece(pair.reading.get()), prefix() + "three\n");
}

TEST_F(SystemConsole, MixesNoLinesOfSeveralThreads) {
  Ends pipe(0);
  std::string all;
  std::thread reading([&] { all = readToEnd(pipe.reading.get()); });
  {
    const StandardErrorIs capture(pipe.writing.get());
    linux_::SystemConsole console(clock_, "program");
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
      threads.emplace_back([&console, number] {
        for (int i = 0; i < 100; ++i) console.print(std::string(60, static_cast<char>('a' + number)));
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  pipe.writing.reset();
  reading.join();
  std::map<std::string, int> lines;
  for (std::size_t at = 0, end = 0; (end = all.find('\n', at)) != std::string::npos; at = end + 1) {
    ++lines[all.substr(at, end - at)];
  }
  ASSERT_EQ(lines.size(), 4U);
  for (int number = 0; number < 4; ++number) {
    EXPECT_EQ(lines[prefix() + std::string(60, static_cast<char>('a' + number))], 100);
  }
}

TEST_F(SystemConsole, WaitsForAFullConsoleInNonBlockingMode) {
  const std::string large(1 << 20, 'x');
  Ends pipe(0);
  ASSERT_EQ(::fcntl(pipe.writing.get(), F_SETFL, O_NONBLOCK), 0);
  std::string all;
  std::thread reading([&] { all = readToEnd(pipe.reading.get()); });
  {
    const StandardErrorIs capture(pipe.writing.get());
    linux_::SystemConsole(clock_, "program").print(large);
  }
  pipe.writing.reset();
  reading.join();
  EXPECT_EQ(all.size(), prefix().size() + large.size() + 1);
}

TEST_F(SystemConsole, PassesOverAConsoleThatIsGone) {
  inChild([this] {
    ::signal(SIGPIPE, SIG_IGN);
    Ends pipe(0);
    pipe.reading.reset();
    const StandardErrorIs capture(pipe.writing.get());
    linux_::SystemConsole console(clock_, "program");
    errno = 0;
    console.print("nobody reads");
    EXPECT_EQ(errno, EPIPE);
    ::close(STDERR_FILENO);
    console.print("nothing there");
    EXPECT_EQ(errno, EBADF);
  });
}

class SystemJournal : public SystemConsole {
 protected:
  /// A machine whose journal is `journal_`.
  void inMachine(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      mountTmpfs("/run");
      std::filesystem::create_directories("/run/systemd/journal");
      journal_.reset(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
      sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
      ASSERT_EQ(::bind(journal_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
      ::unsetenv("JOURNAL_STREAM");
      body();
    });
  }
  static std::string streamName(int descriptor) {
    struct stat stream {};
    ::fstat(descriptor, &stream);
    return std::to_string(stream.st_dev) + ":" + std::to_string(stream.st_ino);
  }

  UniqueFd journal_;
};

TEST_F(SystemJournal, GetsTheMessageUnderTheProgramsName) {
  inMachine([this] {
    EXPECT_EQ(captured([](auto& console) { console.print("100% done"); }), prefix() + "100% done\n");
    const std::string entry = readPiece(journal_.get());
    EXPECT_THAT(entry, HasSubstr("MESSAGE=100% done\n"));
    EXPECT_THAT(entry, HasSubstr("SYSLOG_IDENTIFIER=program\n"));
    EXPECT_THAT(entry, HasSubstr("PRIORITY=5\n"));
  });
}

TEST_F(SystemJournal, GetsAllLinesOfAMessage) {
  inMachine([this] {
    captured([](auto& console) { console.print("one\ntwo"); });
    // A value with newlines is sent with its length in front, eight bytes, little-endian.
    EXPECT_THAT(readPiece(journal_.get()), HasSubstr(std::string("MESSAGE\n\7\0\0\0\0\0\0\0one\ntwo\n", 24)));
  });
}

TEST_F(SystemJournal, GetsAMessageAsItStands) {
  inMachine([this] {
    EXPECT_EQ(captured([](auto& console) { console.print("\x1b[1mbold"); }), prefix() + " [1mbold\n");
    EXPECT_THAT(readPiece(journal_.get()), HasSubstr("MESSAGE=\x1b[1mbold\n"));
  });
}

TEST_F(SystemJournal, GetsAMessageOnceWhenItIsStandardErrorAlready) {
  inMachine([this] {
    Ends pipe(0);
    ::setenv("JOURNAL_STREAM", streamName(pipe.writing.get()).c_str(), 1);
    {
      const StandardErrorIs capture(pipe.writing.get());
      linux_::SystemConsole(clock_, "program").print("once");
    }
    pipe.writing.reset();
    EXPECT_EQ(readToEnd(pipe.reading.get()), prefix() + "once\n");
    EXPECT_EQ(readPiece(journal_.get()), "");
  });
}

TEST_F(SystemJournal, GetsTheMessageWhenStandardErrorWasTheJournalAndIsNot) {
  inMachine([this] {
    ::setenv("JOURNAL_STREAM", "1:2", 1);
    captured([](auto& console) { console.print("both"); });
    EXPECT_THAT(readPiece(journal_.get()), HasSubstr("MESSAGE=both\n"));
  });
}

TEST_F(SystemJournal, IsPassedOverWhenNobodyListens) {
  inMachine([this] {
    journal_.reset();
    EXPECT_EQ(captured([](auto& console) { console.print("still here"); }), prefix() + "still here\n");
  });
}

}  // namespace
}  // namespace qm::testing
