// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

namespace qm::testing {

/// Installs services for as long as it lives, then the ones before them. Threads that use the services
/// must have ended by then.
class ScopedPlatform {
 public:
  explicit ScopedPlatform(const platform::Platform& services);
  ScopedPlatform(const ScopedPlatform&) = delete;
  ScopedPlatform& operator=(const ScopedPlatform&) = delete;
  ~ScopedPlatform();

 private:
  const platform::Platform* previous_;
};

}  // namespace qm::testing
