#include "Platform/linux/privileges/AuthenticationAgents.h"

#include <unistd.h>
#include <cstring>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

// A pipe takes this much at once: writing never waits for the reader.
constexpr std::size_t kLongest = 4096;

// Bytes that are gone when nobody needs them any more. Sized beforehand: what grows leaves copies behind.
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

std::size_t readOnce(int fd, char* bytes, std::size_t size) {
  ssize_t got = 0;
  do {
    got = ::read(fd, bytes, size);
  } while (got < 0 && errno == EINTR);
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

bool saysReady(int fd) {
  char text[16] = {};
  return std::string_view(text, readOnce(fd, text, sizeof text)) == "ready\n";
}

}  // namespace

bool CredentialsAgent::start(const std::string& program, const std::string& user, const std::string& password) {
  if (user.size() > kLongest || password.size() > kLongest) return false;
  UniqueFd inputReading;
  UniqueFd outputReading;
  UniqueFd outputWriting;
  if (!makePipe(inputReading, input_) || !makePipe(outputReading, outputWriting)) return false;
  const std::vector<std::string> arguments = {std::to_string(::getpid()), ownStartTime()};
  if (child_.start(program, arguments, {.input = inputReading.get(), .output = outputWriting.get()}) != 0) return false;
  outputWriting.reset();
  return sendCredentials(input_.get(), user, password) && saysReady(outputReading.get());
}

// The agent closes its standard output when it is ready; it talks to the terminal itself.
bool TerminalAgent::start(const std::string& program) {
  UniqueFd reading;
  UniqueFd writing;
  if (!makePipe(reading, writing)) return false;
  const std::string process = std::to_string(::getpid()) + "," + ownStartTime();
  if (child_.start(program, {"--process", process, "--notify-fd", "1"}, {.output = writing.get()}) != 0) {
    return false;
  }
  writing.reset();
  char unused = 0;
  return readOnce(reading.get(), &unused, 1) == 0;
}

}  // namespace qm::linux_
