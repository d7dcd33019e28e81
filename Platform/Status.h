// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace qm::platform {

/// Why an operation of the system failed.
struct Failure {
  int code = 0;                      ///< the system's error number, 0 where there is none
  std::string localizedDescription;  ///< one sentence for users, without a newline
};

/// The result of an operation that returns nothing but success or a reason.
class [[nodiscard]] Status {
 public:
  /// A success.
  Status() = default;
  /// A failure.
  Status(Failure failure) : failure_(std::move(failure)) {}

  /// A success, by name.
  static Status success() { return {}; }
  /// A failure with the system's error number and a sentence for users.
  static Status failed(int code, std::string description) { return Failure{code, std::move(description)}; }

  /// Whether it is a success.
  bool ok() const { return !failure_.has_value(); }
  /// The same as `ok`.
  explicit operator bool() const { return ok(); }

  /// The system's error number, 0 after a success.
  int code() const { return failure_ ? failure_->code : 0; }
  /// The sentence for users, "" after a success.
  const std::string& localizedDescription() const {
    static const std::string none;
    return failure_ ? failure_->localizedDescription : none;
  }

 private:
  std::optional<Failure> failure_;
};

}  // namespace qm::platform
