// SPDX-License-Identifier: MIT
#include "Platform/posix/process/PipeReader.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace qm::posix {

std::string PipeReader::availableData() {
  if (!enter()) return {};
  std::string data = waitForData() ? readWhatIsThere() : std::string();
  leave();
  return data;
}

void PipeReader::close() {
  const std::scoped_lock lock(mutex_);
  if (closed_) return;
  closed_ = true;
  if (reading_) {
    wakeup_.raise();
  } else {
    pipe_.reset();
  }
}

bool PipeReader::enter() {
  const std::scoped_lock lock(mutex_);
  if (closed_ || !pipe_) return false;
  reading_ = true;
  return true;
}

void PipeReader::leave() {
  const std::scoped_lock lock(mutex_);
  reading_ = false;
  if (closed_) pipe_.reset();
}

// True if a read will not block; false after `close`.
bool PipeReader::waitForData() const {
  pollfd watched[] = {{pipe_.get(), POLLIN, 0}, {wakeup_.descriptor(), POLLIN, 0}};
  while (::poll(watched, 2, -1) < 0) {
    if (errno != EINTR) return false;
  }
  return watched[1].revents == 0;
}

std::string PipeReader::readWhatIsThere() const {
  int available = 0;
  ::ioctl(pipe_.get(), FIONREAD, &available);
  std::string data(static_cast<std::size_t>(std::max(available, 1)), '\0');
  ssize_t count = 0;
  do {
    count = ::read(pipe_.get(), data.data(), data.size());
  } while (count < 0 && errno == EINTR);
  data.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return data;
}

}  // namespace qm::posix
