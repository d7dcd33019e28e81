// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Uninstaller/Product.h"

namespace qm::testing {

/// Allows any tool. `between` is called in the launch's process, between its checks and its work.
class MeddledPolicy : public linux_::AnyToolPolicy {
 public:
  explicit MeddledPolicy(std::function<void()> between) : AnyToolPolicy(kProduct), between_(std::move(between)) {}

  linux_::PreparedWork prepare(const linux_::Launch& launch, const linux_::UserRecord& person) const override {
    linux_::PreparedWork work = AnyToolPolicy::prepare(launch, person);
    between_();
    return work;
  }

 private:
  const std::function<void()> between_;
};

/// From here on this process can open only so many descriptors.
void leaveDescriptors(int number);

}  // namespace qm::testing
