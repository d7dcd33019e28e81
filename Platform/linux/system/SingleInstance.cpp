// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SingleInstance.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace qm::linux_ {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kBetweenAttempts(20);
constexpr char kAnswer = 'a';

struct Address {
  sockaddr_un place{};
  socklen_t size = 0;

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&place); }
};

/// A name that begins with a zero byte is in the kernel's abstract namespace, not in the file system.
Address addressOf(const std::string& name) {
  Address address;
  address.place.sun_family = AF_UNIX;
  const auto length = std::min(name.size(), sizeof address.place.sun_path - 1);
  std::copy_n(name.data(), length, address.place.sun_path + 1);
  address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  return address;
}

/// A process in another container has no id here.
bool isOwn(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  return peer.uid == ::geteuid() && peer.pid != 0;
}

bool becomesReadable(int descriptor, steady_clock::time_point deadline) {
  pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
    ready = ::poll(&entry, 1, static_cast<int>(std::max(left, milliseconds::zero()).count()));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

}  // namespace

SingleInstance::SingleInstance(const std::string& name) : name_(name + '.' + std::to_string(::geteuid())) {}

SingleInstance::Start SingleInstance::start(milliseconds patience) {
  const auto deadline = steady_clock::now() + patience;
  while (claimOrAsk(deadline) == Attempt::TryAgain) {
    // The process that has the name is probably starting or ending, so this is tried again. If that never succeeds, the
    // user of that process cannot be determined, and it must not block this start.
    if (steady_clock::now() >= deadline) break;
    ::poll(nullptr, 0, kBetweenAttempts.count());
  }
  return start_;
}

SingleInstance::Attempt SingleInstance::claimOrAsk(steady_clock::time_point deadline) {
  posix::UniqueFd mine(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto address = addressOf(name_);
  if (::bind(mine.get(), address.get(), address.size) == 0) {
    if (::listen(mine.get(), SOMAXCONN) == 0) listening_ = std::move(mine);
    return Attempt::Decided;
  }
  if (errno != EADDRINUSE) return Attempt::Decided;
  if (::connect(mine.get(), address.get(), address.size) != 0) return Attempt::TryAgain;
  return isOwn(mine.get()) ? ask(mine.get(), deadline) : Attempt::Decided;
}

SingleInstance::Attempt SingleInstance::ask(int connection, steady_clock::time_point deadline) {
  if (!becomesReadable(connection, deadline)) {
    start_ = Start::NoAnswer;
    return Attempt::Decided;
  }
  char answer = 0;
  if (::recv(connection, &answer, 1, 0) != 1) return Attempt::TryAgain;
  start_ = Start::Answered;
  return Attempt::Decided;
}

bool SingleInstance::serve(const std::function<void()>& show) const {
  const posix::UniqueFd connection(::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!connection) return errno == EAGAIN || errno == ECONNABORTED || errno == EINTR;
  if (!isOwn(connection.get())) return true;
  show();
  // A process that has given up waiting misses nothing.
  static_cast<void>(::send(connection.get(), &kAnswer, 1, MSG_NOSIGNAL));
  return true;
}

}  // namespace qm::linux_
