// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <array>
#include <cstring>
#include <optional>

namespace qm::posix {

/// A message of one block of bytes, with room for one ancillary item: a descriptor (an int) or the sender's credentials
/// (a ucred). The bytes belong to the caller.
template <class Attached>
class SocketMessage {
 public:
  SocketMessage(void* bytes, std::size_t size) : part_{bytes, size} {
    message_.msg_iov = &part_;
    message_.msg_iovlen = 1;
  }
  SocketMessage(const SocketMessage&) = delete;
  SocketMessage& operator=(const SocketMessage&) = delete;

  /// For sendmsg(2) and recvmsg(2).
  msghdr* get() { return &message_; }

  /// Makes room to receive an ancillary item; without it the system drops the item.
  void makeRoom() {
    message_.msg_control = space_.data();
    message_.msg_controllen = space_.size();
  }

  /// Attaches an item to the bytes.
  void attach(int type, const Attached& attached) {
    makeRoom();
    cmsghdr* header = CMSG_FIRSTHDR(&message_);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = type;
    header->cmsg_len = CMSG_LEN(sizeof attached);
    std::memcpy(CMSG_DATA(header), &attached, sizeof attached);
  }

  /// The received item; null unless it is exactly one of that type.
  std::optional<Attached> attached(int type) {
    const cmsghdr* header = CMSG_FIRSTHDR(&message_);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != type ||
        header->cmsg_len != CMSG_LEN(sizeof(Attached))) {
      return std::nullopt;
    }
    Attached attached{};
    std::memcpy(&attached, CMSG_DATA(header), sizeof attached);
    return attached;
  }

  /// The bytes or the ancillary data were truncated.
  bool isCut() const { return (message_.msg_flags & (MSG_CTRUNC | MSG_TRUNC)) != 0; }

 private:
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(Attached))> space_{};
  iovec part_;
  msghdr message_{};
};

}  // namespace qm::posix
