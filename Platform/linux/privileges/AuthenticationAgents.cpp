// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/AuthenticationAgents.h"

#include <unistd.h>
#include <cstring>

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/Uninterrupted.h"

namespace qm::linux_ {
namespace {

// The longest name, and the longest password. A pipe accepts both at once, so writing does not wait for the reader.
constexpr std::size_t kLongest = 4096;

// Bytes that are wiped at the end. Reserved in advance, because growing would leave copies behind.
class WipedBytes {
 public:
  explicit WipedBytes(std::size_t size) { bytes_.reserve(size); }
  WipedBytes(const WipedBytes&) = delete;
  WipedBytes& operator=(const WipedBytes&) = delete;
  ~WipedBytes() { ::explicit_bzero(bytes_.data(), bytes_.size()); }

  void append(std::string_view text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    for (unsigned i = 0; i < 4; ++i) bytes_.push_back(static_cast<char>(static_cast<unsigned char>(size >> (8U * i))));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }

  bool writeTo(int fd) const {
    return ::write(fd, bytes_.data(), bytes_.size()) == static_cast<ssize_t>(bytes_.size());
  }

 private:
  std::vector<char> bytes_;
};

bool sendCredentials(int fd, const std::string& user, const std::string& password) {
  WipedBytes bytes(user.size() + password.size() + 2 * sizeof(std::uint32_t));
  bytes.append(user);
  bytes.append(password);
  return bytes.writeTo(fd);
}

// One byte more than that is read, so that no longer answer passes for it.
bool saysReady(int fd) {
  char text[sizeof "ready\n"] = {};
  return std::string_view(text, posix::readOnce(fd, text, sizeof text)) == "ready\n";
}

}  // namespace

bool CredentialsAgent::start(const std::string& program, const std::string& user, const std::string& password) {
  if (user.size() > kLongest || password.size() > kLongest) return false;
  posix::Pipe input = posix::makePipe();
  posix::Pipe output = posix::makePipe();
  if (!input.reading || !output.reading) return false;
  const std::vector<std::string> arguments = {std::to_string(::getpid()), ownStartTime()};
  if (child_.start(program, arguments, {.input = input.reading.get(), .output = output.writing.get()}) != 0)
    return false;
  output.writing.reset();
  input_ = std::move(input.writing);
  return sendCredentials(input_.get(), user, password) && saysReady(output.reading.get());
}

// The agent closes its standard output when it is ready; it talks to the terminal itself.
bool TerminalAgent::start(const std::string& program) {
  posix::Pipe pipe = posix::makePipe();
  if (!pipe.reading) return false;
  const std::string process = std::to_string(::getpid()) + "," + ownStartTime();
  if (child_.start(program, {"--process", process, "--notify-fd", "1"}, {.output = pipe.writing.get()}) != 0) {
    return false;
  }
  pipe.writing.reset();
  char unused{};
  return posix::readOnce(pipe.reading.get(), &unused, 1) == 0;
}

}  // namespace qm::linux_
