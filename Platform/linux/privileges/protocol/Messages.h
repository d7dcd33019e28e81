#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qm::linux_ {

/// The version that both sides of the connection must have.
inline constexpr std::uint32_t kProtocolVersion = 1;
/// The largest body of a message, in bytes: what a tool's arguments may take together.
inline constexpr std::size_t kLargestBody = std::size_t{1} << 20U;
inline constexpr std::size_t kMostArguments = 4096;
/// The longest reason or note; longer ones are cut.
inline constexpr std::size_t kLongestText = 1024;

/// The only option of a removal that means the folder behind it, and that only if nothing is in it. No tool has it.
inline constexpr std::string_view kIfHollow = "--if-hollow";

/// The helper's first message: rights are granted.
struct Hello {
  std::uint32_t version = kProtocolVersion;
  bool operator==(const Hello&) const = default;
};

/// The application's only message: start a tool.
struct Launch {
  std::uint64_t number = 0;
  std::string tool;
  std::vector<std::string> arguments;
  bool operator==(const Launch&) const = default;
};

/// The tool runs, or why it does not: `error` is an error number and `reason` a sentence.
struct Started {
  std::uint64_t number = 0;
  std::int32_t error = 0;
  std::int32_t process = 0;
  std::string reason;
  bool operator==(const Started&) const = default;
};

/// The tool has ended and everything that follows it is done. `note` says what went wrong.
struct Exited {
  std::uint64_t number = 0;
  std::int32_t waitStatus = 0;
  std::string note;
  bool operator==(const Exited&) const = default;
};

using Message = std::variant<Hello, Launch, Started, Exited>;

/// The bytes of a message. Nil when a limit is exceeded or an argument holds a NUL byte, which would cut
/// it short on its way to the tool.
std::optional<std::string> encoded(const Message& message);

/// Takes bytes as they arrive, in pieces of any size, and gives out the messages in them. Trusts nothing:
/// the first byte that breaks a rule ends the stream for good, and no more than one message and one piece
/// is ever kept.
class MessageReader {
 public:
  void append(std::string_view bytes);
  /// The next complete message. Nil when there is none yet, or the stream is broken.
  std::optional<Message> next();
  bool isBroken() const { return broken_; }

 private:
  std::optional<Message> fail();

  std::string buffer_;
  std::size_t start_ = 0;
  bool broken_ = false;
};

}  // namespace qm::linux_
