#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qm::foundation {

/// What is raised inside the system: a name that tells kinds apart and a reason for people, which may be
/// nil. Copies share their texts, so that copying one on its way up never fails.
class Exception : public std::exception {
 public:
  explicit Exception(std::string name, std::optional<std::string> reason = std::nullopt)
      : texts_(std::make_shared<const Texts>(Texts{std::move(name), std::move(reason)})) {}

  const std::string& name() const { return texts_->name; }
  const std::optional<std::string>& reason() const { return texts_->reason; }
  /// The reason; "(null)", as everywhere a nil text is printed, when it is nil.
  const char* what() const noexcept override { return texts_->reason ? texts_->reason->c_str() : "(null)"; }

 private:
  struct Texts {
    std::string name;
    std::optional<std::string> reason;
  };

  std::shared_ptr<const Texts> texts_;
};

}  // namespace qm::foundation
