// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/PeerSocket.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::testing {

/// A helper in a child of this process, which is its application. Both are the same user's. It is killed at the end of
/// the object, and after a quarter of a minute.
class HelperInAChild {
 public:
  using Main = std::function<void(posix::UniqueFd socket)>;

  explicit HelperInAChild(const Main& main);
  HelperInAChild(const HelperInAChild&) = delete;
  HelperInAChild& operator=(const HelperInAChild&) = delete;
  ~HelperInAChild();

  /// The same for what uses only the connection.
  static Main talking(std::function<void(linux_::PeerSocket&)> talk);

  pid_t process() const { return process_; }
  void say(const std::string& bytes, int descriptor = -1) const;
  void launch(std::uint64_t number, const std::string& tool = "tool",
              const std::vector<std::string>& arguments = {}) const;
  /// Says nothing more, but still listens.
  void endSpeech() const;
  /// Does not listen any more either.
  void close() { application_.reset(); }

  /// The next message; null at the end of the connection. Its descriptors are appended to `descriptors`.
  std::optional<linux_::Message> next();
  /// What comes next.
  std::string some();
  /// Everything up to the end of the connection.
  std::string everything();
  std::vector<posix::UniqueFd> descriptors;

  /// Whether the helper is waiting, at the latest a few seconds from now. What has been sent is then dealt with.
  bool sleeps() const;
  /// Waits for its end. Its exit status, or -1 if it was killed.
  int exitStatus();

 private:
  bool receive(std::string& bytes);

  posix::UniqueFd application_;
  pid_t process_ = -1;
  linux_::MessageReader reader_;
};

/// What can be read up to the end.
std::string readOutput(const posix::UniqueFd& output);

}  // namespace qm::testing
