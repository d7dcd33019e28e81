// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The helper's end of its connection. Everything that is read came from one process of one user; a byte from anybody
/// else, or a descriptor, ends the connection.
class PeerSocket {
 public:
  enum class Received { Bytes, Nothing, End };

  /// Takes `socket` if it connects this process to its own parent and the parent is `person`'s; see `isOpen`.
  PeerSocket(posix::UniqueFd socket, uid_t person);

  bool isOpen() const { return open_; }
  /// Readable once something has arrived; -1, which poll(2) skips, once nothing more is received.
  int descriptor() const { return open_ ? socket_.get() : -1; }
  /// Readable once the peer has ended; -1 likewise.
  int peerDescriptor() const { return open_ ? peerEnd_.get() : -1; }

  /// Appends what has arrived to `bytes`. Never blocks.
  Received receive(std::string& bytes);
  /// Stops receiving.
  void close() { open_ = false; }
  /// Closes this process's copy of the connection without ending it, in a process that does not use it.
  void leave();
  /// Sends everything, with a descriptor if there is one. It is not a failure if the peer has ended, even if somebody
  /// else still holds its end of the connection and reads nothing.
  void send(const std::string& bytes, int descriptor = -1) const;

 private:
  bool waitForRoom() const;

  posix::UniqueFd socket_;
  posix::UniqueFd peerEnd_;
  pid_t peer_ = -1;
  uid_t person_;
  bool open_ = false;
};

}  // namespace qm::linux_
