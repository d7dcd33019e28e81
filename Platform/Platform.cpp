#include "Platform/Platform.h"

#include <atomic>
#include <cassert>

namespace qm::platform {
namespace {
std::atomic<const Platform*> installed{nullptr};
}  // namespace

const Platform& platform() {
  const Platform* services = installed.load(std::memory_order_acquire);
  assert(services != nullptr && "platform services are used before they are installed");
  return *services;
}

const Platform* install(const Platform* services) { return installed.exchange(services, std::memory_order_acq_rel); }

}  // namespace qm::platform
