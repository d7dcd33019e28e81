// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/protocol/Messages.h"

#include <algorithm>
#include <utility>

namespace qm::linux_ {
namespace {

// A message is the length of its body (four bytes), its kind (one) and the body. Numbers are little-endian. A text is
// its length (four bytes) and its bytes.
constexpr std::size_t kHeaderSize = 5;

enum class Kind : unsigned char { Hello = 1, Launch = 2, Started = 3, Exited = 4 };

class Writer {
 public:
  template <class Number>
  void number(Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      bytes_ += static_cast<char>(static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8U * i)));
    }
  }

  void text(std::string_view text) {
    number(static_cast<std::uint32_t>(text.size()));
    bytes_ += text;
  }

  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

class Parser {
 public:
  explicit Parser(std::string_view bytes) : rest_(bytes) {}

  template <class Number>
  Number number() {
    const std::string_view bytes = take(sizeof(Number));
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8U * i);
    }
    return static_cast<Number>(value);
  }

  std::string text(std::size_t longest) {
    const auto size = number<std::uint32_t>();
    demand(size <= longest);
    const std::string_view bytes = take(size);
    demand(bytes.find('\0') == std::string_view::npos);
    return std::string(bytes);
  }

  std::vector<std::string> texts() {
    const auto count = number<std::uint32_t>();
    demand(count <= kMostArguments);
    std::vector<std::string> texts;
    for (std::uint32_t i = 0; i < count && good_; ++i) texts.push_back(text(kLargestBody));
    return texts;
  }

  bool isComplete() const { return good_ && rest_.empty(); }

 private:
  // What is left, if that is less.
  std::string_view take(std::size_t size) {
    demand(size <= rest_.size());
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  void demand(bool rule) { good_ = good_ && rule; }

  std::string_view rest_;
  bool good_ = true;
};

std::string_view cut(const std::string& text) { return std::string_view(text).substr(0, kLongestText); }

// Reasons and notes contain paths, and may contain any byte but NUL.
bool isText(std::string_view text) { return text.find('\0') == std::string_view::npos; }

bool mayBeSent(const Hello& /*hello*/) { return true; }
bool mayBeSent(const Started& started) { return isText(cut(started.reason)); }
bool mayBeSent(const Exited& exited) { return isText(cut(exited.note)); }
bool mayBeSent(const Launch& launch) {
  return launch.arguments.size() <= kMostArguments && isText(launch.tool) &&
         std::ranges::all_of(launch.arguments, isText);
}

Kind write(const Hello& hello, Writer& body) {
  body.number(hello.version);
  return Kind::Hello;
}

Kind write(const Launch& launch, Writer& body) {
  body.number(launch.number);
  body.text(launch.tool);
  body.number(static_cast<std::uint32_t>(launch.arguments.size()));
  for (const std::string& argument : launch.arguments) body.text(argument);
  return Kind::Launch;
}

Kind write(const Started& started, Writer& body) {
  body.number(started.number);
  body.number(started.error);
  body.number(started.process);
  body.text(cut(started.reason));
  return Kind::Started;
}

Kind write(const Exited& exited, Writer& body) {
  body.number(exited.number);
  body.number(exited.waitStatus);
  body.text(cut(exited.note));
  return Kind::Exited;
}

Hello readHello(Parser& body) { return {body.number<std::uint32_t>()}; }

// The members are read in the order in which they are listed.
Launch readLaunch(Parser& body) { return {body.number<std::uint64_t>(), body.text(kLargestBody), body.texts()}; }

Started readStarted(Parser& body) {
  return {body.number<std::uint64_t>(), body.number<std::int32_t>(), body.number<std::int32_t>(),
          body.text(kLongestText)};
}

Exited readExited(Parser& body) {
  return {body.number<std::uint64_t>(), body.number<std::int32_t>(), body.text(kLongestText)};
}

std::optional<Message> readMessage(unsigned char kind, Parser& body) {
  switch (static_cast<Kind>(kind)) {
    case Kind::Hello:
      return readHello(body);
    case Kind::Launch:
      return readLaunch(body);
    case Kind::Started:
      return readStarted(body);
    case Kind::Exited:
      return readExited(body);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> encoded(const Message& message) {
  if (!std::visit([](const auto& any) { return mayBeSent(any); }, message)) return std::nullopt;
  Writer body;
  const Kind kind = std::visit([&](const auto& any) { return write(any, body); }, message);
  const std::string bytes = body.take();
  if (bytes.size() > kLargestBody) return std::nullopt;
  Writer frame;
  frame.number(static_cast<std::uint32_t>(bytes.size()));
  frame.number(static_cast<unsigned char>(kind));
  return frame.take() + bytes;
}

void MessageReader::append(std::string_view bytes) {
  if (broken_) return;
  buffer_.erase(0, start_);
  start_ = 0;
  buffer_ += bytes;
}

std::optional<Message> MessageReader::next() {
  const std::string_view rest = std::string_view(buffer_).substr(start_);
  if (broken_ || rest.size() < kHeaderSize) return std::nullopt;
  Parser header(rest.substr(0, kHeaderSize));
  const std::size_t size = header.number<std::uint32_t>();
  const auto kind = header.number<unsigned char>();
  if (size > kLargestBody) return fail();
  if (rest.size() - kHeaderSize < size) return std::nullopt;
  Parser body(rest.substr(kHeaderSize, size));
  std::optional<Message> message = readMessage(kind, body);
  if (!message || !body.isComplete()) return fail();
  start_ += kHeaderSize + size;
  return message;
}

std::optional<Message> MessageReader::fail() {
  broken_ = true;
  return std::nullopt;
}

}  // namespace qm::linux_
