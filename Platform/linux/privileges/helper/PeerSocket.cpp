// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/PeerSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

#include "Platform/posix/process/SocketMessage.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

bool isStreamSocket(int fd) {
  int domain = 0;
  int type = 0;
  socklen_t size = sizeof domain;
  if (::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0) return false;
  size = sizeof type;
  return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && domain == AF_UNIX && type == SOCK_STREAM;
}

bool tellsSenders(int fd) {
  const int on = 1;
  return ::setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

ucred peerOf(int fd) {
  ucred peer{-1, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
  socklen_t size = sizeof peer;
  ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size);
  return peer;
}

// There is room for the sender's credentials only: the kernel drops descriptors that come along, and reports that.
using ReceivedMessage = posix::SocketMessage<ucred>;

bool isFrom(ReceivedMessage& message, pid_t process, uid_t person) {
  const std::optional<ucred> sender = message.attached(SCM_CREDENTIALS);
  return !message.isCut() && sender && sender->pid == process && sender->uid == person;
}

}  // namespace

// The parent is checked again once its end can be observed: until then its process id could have been reused.
PeerSocket::PeerSocket(UniqueFd socket, uid_t person) : socket_(std::move(socket)), person_(person) {
  if (!isStreamSocket(socket_.get()) || !tellsSenders(socket_.get())) return;
  const ucred peer = peerOf(socket_.get());
  if (peer.uid != person || peer.pid <= 0 || peer.pid != ::getppid()) return;
  peerEnd_.reset(static_cast<int>(::syscall(SYS_pidfd_open, peer.pid, 0U)));
  peer_ = peer.pid;
  open_ = peerEnd_ && ::getppid() == peer.pid;
}

PeerSocket::Received PeerSocket::receive(std::string& bytes) {
  std::array<char, 65536> block{};
  ReceivedMessage message(block.data(), block.size());
  message.makeRoom();
  const ssize_t got = ::recvmsg(socket_.get(), message.get(), MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (got < 0 && (errno == EINTR || errno == EAGAIN)) return Received::Nothing;
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

// False once the peer has ended: nobody will ever read.
bool PeerSocket::waitForRoom() const {
  pollfd watched[] = {{socket_.get(), POLLOUT, 0}, {peerEnd_.get(), POLLIN, 0}};
  return ::poll(watched, 2, -1) >= 0 ? watched[1].revents == 0 : errno == EINTR;
}

void PeerSocket::send(const std::string& bytes, int descriptor) const {
  for (std::size_t sent = 0; sent < bytes.size();) {
    posix::SocketMessage<int> message(const_cast<char*>(bytes.data()) + sent, bytes.size() - sent);
    if (descriptor >= 0 && sent == 0) message.attach(SCM_RIGHTS, descriptor);
    const ssize_t count = ::sendmsg(socket_.get(), message.get(), MSG_NOSIGNAL | MSG_DONTWAIT);
    const bool isFull = count < 0 && errno == EAGAIN;
    if (count < 0 && errno != EINTR && !(isFull && waitForRoom())) return;
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
}

}  // namespace qm::linux_
