// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Users.h"

namespace qm::macos {

class MacUsers final : public platform::Users {
 public:
  unsigned realUserId() const override;
  std::string userName() const override;
  std::string homeDirectory() const override;
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override;
  std::optional<std::string> consoleUser() const override;
};

}  // namespace qm::macos
