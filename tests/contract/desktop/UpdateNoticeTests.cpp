// SPDX-License-Identifier: MIT

// The notice as it arrives on a session's message bus.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "Platform/linux/desktop/DesktopNotices.h"
#include "Platform/linux/desktop/LinuxDesktopShell.h"
#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/posix/UniqueFd.h"
#include "Uninstaller/Product.h"
#include "tests/contract/desktop/BusStandIn.h"
#include "tests/contract/desktop/DesktopMachine.h"
#include "tests/contract/desktop/SessionBus.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;

/// The service as a user's program makes it.
struct Desktop {
  explicit Desktop(const std::string& home, unsigned user = kPerson, milliseconds limit = milliseconds(3000)) {
    users.home = home;
    users.user = user;
    shell = std::make_unique<linux_::LinuxDesktopShell>(
        users, real.tasks, linux_::EntryMark{kProduct.bundleEntryKey, kProduct.bundleEntryPrefix}, limit);
  }

  platform::OSStatus notify(const std::string& path) const {
    std::unique_ptr<platform::Alias> alias;
    const auto error = shell->newMinimalAlias(linux_::LinuxFileReferences().make(path), &alias);
    return error != platform::noErr ? error : shell->sendUpdateEvent(*alias);
  }

  DesktopUsers users;
  RealTasks real;
  std::unique_ptr<linux_::LinuxDesktopShell> shell;
};

void useBus(const std::string& address) { ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1); }

/// A socket that anybody may connect to and that nobody answers.
posix::UniqueFd listenOn(const std::string& path) {
  posix::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(::listen(socket.get(), 4), 0);
  constexpr timeval kLimit{60, 0};  // for a connection that never comes
  EXPECT_EQ(::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kLimit, sizeof kLimit), 0);
  EXPECT_EQ(::chmod(path.c_str(), 0777), 0);
  return socket;
}

TEST(UpdateNotice, HasAShownFolderReadAgain) {
  asPerson([](const std::string& home) {
    const SessionBus bus(home + "/.bus");
    useBus(bus.address());
    FileManagerStandIn fileManager(bus.address());
    EXPECT_EQ(Desktop(home).notify(home), platform::noErr);
    const std::string url = "file://" + home;
    EXPECT_THAT(fileManager.waitFor(2),
                ElementsAre(Notice{"FilesChanged(as) of /", {url}}, Notice{"FilesAdded(s) of /", {url}}));
  });
}

TEST(UpdateNotice, HasAFileLookedAtAgain) {
  asPerson([](const std::string& home) {
    const SessionBus bus(home + "/.bus");
    useBus(bus.address());
    FileManagerStandIn fileManager(bus.address());
    const std::string file = home + "/ü %20\n\xff?#";
    writeText(file, "");
    EXPECT_EQ(Desktop(home).notify(file), platform::noErr);
    EXPECT_THAT(fileManager.waitFor(1),
                ElementsAre(Notice{"FilesChanged(as) of /", {"file://" + home + "/%C3%BC%20%2520%0A%FF%3F%23"}}));
    EXPECT_EQ(fileManager.received().size(), 1U);
  });
}

TEST(UpdateNotice, ReachesEveryListenerBeforeItIsAnswered) {
  asPerson([](const std::string& home) {
    const SessionBus bus(home + "/.bus");
    useBus(bus.address());
    FileManagerStandIn first(bus.address());
    FileManagerStandIn second(bus.address());
    const Desktop desktop(home);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(desktop.notify(home), platform::noErr);
    EXPECT_EQ(first.received().size(), 40U);
    EXPECT_EQ(second.received().size(), 40U);
  });
}

TEST(UpdateNotice, FindsTheBusInTheRuntimeFolder) {
  asPerson([](const std::string& home) {
    const std::string runtime = home + "/run, time;=";
    ASSERT_EQ(::mkdir(runtime.c_str(), 0700), 0);
    ::setenv("XDG_RUNTIME_DIR", (runtime + "/").c_str(), 1);
    // The daemon's own address cannot hold such a name; it is moved there.
    const SessionBus bus(home + "/.bus");
    FileManagerStandIn fileManager(bus.address());
    ASSERT_EQ(::rename((home + "/.bus").c_str(), (runtime + "/bus").c_str()), 0);
    EXPECT_EQ(Desktop(home).notify(home), platform::noErr);
    EXPECT_EQ(fileManager.received().size(), 2U);
  });
}

TEST(UpdateNotice, IsNotSentWithoutABus) {
  asPerson([](const std::string& home) {
    writeText(home + "/text", "");
    for (const std::string address : {"unix:path=/nowhere/bus", "autolaunch:", "nonsense", "", "unix:path=/dev/null"}) {
      useBus(address);
      EXPECT_EQ(Desktop(home).notify(home), platform::procNotFound) << address;
    }
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_EQ(Desktop(home).notify(home), platform::procNotFound);
  });
}

/// How long it takes until the service, which waits at most for `limit`, gives up.
constexpr milliseconds kShort(200);
milliseconds timeToGiveUp(const std::string& home, milliseconds limit = kShort) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Desktop(home, kPerson, limit).notify(home), platform::procNotFound);
  return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST(UpdateNotice, DoesNotWaitForABusThatSaysNothing) {
  asPerson([](const std::string& home) {
    const posix::UniqueFd silent = listenOn(home + "/bus");
    useBus("unix:path=" + home + "/bus");
    const milliseconds taken = timeToGiveUp(home);
    EXPECT_GE(taken, kShort);
    EXPECT_LT(taken, std::chrono::seconds(20)) << "the library itself would wait longer";
  });
}

TEST(UpdateNotice, WaitsOnWhenASignalComes) {
  asPerson([](const std::string& home) {
    const posix::UniqueFd silent = listenOn(home + "/bus");
    useBus("unix:path=" + home + "/bus");
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGALRM, &interrupt, nullptr), 0);
    constexpr timeval kEach{0, 10'000};
    const itimerval often{kEach, kEach};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
    EXPECT_GE(timeToGiveUp(home), kShort);
  });
}

/// Enough for the handshake on a slow machine, and for hundreds of megabytes.
constexpr milliseconds kLong(2000);

/// The peak memory of the process after a bus has misbehaved until the service gave up.
long kilobytesAfter(const std::string& home, BusStandIn::Manner manner) {
  const posix::UniqueFd listener = listenOn(home + "/bus");
  useBus("unix:path=" + home + "/bus");
  BusStandIn bus(listener.get(), manner);
  const milliseconds taken = timeToGiveUp(home, kLong);
  EXPECT_GE(taken, kLong);
  EXPECT_LT(taken, std::chrono::seconds(20));
  EXPECT_TRUE(waitUntil([&] { return bus.wasAsked(); }));
  rusage used{};
  EXPECT_EQ(::getrusage(RUSAGE_SELF, &used), 0);
  return used.ru_maxrss;
}

TEST(UpdateNotice, DoesNotWaitForABusThatFallsSilent) {
  asPerson([](const std::string& home) { kilobytesAfter(home, BusStandIn::Manner::FallsSilent); });
}

TEST(UpdateNotice, KeepsNoneOfTheSignalsThatABusFloodsItWith) {
  asPerson([](const std::string& home) {
    EXPECT_LT(kilobytesAfter(home, BusStandIn::Manner::FloodsWithSignals), 400L * 1024);
  });
}

TEST(UpdateNotice, AnswersNoneOfTheCallsThatABusFloodsItWith) {
  asPerson([](const std::string& home) {
    EXPECT_LT(kilobytesAfter(home, BusStandIn::Manner::FloodsWithCalls), 400L * 1024);
  });
}

TEST(UpdateNotice, IsNotTakenByABusThatRefusesToAnswer) {
  asPerson([](const std::string& home) {
    const posix::UniqueFd listener = listenOn(home + "/bus");
    useBus("unix:path=" + home + "/bus");
    BusStandIn bus(listener.get(), BusStandIn::Manner::Refuses);
    EXPECT_EQ(Desktop(home).notify(home), platform::procNotFound);
    EXPECT_TRUE(bus.wasAsked());
  });
}

/// Accepts one connection, sends `words` and closes it.
void answerOnce(int listener, const std::string& words) {
  const posix::UniqueFd connection(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  static_cast<void>(::write(connection.get(), words.data(), words.size()));
}

TEST(UpdateNotice, GivesABusUpThatSaysNonsenseOrHangsUp) {
  asPerson([](const std::string& home) {
    const posix::UniqueFd listener = listenOn(home + "/bus");
    useBus("unix:path=" + home + "/bus");
    for (const std::string words :
         {"", "REJECTED\r\n", "OK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\nnonsense"}) {
      std::thread other([&] { answerOnce(listener.get(), words); });
      EXPECT_EQ(Desktop(home).notify(home), platform::procNotFound) << words;
      other.join();
    }
  });
}

TEST(UpdateNotice, IsRefusedForAnAliasOfSomebodyElses) {
  asPerson([](const std::string& home) {
    struct Foreign : platform::Alias {};
    EXPECT_EQ(Desktop(home).shell->sendUpdateEvent(Foreign()), platform::procNotFound);
  });
}

TEST(UpdateNoticeAsRoot, GoesToThePersonAtTheConsole) {
  asRootForPerson([](const std::string& home) {
    const SessionBus bus("/run/user/1000/bus", SessionBus::Owner::Person);
    // The bus accepts nobody but its owner.
    ASSERT_EQ(::seteuid(kPerson), 0);
    FileManagerStandIn fileManager(bus.address());
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(Desktop(home, 0).notify(home), platform::noErr);
    EXPECT_EQ(fileManager.waitFor(2).size(), 2U);
  });
}

TEST(UpdateNoticeAsRoot, IsSentByThatPersonAndLeavesRootAsItWas) {
  asRootForPerson([](const std::string& home) {
    const posix::UniqueFd listener = listenOn("/run/user/1000/bus");
    ucred peer{};
    std::thread other([&] {
      const posix::UniqueFd connection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
      socklen_t size = sizeof peer;
      ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    });
    EXPECT_EQ(Desktop(home, 0).notify(home), platform::procNotFound);
    other.join();
    EXPECT_EQ(peer.uid, kPerson);
    EXPECT_EQ(::geteuid(), 0U);
    const std::string mark = machineFolder() + "/mark";
    writeText(mark, "");
    struct stat found {};
    ASSERT_EQ(::stat(mark.c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, 0U);
  });
}

TEST(UpdateNoticeAsRoot, GoesToNobodyWhenNobodyIsThere) {
  asRootForPerson([](const std::string& home) {
    for (const auto& console : {std::optional<std::string>(), std::optional<std::string>("loginwindow"),
                                std::optional<std::string>("stranger")}) {
      Desktop desktop(home, 0);
      desktop.users.console = console;
      EXPECT_EQ(desktop.notify(home), platform::procNotFound);
    }
  });
}

TEST(UpdateNoticeAsRoot, IsNotSentWithRootsOwnRights) {
  asRootForPerson([](const std::string& home) {
    const posix::UniqueFd listener = listenOn("/run/user/1000/bus");
    inChild([&] {
      failSystemCall(SYS_setresuid, EPERM);
      EXPECT_EQ(Desktop(home, 0).notify(home), platform::procNotFound);
      EXPECT_EQ(::fcntl(listener.get(), F_SETFL, O_NONBLOCK), 0);
      EXPECT_EQ(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC), -1) << "somebody connected";
    });
  });
}

}  // namespace
}  // namespace qm::testing
