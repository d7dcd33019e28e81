// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qm::foundation {

/// The exception type of the system: a name that distinguishes kinds and a reason for people, which may be null. Copies
/// share their texts, so that copying one while it propagates never fails.
class Exception : public std::exception {
 public:
  /// An exception of a kind, with its reason.
  explicit Exception(std::string name, std::optional<std::string> reason = std::nullopt)
      : texts_(std::make_shared<const Texts>(Texts{std::move(name), std::move(reason)})) {}

  /// Distinguishes kinds.
  const std::string& name() const { return texts_->name; }
  /// For people; may be null.
  const std::optional<std::string>& reason() const { return texts_->reason; }
  /// The reason; "(null)" if it is null, as everywhere a null text is printed.
  const char* what() const noexcept override { return texts_->reason ? texts_->reason->c_str() : "(null)"; }

 private:
  struct Texts {
    std::string name;
    std::optional<std::string> reason;
  };

  std::shared_ptr<const Texts> texts_;
};

}  // namespace qm::foundation
