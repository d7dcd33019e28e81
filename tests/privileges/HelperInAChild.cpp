// SPDX-License-Identifier: MIT
#include "tests/privileges/HelperInAChild.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <utility>

#include "Platform/posix/process/SocketMessage.h"

namespace qm::testing {

namespace {

constexpr unsigned kLongestSeconds = 15;

char stateOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string word;
  char state = '?';
  file >> word >> word >> state;
  return state;
}

}  // namespace

HelperInAChild::HelperInAChild(const Main& main) {
  int ends[2] = {-1, -1};
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  application_.reset(ends[0]);
  posix::UniqueFd helper(ends[1]);
  // Like the helper, before anybody may send.
  const int on = 1;
  EXPECT_EQ(::setsockopt(helper.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on), 0);
  process_ = ::fork();
  if (process_ != 0) return;
  ::alarm(kLongestSeconds);
  application_.reset();
  main(std::move(helper));
  ::_exit(0);
}

HelperInAChild::~HelperInAChild() {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

HelperInAChild::Main HelperInAChild::talking(std::function<void(linux_::PeerSocket&)> talk) {
  return [talk = std::move(talk)](posix::UniqueFd socket) {
    linux_::PeerSocket peer(std::move(socket), ::getuid());
    if (!peer.isOpen()) ::_exit(1);
    talk(peer);
  };
}

void HelperInAChild::say(const std::string& bytes, int descriptor) const {
  posix::SocketMessage<int> message(const_cast<char*>(bytes.data()), bytes.size());
  if (descriptor >= 0) message.attach(SCM_RIGHTS, descriptor);
  EXPECT_EQ(::sendmsg(application_.get(), message.get(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

void HelperInAChild::launch(std::uint64_t number, const std::string& tool,
                            const std::vector<std::string>& arguments) const {
  say(linux_::encoded(linux_::Launch{number, tool, arguments}).value_or(""));
}

void HelperInAChild::endSpeech() const { EXPECT_EQ(::shutdown(application_.get(), SHUT_WR), 0); }

bool HelperInAChild::receive(std::string& bytes) {
  char block[65536];
  posix::SocketMessage<int> message(block, sizeof block);
  message.makeRoom();
  pollfd arrival{application_.get(), POLLIN, 0};
  if (::poll(&arrival, 1, kLongestSeconds * 1000) != 1) return false;
  const ssize_t got = ::recvmsg(application_.get(), message.get(), MSG_CMSG_CLOEXEC);
  if (got <= 0) return false;
  if (const auto descriptor = message.attached(SCM_RIGHTS)) descriptors.emplace_back(*descriptor);
  bytes.assign(block, static_cast<std::size_t>(got));
  return true;
}

std::optional<linux_::Message> HelperInAChild::next() {
  std::string bytes;
  for (;;) {
    if (auto message = reader_.next()) return message;
    if (!receive(bytes)) return std::nullopt;
    reader_.append(bytes);
  }
}

std::string HelperInAChild::some() {
  std::string bytes;
  return receive(bytes) ? bytes : std::string();
}

std::string HelperInAChild::everything() {
  std::string all;
  for (std::string bytes; receive(bytes);) all += bytes;
  return all;
}

bool HelperInAChild::sleeps() const {
  for (int time = 0; time < 2000; ++time) {
    if (stateOf(process_) == 'S') return true;
    ::usleep(2000);
  }
  return false;
}

int HelperInAChild::exitStatus() {
  int status = 0;
  EXPECT_EQ(::waitpid(std::exchange(process_, -1), &status, 0) > 0, true);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string readOutput(const posix::UniqueFd& output) {
  std::string all;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(output.get(), block, sizeof block)) > 0;) {
    all.append(block, static_cast<std::size_t>(got));
  }
  return all;
}

}  // namespace qm::testing
