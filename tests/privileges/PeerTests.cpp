// SPDX-License-Identifier: MIT

// The helper's end of the connection: whose messages are accepted and whose are not.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <string>

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/HelperSession.h"
#include "Platform/linux/privileges/helper/PeerSocket.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::PeerSocket;
using posix::UniqueFd;

// Both ends of a connection that somebody has created.
struct Ends {
  UniqueFd application;
  UniqueFd helper;
};

Ends connect(uid_t maker, int type = SOCK_STREAM) {
  int ends[2] = {-1, -1};
  EXPECT_EQ(::seteuid(maker), 0);
  EXPECT_EQ(::socketpair(AF_UNIX, type, 0, ends), 0);
  EXPECT_EQ(::seteuid(0), 0);
  // Like the helper, before anybody may send.
  const int on = 1;
  EXPECT_EQ(::setsockopt(ends[1], SOL_SOCKET, SO_PASSCRED, &on, sizeof on), 0);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

// The bytes of a process, as the user with this id.
void say(const UniqueFd& socket, const std::string& text, uid_t speaker) {
  EXPECT_EQ(::setresuid(speaker, speaker, 0), 0);
  EXPECT_EQ(::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  EXPECT_EQ(::setresuid(0, 0, 0), 0);
}

std::string received(const UniqueFd& socket) {
  char text[256] = {};
  const ssize_t got = ::recv(socket.get(), text, sizeof text, MSG_DONTWAIT);
  return got > 0 ? std::string(text, static_cast<std::size_t>(got)) : std::string();
}

// Runs `body` in a child of this process, as the helper is a child of the application.
bool asHelper(const std::function<void()>& body) { return inChild(body); }

TEST(PeerSocket, HearsItsParent) {
  runInPrivateMachine([] {
    Ends ends = connect(kPerson);
    say(ends.application, "hello", kPerson);
    asHelper([&] {
      PeerSocket peer(std::move(ends.helper), kPerson);
      ASSERT_TRUE(peer.isOpen());
      std::string text;
      EXPECT_EQ(peer.receive(text), PeerSocket::Received::Bytes);
      EXPECT_EQ(text, "hello");
      EXPECT_EQ(peer.receive(text), PeerSocket::Received::Nothing);
      EXPECT_TRUE(peer.isOpen());
    });
  });
}

TEST(PeerSocket, HearsNoOtherPersonEvenInItsParent) {
  runInPrivateMachine([] {
    for (const uid_t speaker : {uid_t{0}, kOther}) {
      Ends ends = connect(kPerson);
      say(ends.application, "evil", speaker);
      asHelper([&] {
        PeerSocket peer(std::move(ends.helper), kPerson);
        ASSERT_TRUE(peer.isOpen());
        std::string text;
        EXPECT_EQ(peer.receive(text), PeerSocket::Received::End);
        EXPECT_EQ(text, "");
        EXPECT_FALSE(peer.isOpen());
      });
    }
  });
}

TEST(PeerSocket, HearsNoOtherProcessOfThePerson) {
  runInPrivateMachine([] {
    Ends ends = connect(kPerson);
    asHelper([&] {
      PeerSocket peer(std::move(ends.helper), kPerson);
      ASSERT_TRUE(peer.isOpen());
      inChild([&] { say(ends.application, "evil", kPerson); });
      std::string text;
      EXPECT_EQ(peer.receive(text), PeerSocket::Received::End);
      EXPECT_EQ(text, "");
    });
  });
}

// An application whose helper has more to send than the connection holds, while a third process holds the application's
// end and reads nothing. None outlives the test by much. `said` gets the third's id once there is something to read,
// and a word when the helper has sent everything that it will.
pid_t applicationWithATalkativeHelper(UniqueFd& said) {
  int pipe[2] = {-1, -1};
  EXPECT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
  said.reset(pipe[0]);
  const UniqueFd writing(pipe[1]);
  const pid_t application = ::fork();
  if (application != 0) return application;
  ::alarm(60);
  Ends ends = connect(kPerson);
  const auto tell = [&](const void* bytes, std::size_t size) {
    if (::write(writing.get(), bytes, size) < 0) ::_exit(1);
  };
  if (::fork() == 0) {
    ::alarm(60);
    pollfd talk{ends.application.get(), POLLIN, 0};
    const pid_t self = ::getpid();
    if (::poll(&talk, 1, -1) == 1) tell(&self, sizeof self);
    for (;;) ::pause();
  }
  if (::fork() == 0) {
    ::alarm(60);
    PeerSocket(std::move(ends.helper), kPerson).send(std::string(std::size_t{64} << 20U, 'x'));
    tell("ended", 5);
    ::_exit(0);
  }
  for (;;) ::pause();
}

TEST(PeerSocket, StopsTalkingWhenItsParentEndsEvenIfSomebodyElseHoldsTheOtherEndAndReadsNothing) {
  runInPrivateMachine([] {
    UniqueFd said;
    const pid_t application = applicationWithATalkativeHelper(said);
    ASSERT_GT(application, 0);
    pid_t holder = -1;
    ASSERT_EQ(::read(said.get(), &holder, sizeof holder), static_cast<ssize_t>(sizeof holder));
    EXPECT_EQ(::kill(application, SIGKILL), 0);
    EXPECT_EQ(::waitpid(application, nullptr, 0), application);
    char word[8] = {};
    EXPECT_EQ(::read(said.get(), word, sizeof word), 5);
    EXPECT_EQ(::kill(holder, SIGKILL), 0);
  });
}

// Both in one read: bytes of the permitted sender are not mixed with what follows.
TEST(PeerSocket, HearsWhatItsParentSaidBeforeAnotherSpeaks) {
  runInPrivateMachine([] {
    Ends ends = connect(kPerson);
    say(ends.application, "hello", kPerson);
    say(ends.application, "evil", kOther);
    asHelper([&] {
      PeerSocket peer(std::move(ends.helper), kPerson);
      std::string text;
      EXPECT_EQ(peer.receive(text), PeerSocket::Received::Bytes);
      EXPECT_EQ(text, "hello");
      EXPECT_EQ(peer.receive(text), PeerSocket::Received::End);
      EXPECT_EQ(text, "hello");
    });
  });
}

// The process of a launch leaves it to the helper, which still needs it.
TEST(PeerSocket, IsLeftWithoutBeingClosedForTheOtherProcesses) {
  runInPrivateMachine([] {
    Ends ends = connect(kPerson);
    asHelper([&] {
      PeerSocket peer(std::move(ends.helper), kPerson);
      inChild([&] {
        peer.leave();
        EXPECT_FALSE(peer.isOpen());
        EXPECT_EQ(peer.descriptor(), -1);
        EXPECT_EQ(peer.peerDescriptor(), -1);
      });
      peer.send("hello");
    });
    EXPECT_EQ(received(ends.application), "hello");
  });
}

TEST(PeerSocket, IsNotOpenedForAConnectionOfAnotherPersons) {
  runInPrivateMachine([] {
    Ends ends = connect(kOther);
    asHelper([&] { EXPECT_FALSE(PeerSocket(std::move(ends.helper), kPerson).isOpen()); });
    EXPECT_EQ(received(ends.application), "");
  });
}

TEST(PeerSocket, IsNotOpenedForAConnectionOfAnotherProcesss) {
  runInPrivateMachine([] {
    Ends ends = connect(kPerson);
    asHelper([&] {
      asHelper([&] { EXPECT_FALSE(PeerSocket(std::move(ends.helper), kPerson).isOpen()) << "a grandparent's"; });
    });
  });
}

TEST(PeerSocket, IsNotOpenedForWhatIsNoConnection) {
  runInPrivateMachine([] {
    Ends datagrams = connect(kPerson, SOCK_DGRAM);
    asHelper([&] {
      EXPECT_FALSE(PeerSocket(std::move(datagrams.helper), kPerson).isOpen());
      EXPECT_FALSE(PeerSocket(UniqueFd(::open("/dev/null", O_RDWR | O_CLOEXEC)), kPerson).isOpen());
      EXPECT_FALSE(PeerSocket(UniqueFd(), kPerson).isOpen());
    });
  });
}

TEST(HelperSession, DoesNothingForAWrongPeer) {
  runInPrivateMachine([] {
    const std::string made = machineFolder() + "/made";
    for (const uid_t speaker : {kPerson, kOther}) {
      Ends ends = connect(kPerson);
      say(ends.application, *linux_::encoded(linux_::Launch{1, "/usr/bin/touch", {made}}), speaker);
      asHelper([&] {
        PeerSocket peer(std::move(ends.helper), kPerson);
        const linux_::AnyToolPolicy policy(kProduct);
        const linux_::UserRecord sam = person();
        linux_::HelperSession session(peer, policy, sam);
        ::shutdown(ends.application.get(), SHUT_WR);  // nothing more is sent
        session.run();
      });
      const std::string hello = *linux_::encoded(linux_::Hello{});
      const std::string answer = received(ends.application);
      EXPECT_EQ(answer.size() > hello.size(), speaker == kPerson) << "the other one gets no answer";
    }
  });
}

}  // namespace
}  // namespace qm::testing
