// SPDX-License-Identifier: MIT

// The helper's end of the connection where the system, or the peer, lets it down.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/privileges/HelperInAChild.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Received = linux_::PeerSocket::Received;

constexpr std::size_t kMuch = std::size_t{4} << 20U;

// Receives once something has arrived, or the end has.
Received awaited(linux_::PeerSocket& peer, std::string& text) {
  pollfd arrival{peer.descriptor(), POLLIN, 0};
  EXPECT_EQ(::poll(&arrival, 1, -1), 1);
  return peer.receive(text);
}

TEST(ConnectionToAPeer, IsNotOpenedWhereTheSystemDoesNotTellWhoSpeaks) {
  for (const auto& [call, error] :
       {std::pair{SYS_setsockopt, EPERM}, {SYS_pidfd_open, ENOSYS}, {SYS_getsockopt, EIO}}) {
    HelperInAChild helper([call = call, error = error](posix::UniqueFd socket) {
      failSystemCall(call, error);
      ::_exit(linux_::PeerSocket(std::move(socket), ::getuid()).isOpen() ? 1 : 0);
    });
    EXPECT_EQ(helper.exitStatus(), 0) << call;
  }
}

TEST(ConnectionToAPeer, EndsWithItsLastByte) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) {
    std::string text;
    const bool isHeard =
        awaited(peer, text) == Received::Bytes && text == "x" && peer.receive(text) == Received::Nothing;
    peer.send("heard");
    errno = EAGAIN;  // what the last attempt left
    const bool hasEnded = awaited(peer, text) == Received::End && !peer.isOpen();
    ::_exit(isHeard && hasEnded && text == "x" && peer.descriptor() == -1 && peer.peerDescriptor() == -1 ? 0 : 1);
  }));
  helper.say("x");
  EXPECT_EQ(helper.some(), "heard");
  helper.endSpeech();
  EXPECT_EQ(helper.exitStatus(), 0);
}

TEST(ConnectionToAPeer, EndsAtAFailure) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) {
    failSystemCall(SYS_recvmsg, EIO);
    std::string text;
    ::_exit(peer.receive(text) == Received::End && !peer.isOpen() ? 0 : 1);
  }));
  EXPECT_EQ(helper.exitStatus(), 0);
}

TEST(ConnectionToAPeer, EndsWhereADescriptorComesAlong) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) {
    std::string text;
    ::_exit(awaited(peer, text) == Received::End && text.empty() ? 0 : 1);
  }));
  helper.say("evil", STDIN_FILENO);
  EXPECT_EQ(helper.exitStatus(), 0);
}

TEST(ConnectionToAPeer, CarriesMoreThanItHoldsWithOneDescriptor) {
  for (const bool withTheFirst : {false, true}) {
    HelperInAChild helper(HelperInAChild::talking([withTheFirst](linux_::PeerSocket& peer) {
      const posix::UniqueFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
      if (::dup2(nothing.get(), STDIN_FILENO) != STDIN_FILENO) ::_exit(1);
      peer.send(std::string(kMuch, 'x'), withTheFirst ? STDIN_FILENO : nothing.get());
    }));
    EXPECT_TRUE(helper.sleeps()) << "until there is room";
    EXPECT_EQ(helper.everything(), std::string(kMuch, 'x'));
    EXPECT_EQ(helper.descriptors.size(), 1U);
    EXPECT_EQ(helper.exitStatus(), 0);
  }
}

TEST(ConnectionToAPeer, CarriesASingleByteOnce) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) {
    errno = EAGAIN;  // what an earlier call left
    peer.send("x");
  }));
  EXPECT_EQ(helper.everything(), "x");
}

TEST(ConnectionToAPeer, CarriesNoDescriptorWhereNoneIsSent) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) { peer.send("text"); }));
  EXPECT_EQ(helper.everything(), "text");
  EXPECT_EQ(helper.descriptors.size(), 0U);
}

TEST(ConnectionToAPeer, IsNoHarmToTheHelperWhereNobodyListens) {
  HelperInAChild helper(HelperInAChild::talking([](linux_::PeerSocket& peer) {
    std::string text;
    while (peer.isOpen()) static_cast<void>(peer.receive(text));
    peer.send("text");
  }));
  helper.close();
  EXPECT_EQ(helper.exitStatus(), 0);
}

}  // namespace
}  // namespace qm::testing
