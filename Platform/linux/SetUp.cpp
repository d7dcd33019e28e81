#include "Platform/SetUp.h"

#include "Platform/linux/LinuxPlatform.h"
#include "Platform/posix/process/MainLoop.h"

namespace qm::platform {

const Platform& setUp(const ProductIdentity& product, Users* users) {
  static auto* const loop = new posix::MainLoop;
  const Platform& services =
      linux_::linuxPlatform(product, {.mainThread = *loop, .descriptorWait = *loop, .users = users});
  install(&services);
  return services;
}

}  // namespace qm::platform
