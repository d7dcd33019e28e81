// SPDX-License-Identifier: MIT
#include "Platform/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace qm::platform {
namespace {
std::atomic<const Platform*> installed{nullptr};
}  // namespace

const Platform& platform() {
  const Platform* services = installed.load(std::memory_order_acquire);
  if (services == nullptr) {
    static_cast<void>(std::fputs("The services are used before qm::platform::setUp has set them up.\n", stderr));
    std::abort();
  }
  return *services;
}

const Platform* install(const Platform* services) { return installed.exchange(services, std::memory_order_acq_rel); }

}  // namespace qm::platform
