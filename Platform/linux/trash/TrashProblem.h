#pragma once

#include <string>
#include <utility>
#include <variant>

#include "Platform/Status.h"

namespace qm::linux_ {

/// Why an item stays where it is: the system's error number, and the words that follow "because".
struct TrashProblem {
  int code = 0;
  std::string because;
};

/// The problem behind an error number of a call that had to do with the item itself.
TrashProblem itemProblem(int code);

/// The problem of a Trash folder that cannot be made, opened or written to.
TrashProblem trashFolderProblem(int code, const std::string& folder);

/// The sentences for people about an item that cannot be moved to the Trash, be looked for there, or be put back.
/// Control characters of the name are shown as "?".
platform::Status trashFailure(const std::string& name, const TrashProblem& problem);
platform::Status lookFailure(const std::string& name, const TrashProblem& problem);
platform::Status putBackFailure(const std::string& name, const TrashProblem& problem);

/// A value, or why there is none.
template <class Value>
class Outcome {
 public:
  Outcome(Value value) : content_(std::move(value)) {}
  Outcome(TrashProblem problem) : content_(std::move(problem)) {}

  explicit operator bool() const { return std::holds_alternative<Value>(content_); }
  Value& operator*() { return std::get<Value>(content_); }
  Value* operator->() { return &std::get<Value>(content_); }
  const TrashProblem& problem() const { return std::get<TrashProblem>(content_); }

 private:
  std::variant<Value, TrashProblem> content_;
};

}  // namespace qm::linux_
