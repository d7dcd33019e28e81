// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace qm::posix {

/// Owns one file descriptor and closes it in the destructor. Move-only; -1 means none.
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  int get() const noexcept { return fd_; }
  explicit operator bool() const noexcept { return fd_ >= 0; }

  /// Transfers the descriptor to the caller, who closes it.
  [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

  /// Closes the descriptor, if there is one, and takes `fd` instead. Preserves `errno`, so that a caller still sees why
  /// its last call failed.
  void reset(int fd = -1) noexcept {
    const int old = std::exchange(fd_, fd);
    if (old < 0) return;
    const int saved = errno;
    ::close(old);
    errno = saved;
  }

  /// Closes the descriptor and returns 0 or the error number. Some file systems report only now that they could not
  /// store what was written.
  [[nodiscard]] int close() noexcept {
    const int closed = ::close(release());
    return closed == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int fd_ = -1;
};

/// Another descriptor for the same open file, close-on-exec; none on failure, see `errno`.
inline UniqueFd duplicate(int fd) noexcept { return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 0)); }
inline UniqueFd duplicate(const UniqueFd& fd) noexcept { return duplicate(fd.get()); }

}  // namespace qm::posix
