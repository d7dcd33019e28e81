// SPDX-License-Identifier: MIT
#pragma once

#include <utility>
#include <variant>

namespace qm::foundation {

/// A value, or the problem that explains why there is none. Made from either.
template <class Value, class Problem>
class Outcome {
 public:
  Outcome(Value value) : content_(std::move(value)) {}        // NOLINT(google-explicit-constructor)
  Outcome(Problem problem) : content_(std::move(problem)) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return content_.index() == 0; }
  Value& operator*() { return *std::get_if<0>(&content_); }
  const Value& operator*() const { return *std::get_if<0>(&content_); }
  Value* operator->() { return std::get_if<0>(&content_); }
  const Value* operator->() const { return std::get_if<0>(&content_); }
  const Problem& problem() const { return *std::get_if<1>(&content_); }

 private:
  std::variant<Value, Problem> content_;
};

}  // namespace qm::foundation
