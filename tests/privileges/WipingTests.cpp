// SPDX-License-Identifier: MIT

// Names and passwords leave nothing in the memory that contained them.

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/foundation/Wipe.h"
#include "Platform/linux/privileges/AuthenticationAgents.h"
#include "Platform/linux/privileges/agent/Credentials.h"
#include "Shared/QMAuthorization.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/support/FreedMemory.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

// One short enough for the string's own buffer, and one that is allocated.
constexpr std::string_view kShort = "abc123secret";
constexpr std::string_view kLong = "a password of more letters than a string has room for in itself";
constexpr std::string_view kUser = "a name of more letters than a string has room for in itself too";

bool isWiped(const char* bytes, std::size_t size) {
  return std::all_of(bytes, bytes + size, [](char byte) { return byte == '\0'; });
}

TEST(Wipe, LeavesNothingInTheMemoryOfAText) {
  for (const std::string_view secret : {kShort, kLong}) {
    std::string text(secret);
    text.resize(text.size() / 2);  // the rest is still there
    const char* bytes = text.data();
    const std::size_t capacity = text.capacity();
    foundation::wipe(text);
    EXPECT_EQ(text, "");
    ASSERT_EQ(text.data(), bytes);
    EXPECT_TRUE(isWiped(bytes, capacity));
  }
}

TEST(FreedMemory, IsSeenToHoldWhatWasNotWiped) {
  const FreedMemory freed(kLong);
  { const std::string text(kLong); }
  EXPECT_EQ(FreedMemory::blocksWithText(), 1U);
  std::string wiped(kLong);
  foundation::wipe(wiped);
  wiped.shrink_to_fit();
  EXPECT_EQ(FreedMemory::blocksWithText(), 1U);
}

// Keeps nothing of the credentials but the length of the passwords.
class Looker : public AuthorizationServices {
 public:
  AuthorizationStatus create(const AuthorizationItems& environment, AuthorizationFlags /*flags*/,
                             AuthorizationRef* session) override {
    *session = reinterpret_cast<AuthorizationRef>(this);  // opaque: nobody looks inside
    seen_.push_back(environment.at(1).value.size());
    return createAnswer;
  }
  AuthorizationStatus copyRights(AuthorizationRef /*session*/, const AuthorizationItems& /*rights*/,
                                 const AuthorizationItems& environment, AuthorizationFlags /*flags*/) override {
    seen_.push_back(environment.at(1).value.size());
    return rightsAnswer;
  }
  AuthorizationStatus free(AuthorizationRef /*session*/, AuthorizationFlags /*flags*/) override { return 0; }
  AuthorizationStatus executeWithPrivileges(AuthorizationRef /*session*/, const std::string& /*tool*/,
                                            AuthorizationFlags /*flags*/, const std::vector<std::string>& /*arguments*/,
                                            std::shared_ptr<CommunicationsPipe>* /*pipe*/) override {
    return 0;
  }
  AuthorizationStatus copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags /*flags*/) override {
    *session = nullptr;
    return 0;
  }

  const std::vector<std::size_t>& seenPasswords() const { return seen_; }

  AuthorizationStatus createAnswer = 0;
  AuthorizationStatus rightsAnswer = 0;

 private:
  std::vector<std::size_t> seen_;
};

class WipedCredentials : public PlatformTest {
 protected:
  WipedCredentials() { fakes.platform.authorizationServices = &looker; }

  // Makes a request with a secret, and returns how many blocks that still contained it were freed.
  std::size_t leftBy(std::string_view secret, bool expected) {
    std::optional<std::string> user(kUser);
    std::optional<std::string> password(secret);
    const FreedMemory freed(secret);
    EXPECT_EQ(QMAuthorization::sharedController()->authStartWithUser(user, password), expected);
    const std::size_t left = FreedMemory::blocksWithText();
    EXPECT_EQ(*password, secret) << "the caller's own is the caller's";
    foundation::wipe(*password);
    return left;
  }

  Looker looker;
};

TEST_F(WipedCredentials, AreGoneWhenRightsWereGranted) {
  for (const std::string_view secret : {kShort, kLong}) {
    EXPECT_EQ(leftBy(secret, true), 0U);
    EXPECT_EQ(looker.seenPasswords().back(), secret.size());
    QMAuthorization::sharedController()->authEnd();
  }
}

TEST_F(WipedCredentials, AreGoneWhenTheyWereRefused) {
  looker.rightsAnswer = errAuthorizationDenied;
  for (const std::string_view secret : {kShort, kLong}) EXPECT_EQ(leftBy(secret, false), 0U);
}

TEST_F(WipedCredentials, AreGoneWhenThereIsNoSession) {
  looker.createAnswer = errAuthorizationInvalidRef;
  for (const std::string_view secret : {kShort, kLong}) EXPECT_EQ(leftBy(secret, false), 0U);
}

TEST_F(WipedCredentials, AreGoneWhenTheyWereSentToTheAgent) {
  for (const std::string_view secret : {kShort, kLong}) {
    const std::string user(kUser);
    std::string password(secret);
    const FreedMemory freed(secret);
    // Reads them and is never ready.
    EXPECT_FALSE(linux_::CredentialsAgent().start("/usr/bin/cat", user, password));
    EXPECT_EQ(FreedMemory::blocksWithText(), 0U);
    foundation::wipe(password);
  }
}

TEST_F(WipedCredentials, LeaveNoNameEitherWhenTheyWereSent) {
  for (const std::string_view secret : {kShort, kLong}) {
    const std::string user(kUser);
    const std::string password(secret);
    const FreedMemory freed(kUser);
    EXPECT_FALSE(linux_::CredentialsAgent().start("/usr/bin/cat", user, password));
    EXPECT_EQ(FreedMemory::blocksWithText(), 0U);
  }
}

// MARK: - In the agent

void writeText(int fd, std::string_view text) {
  const std::size_t size = text.size();
  const unsigned char length[4] = {static_cast<unsigned char>(size), static_cast<unsigned char>(size >> 8U), 0, 0};
  ASSERT_EQ(::write(fd, length, sizeof length), 4);
  ASSERT_EQ(::write(fd, text.data(), size), static_cast<ssize_t>(size));
}

class AgentCredentials : public ::testing::Test {
 protected:
  AgentCredentials() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    reading.reset(ends[0]);
    writing.reset(ends[1]);
  }

  posix::UniqueFd reading, writing;
  alignas(linux_::Credentials) char memory[sizeof(linux_::Credentials)] = {};
};

TEST_F(AgentCredentials, AreWipedWithTheirMemory) {
  writeText(writing.get(), kUser);
  writeText(writing.get(), kLong);
  auto* credentials = new (memory) linux_::Credentials;
  ASSERT_TRUE(credentials->read(reading.get()));
  EXPECT_EQ(credentials->user(), kUser);
  EXPECT_EQ(credentials->password(), kLong);
  const char* password = credentials->password();
  credentials->wipePassword();
  EXPECT_TRUE(isWiped(password, kLong.size()));
  EXPECT_EQ(credentials->user(), kUser);
  credentials->~Credentials();
  EXPECT_TRUE(isWiped(memory, sizeof memory));
}

TEST_F(AgentCredentials, AreWipedWhenTheyDidNotArriveWhole) {
  writeText(writing.get(), kUser);
  ASSERT_EQ(::write(writing.get(), "\x20\0\0\0half", 8), 8);
  writing.reset();
  auto* credentials = new (memory) linux_::Credentials;
  EXPECT_FALSE(credentials->read(reading.get()));
  credentials->~Credentials();
  EXPECT_TRUE(isWiped(memory, sizeof memory));
}

TEST_F(AgentCredentials, AreTakenUpToTheirLimit) {
  const std::string longest(4096, 'x');
  for (const auto& [name, secret] : {std::pair(longest, longest), {"x", ""}, {"", "y"}}) {
    writeText(writing.get(), name);
    writeText(writing.get(), secret);
    linux_::Credentials credentials;
    EXPECT_TRUE(credentials.read(reading.get()));
    EXPECT_EQ(credentials.user(), name);
    EXPECT_EQ(credentials.password(), secret);
  }
}

TEST_F(AgentCredentials, AreNotTakenWhenTheyAreTooLongOrNoText) {
  const std::string end = std::string("\0\0\0\0", 4);
  const std::vector<std::string> refused = {
      std::string("\x01\x10\0\0", 4) + std::string(4097, 'x') + end,
      std::string("\x04\0\x01\0user", 8) + end,
      std::string("\x04\0\0\x01user", 8) + end,
      std::string("\x04\0\0\0us\0r", 8) + end,
      std::string("\x04\0\0\0user", 8) + std::string("\x04\0\0\0\0\0\0\0", 8),
      std::string("\x04\0\0\0user", 8) + end.substr(1),
      "",
  };
  for (const std::string& bytes : refused) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0);
    reading.reset(ends[0]);
    ASSERT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    ASSERT_EQ(::close(ends[1]), 0);
    linux_::Credentials credentials;
    EXPECT_FALSE(credentials.read(reading.get())) << bytes;
  }
}

TEST_F(AgentCredentials, AreTakenInPieces) {
  std::thread writer([this] {
    for (const std::string& piece :
         {std::string("\x04\0", 2), std::string("\0\0us", 4), std::string("er\x02\0\0\0p", 7), std::string("w")}) {
      EXPECT_EQ(::write(writing.get(), piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
      int unread = 0;
      EXPECT_TRUE(waitUntil([&] { return ::ioctl(writing.get(), FIONREAD, &unread) == 0 && unread == 0; }));
    }
  });
  linux_::Credentials credentials;
  EXPECT_TRUE(credentials.read(reading.get()));
  writer.join();
  EXPECT_STREQ(credentials.user(), "user");
  EXPECT_STREQ(credentials.password(), "pw");
}

std::string lockedMemory() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line) && !line.starts_with("VmLck:")) continue;
  return line;
}

// A sanitizer locks none.
bool canLockMemory() {
  const std::string before = lockedMemory();
  std::vector<char> memory(65'536);
  EXPECT_EQ(::mlock(memory.data(), memory.size()), 0);
  const bool isLocked = lockedMemory() != before;
  EXPECT_EQ(::munlock(memory.data(), memory.size()), 0);
  return isLocked;
}

TEST_F(AgentCredentials, AreLockedInMemoryAsLongAsTheyAreThere) {
  const bool canLock = canLockMemory();
  const std::string before = lockedMemory();
  {
    const linux_::Credentials credentials;
    EXPECT_EQ(lockedMemory() != before, canLock);
  }
  EXPECT_EQ(lockedMemory(), before);
}

}  // namespace
}  // namespace qm::testing
