// SPDX-License-Identifier: MIT

// The application's end of the connection to a helper. The test is the helper.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Platform/linux/privileges/HelperConnection.h"
#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/SocketMessage.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/privileges/BlockedThread.h"
#include "tests/privileges/Scripts.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using linux_::Exited;
using linux_::Launch;
using linux_::Message;
using linux_::Started;
using ::testing::ElementsAre;

class AskingConsole : public Console {
 public:
  void print(std::string_view text) override {
    if (meanwhile) meanwhile();
    const std::scoped_lock lock(mutex_);
    lines_.emplace_back(text);
  }
  std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }
  /// Called before anything is recorded.
  std::function<void()> meanwhile;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// A pipe's reading end, from which `text` can be read.
posix::UniqueFd outputOf(const std::string& text) {
  posix::Pipe pipe = posix::makePipe();
  EXPECT_EQ(::write(pipe.writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  return std::move(pipe.reading);
}

std::string textFrom(const posix::UniqueFd& fd) {
  char text[100];
  const ssize_t got = ::read(fd.get(), text, sizeof text);
  return got < 0 ? "(none)" : std::string(text, static_cast<std::size_t>(got));
}

struct Launched {
  AuthorizationStatus status = 1;
  posix::UniqueFd output;
};

class ConnectionToAHelper : public ::testing::Test {
 protected:
  ConnectionToAHelper() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    own.reset(ends[0]);
    helper.reset(ends[1]);
  }

  void TearDown() override {
    helper.reset();
    if (connection) connection->end();
  }

  void connect() {
    connection.emplace(std::move(own), std::move(program), console);
    EXPECT_TRUE(connection->isOpen());
  }
  /// Connects to a script, whose standard input is the helper's end.
  void connectTo(const std::string& commands) {
    scripts.write("program", commands);
    ASSERT_EQ(program.start(scripts.at("program"), {}, {.input = helper.get()}), 0);
    helper.reset();
    connect();
  }

  std::future<Launched> launch(const std::string& tool, const std::vector<std::string>& arguments = {}) {
    return std::async(std::launch::async, [this, tool, arguments] {
      Launched launched;
      launched.status = connection->launch(tool, arguments, &launched.output);
      return launched;
    });
  }

  /// What the application asks for next; a launch without a tool at the end.
  Launch next() {
    auto message = reader.next();
    char block[4096];
    for (ssize_t got = 0; !message && (got = ::recv(helper.get(), block, sizeof block, 0)) > 0; message = reader.next())
      reader.append({block, static_cast<std::size_t>(got)});
    return message ? std::get<Launch>(*message) : Launch();
  }

  void sendBytes(const std::string& bytes) const {
    EXPECT_EQ(::send(helper.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  void send(const Message& message) const { sendBytes(*linux_::encoded(message)); }
  void send(const Message& message, const posix::UniqueFd& descriptor) const {
    std::string bytes = *linux_::encoded(message);
    posix::SocketMessage<int> sent(bytes.data(), bytes.size());
    sent.attach(SCM_RIGHTS, descriptor.get());
    EXPECT_EQ(::sendmsg(helper.get(), sent.get(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  /// The application has read everything that was sent.
  bool isRead() const {
    int unread = 0;
    return ::ioctl(helper.get(), SIOCOUTQ, &unread) == 0 && unread == 0;
  }
  bool isAtEnd() const {
    char unused = 0;
    return ::recv(helper.get(), &unused, 1, MSG_DONTWAIT) == 0;
  }

  Scripts scripts;
  AskingConsole console;
  posix::UniqueFd own, helper;
  linux_::ChildProgram program;
  linux_::MessageReader reader;
  std::optional<linux_::HelperConnection> connection;
};

TEST_F(ConnectionToAHelper, StartsEachToolUnderItsNumber) {
  connect();
  for (const std::uint64_t number : {1U, 2U, 3U}) {
    std::future<Launched> launched = launch("/bin/tool", {"one", "two"});
    EXPECT_EQ(next(), (Launch{number, "/bin/tool", {"one", "two"}}));
    send(Started{number, 0, 7, ""}, outputOf("its output"));
    const Launched result = launched.get();
    EXPECT_EQ(result.status, errAuthorizationSuccess);
    EXPECT_EQ(textFrom(result.output), "its output");
    EXPECT_NE(::fcntl(result.output.get(), F_GETFD) & FD_CLOEXEC, 0);
  }
}

TEST_F(ConnectionToAHelper, GivesEachToolItsOwnOutputWhateverTheOrderOfTheAnswers) {
  connect();
  std::future<Launched> first = launch("/first");
  const Launch firstAsked = next();
  std::future<Launched> second = launch("/second");
  const Launch secondAsked = next();
  EXPECT_EQ(firstAsked.tool + secondAsked.tool, "/first/second");
  send(Started{secondAsked.number, 0, 7, ""}, outputOf("second"));
  send(Started{firstAsked.number, 0, 8, ""}, outputOf("first"));
  EXPECT_EQ(textFrom(first.get().output), "first");
  EXPECT_EQ(textFrom(second.get().output), "second");
}

TEST_F(ConnectionToAHelper, GivesNoOutputWhereNoneCame) {
  connect();
  std::future<Launched> launched = launch("/bin/tool");
  next();
  send(Started{1, 0, 7, ""});
  const Launched result = launched.get();
  EXPECT_EQ(result.status, errAuthorizationSuccess);
  EXPECT_FALSE(result.output);
}

TEST_F(ConnectionToAHelper, KeepsAnOutputThatCameWithARefusalForTheNextTool) {
  connect();
  std::future<Launched> refused = launch("/refused");
  next();
  send(Started{1, EPERM, 0, "no"}, outputOf("of the next"));
  EXPECT_EQ(refused.get().status, errAuthorizationToolExecuteFailure);
  std::future<Launched> launched = launch("/next");
  next();
  send(Started{2, 0, 7, ""});
  EXPECT_EQ(textFrom(launched.get().output), "of the next");
}

TEST_F(ConnectionToAHelper, TakesAnAnswerThatComesByteForByte) {
  connect();
  std::future<Launched> launched = launch("/bin/tool");
  next();
  const std::string answer = *linux_::encoded(Started{1, 0, 7, ""});
  for (const char byte : answer) {
    sendBytes(std::string(1, byte));
    EXPECT_TRUE(waitUntil([this] { return isRead(); }));
  }
  EXPECT_EQ(launched.get().status, errAuthorizationSuccess);
}

TEST_F(ConnectionToAHelper, SendsAsMuchAsAnArgumentMayBe) {
  connect();
  const std::vector<std::string> arguments = {std::string(600'000, 'x'), std::string(400'000, 'y')};
  std::future<Launched> launched = launch("/bin/tool", arguments);
  EXPECT_EQ(next(), (Launch{1, "/bin/tool", arguments}));
  send(Started{1, 0, 7, ""});
  EXPECT_EQ(launched.get().status, errAuthorizationSuccess);
}

TEST_F(ConnectionToAHelper, SendsNothingThatHasNoMessage) {
  connect();
  posix::UniqueFd output;
  EXPECT_EQ(connection->launch("/bin/tool", {std::string("a\0b", 3)}, &output), errAuthorizationToolExecuteFailure);
  char unused = 0;
  EXPECT_EQ(::recv(helper.get(), &unused, 1, MSG_DONTWAIT), -1);
  EXPECT_TRUE(connection->isOpen());
}

TEST_F(ConnectionToAHelper, SaysWhyAToolWasNotStartedAndWhatIsLeft) {
  console.meanwhile = [this] { EXPECT_TRUE(connection->isOpen()) << "a console may ask back"; };
  connect();
  std::future<Launched> launched = launch("/bin/mv", {"-f", "/an\nitem", "/other"});
  next();
  send(Started{1, EPERM, 0, "it is\nnot for you"});
  const Launched result = launched.get();
  EXPECT_EQ(result.status, errAuthorizationToolExecuteFailure);
  EXPECT_FALSE(result.output);
  EXPECT_THAT(console.lines(), ElementsAre("/bin/mv was not started: it is not for you; left as it was: /an item"));
}

TEST_F(ConnectionToAHelper, SaysHowAToolEnded) {
  struct Case {
    std::int32_t waitStatus;
    std::string note;
    std::vector<std::string> lines;
  };
  const std::vector<Case> cases = {
      {0, "", {}},
      {0, "one thing\nremains", {"/bin/tool: one thing remains"}},
      {1 << 8, "", {"/bin/tool failed with status 1"}},
      {2 << 8, "no such\nitem", {"/bin/tool failed with status 2: no such item"}},
      {9, "", {"/bin/tool was ended by signal 9"}},
      {1, "too slow", {"/bin/tool was ended by signal 1: too slow"}},
  };
  connect();
  std::vector<std::string> expected;
  for (std::uint64_t number = 1; const Case& each : cases) {
    std::future<Launched> launched = launch("/bin/tool");
    next();
    send(Started{number, 0, 7, ""});
    EXPECT_EQ(launched.get().status, errAuthorizationSuccess);
    send(Exited{number++, each.waitStatus, each.note});
    expected.insert(expected.end(), each.lines.begin(), each.lines.end());
  }
  helper.reset();
  connection->end();
  EXPECT_EQ(console.lines(), expected);
}

TEST_F(ConnectionToAHelper, SaysNothingOfTheEndOfAToolThatDoesNotRun) {
  connect();
  std::future<Launched> refused = launch("/refused");
  next();
  send(Started{1, EPERM, 0, "no"});
  EXPECT_EQ(refused.get().status, errAuthorizationToolExecuteFailure);
  std::future<Launched> launched = launch("/bin/tool");
  next();
  send(Started{2, 0, 7, ""});
  EXPECT_EQ(launched.get().status, errAuthorizationSuccess);
  for (const std::uint64_t number : {1U, 2U, 2U, 99U}) send(Exited{number, 1 << 8, ""});
  helper.reset();
  connection->end();
  EXPECT_THAT(console.lines(), ElementsAre("/refused was not started: no", "/bin/tool failed with status 1"));
}

// MARK: - Its end

TEST_F(ConnectionToAHelper, EndsInTheMiddleOfAnAnswer) {
  connect();
  std::future<Launched> launched = launch("/bin/tool");
  next();
  const std::string answer = *linux_::encoded(Started{1, 0, 7, ""});
  sendBytes(answer.substr(0, answer.size() - 1));
  helper.reset();
  const Launched result = launched.get();
  EXPECT_EQ(result.status, errAuthorizationInvalidRef);
  EXPECT_FALSE(connection->isOpen());
  EXPECT_EQ(launch("/bin/other").get().status, errAuthorizationInvalidRef);
  EXPECT_THAT(console.lines(), ElementsAre()) << "the caller says so";
}

TEST_F(ConnectionToAHelper, EndsAtAMessageThatIsNone) {
  connect();
  sendBytes("\xFF\xFF\xFF\xFF\x02");
  EXPECT_TRUE(waitUntil([this] { return !connection->isOpen(); }));
  EXPECT_TRUE(waitUntil([this] { return isAtEnd(); })) << "the helper is told";
}

TEST_F(ConnectionToAHelper, EndsWhenTheHelperListensNoMore) {
  connect();
  ASSERT_EQ(::shutdown(helper.get(), SHUT_RD), 0);
  EXPECT_EQ(launch("/bin/tool").get().status, errAuthorizationInvalidRef);
  EXPECT_FALSE(connection->isOpen());
}

TEST_F(ConnectionToAHelper, TellsALaunchOfItsEndBeforeTheHelperHasEnded) {
  scripts.makePipe("gate");
  connectTo("head -c 1 > /dev/null\nexec < gate\ncat > /dev/null\necho ended > ended");
  posix::UniqueFd gate(::open(scripts.at("gate").c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_EQ(launch("/bin/tool").get().status, errAuthorizationInvalidRef);
  EXPECT_FALSE(scripts.has("ended"));
  gate.reset();
}

TEST_F(ConnectionToAHelper, IsEndedOnlyOnceTheHelperHasEnded) {
  scripts.makePipe("gate");
  connectTo("cat > /dev/null\nexec 0<&-\nread -r line < gate\necho ended > ended");
  std::future<bool> ended = std::async(std::launch::async, [this] {
    connection->end();
    return scripts.has("ended");
  });
  EXPECT_TRUE(waitUntil([this] { return !connection->isOpen(); }));
  std::ofstream(scripts.at("gate")) << "end\n";
  EXPECT_TRUE(ended.get());
}

TEST_F(ConnectionToAHelper, GoesOnAfterASignal) {
  connect();
  EXPECT_TRUE(interruptThreadIn(SYS_recvmsg));
  EXPECT_TRUE(connection->isOpen());
  std::future<Launched> launched = launch("/bin/tool", {std::string(900'000, 'x')});
  EXPECT_TRUE(interruptThreadIn(SYS_sendto)) << "nobody reads yet";
  EXPECT_EQ(next().arguments.size(), 1U);
  send(Started{1, 0, 7, ""});
  EXPECT_EQ(launched.get().status, errAuthorizationSuccess);
}

TEST_F(ConnectionToAHelper, IsNotOpenWhereNoThreadCanBeMade) {
  inChild([this] {
    failSystemCall(SYS_clone3, EAGAIN);  // the C library's threads; a sanitizer makes its own by clone
    linux_::HelperConnection without(std::move(own), {}, console);
    EXPECT_FALSE(without.isOpen());
    posix::UniqueFd output;
    EXPECT_EQ(without.launch("/bin/tool", {}, &output), errAuthorizationInvalidRef);
    without.end();
    EXPECT_TRUE(isAtEnd()) << "nothing was sent to the helper";
  });
}

}  // namespace
}  // namespace qm::testing
