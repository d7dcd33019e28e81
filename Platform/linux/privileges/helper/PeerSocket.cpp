// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/PeerSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <iterator>
#include <optional>

#include "Platform/posix/process/SocketMessage.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

// An option of a socket; a zero value if the system does not tell it.
template <class Value>
Value optionOf(int fd, int option) {
  Value value{};
  socklen_t size = sizeof value;
  ::getsockopt(fd, SOL_SOCKET, option, &value, &size);
  return value;
}

bool tellsSenders(int fd) {
  const int on = 1;
  return ::setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

// There is room for the sender's credentials only: the kernel drops descriptors that come along, and reports that.
using ReceivedMessage = posix::SocketMessage<ucred>;

bool isFrom(ReceivedMessage& message, pid_t process, uid_t person) {
  const std::optional<ucred> sender = message.attached(SCM_CREDENTIALS);
  return !message.isCut() && sender && sender->pid == process && sender->uid == person;
}

}  // namespace

// A socket that is not a UNIX socket has no peer's process, and there is no descriptor for the process 0. The parent is
// checked again once its end can be observed: until then its process id could have been reused.
PeerSocket::PeerSocket(UniqueFd socket, uid_t person) : socket_(std::move(socket)), person_(person) {
  if (optionOf<int>(socket_.get(), SO_TYPE) != SOCK_STREAM || !tellsSenders(socket_.get())) return;
  const auto peer = optionOf<ucred>(socket_.get(), SO_PEERCRED);
  if (peer.uid != person || peer.pid != ::getppid()) return;
  peerEnd_.reset(static_cast<int>(::syscall(SYS_pidfd_open, peer.pid, 0U)));
  peer_ = peer.pid;
  open_ = peerEnd_ && ::getppid() == peer.pid;
}

PeerSocket::Received PeerSocket::receive(std::string& bytes) {
  std::array<char, 65536> block{};
  ReceivedMessage message(block.data(), block.size());
  message.makeRoom();
  const ssize_t got = ::recvmsg(socket_.get(), message.get(), MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (got < 0 && errno == EAGAIN) return Received::Nothing;
  if (got <= 0 || !isFrom(message, peer_, person_)) {
    open_ = false;
    return Received::End;
  }
  bytes.append(block.data(), static_cast<std::size_t>(got));
  return Received::Bytes;
}

void PeerSocket::leave() {
  open_ = false;
  socket_.reset();
  peerEnd_.reset();
}

// False once the peer has ended: nobody will ever read. The caller tries again, so the wait may as well be interrupted.
bool PeerSocket::waitForRoom() const {
  pollfd watched[] = {{socket_.get(), POLLOUT, {}}, {peerEnd_.get(), POLLIN, {}}};
  ::poll(watched, std::size(watched), -1);
  return watched[1].revents == 0;
}

void PeerSocket::send(const std::string& bytes, int descriptor) const {
  for (std::size_t sent = 0; sent < bytes.size();) {
    posix::SocketMessage<int> message(const_cast<char*>(bytes.data()) + sent, bytes.size() - sent);
    if (descriptor >= 0 && sent == 0) message.attach(SCM_RIGHTS, descriptor);
    const ssize_t count = ::sendmsg(socket_.get(), message.get(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno != EAGAIN || !waitForRoom()) {
      return;
    }
  }
}

}  // namespace qm::linux_
