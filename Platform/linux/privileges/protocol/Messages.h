// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qm::linux_ {

/// The protocol version; both sides of the connection must have the same.
inline constexpr std::uint32_t kProtocolVersion = 1;
/// The largest body of a message, in bytes: the limit for all arguments of a tool together.
inline constexpr std::size_t kLargestBody = std::size_t{1} << 20U;
inline constexpr std::size_t kMostArguments = 4096;
/// The longest reason or note, in bytes; longer ones are cut.
inline constexpr std::size_t kLongestText = 1024;

/// The option of a removal of one folder, whose path follows it. The folder is removed only if nothing but empty
/// folders and housekeeping files is in it. The real rm has no such option.
inline constexpr std::string_view kIfHollow = "--if-hollow";

/// The helper's first message: rights are granted.
struct Hello {
  std::uint32_t version = kProtocolVersion;
  bool operator==(const Hello&) const = default;
};

/// The application's only message: start this tool.
struct Launch {
  std::uint64_t number = 0;
  std::string tool;
  std::vector<std::string> arguments;
  bool operator==(const Launch&) const = default;
};

/// The tool is running, or why it is not: `error` is an error number and `reason` a sentence.
struct Started {
  std::uint64_t number = 0;
  std::int32_t error = 0;
  std::int32_t process = 0;
  std::string reason;
  bool operator==(const Started&) const = default;
};

/// The tool has ended and everything that follows it is done. `note` describes a failure.
struct Exited {
  std::uint64_t number = 0;
  std::int32_t waitStatus = 0;
  std::string note;
  bool operator==(const Exited&) const = default;
};

using Message = std::variant<Hello, Launch, Started, Exited>;

/// The bytes of a message. Null if a limit is exceeded or an argument contains a NUL byte, which would truncate it on
/// its way to the tool.
std::optional<std::string> encoded(const Message& message);

/// Accepts bytes as they arrive, in pieces of any size, and returns the messages in them. Trusts nothing: the first
/// byte that breaks a rule ends the stream permanently. It keeps no more than one message and one piece, if `next` is
/// called until it returns null before the next `append`.
class MessageReader {
 public:
  void append(std::string_view bytes);
  /// The next complete message. Null if there is none yet, or the stream is broken.
  std::optional<Message> next();
  bool isBroken() const { return broken_; }

 private:
  std::optional<Message> fail();

  std::string buffer_;
  std::size_t start_ = 0;
  bool broken_ = false;
};

}  // namespace qm::linux_
