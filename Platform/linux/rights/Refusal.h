#pragma once

#include <string>
#include <utility>
#include <variant>

namespace qm::linux_ {

/// Why something is not done: an error number and a sentence for the console.
struct Refusal {
  int error = 0;
  std::string reason;
};

/// The refusal with the system's words for `error`.
Refusal refusalFor(int error, const std::string& path);

/// A value, or why there is none.
template <class Value>
class Answer {
 public:
  Answer(Value value) : content_(std::move(value)) {}        // NOLINT(google-explicit-constructor)
  Answer(Refusal refusal) : content_(std::move(refusal)) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return content_.index() == 0; }
  Value& operator*() { return *std::get_if<0>(&content_); }
  const Value& operator*() const { return *std::get_if<0>(&content_); }
  Value* operator->() { return std::get_if<0>(&content_); }
  const Value* operator->() const { return std::get_if<0>(&content_); }
  const Refusal& refusal() const { return *std::get_if<1>(&content_); }

 private:
  std::variant<Value, Refusal> content_;
};

}  // namespace qm::linux_
