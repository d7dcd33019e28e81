// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/DesktopShell.h"

/// The calls of Apple events and Launch Services, each as it is.
namespace qm::macos {

/// The location of an item as the frameworks write it; "" for what is no path.
std::string locationOf(const std::string& path);

/// Whether this program may send the Finder update events: 0 if it may. Nobody is asked.
platform::OSStatus permissionToUpdateFinder();

/// An update event for the Finder. The steps come in this order, each only after the one before it has returned 0.
class UpdateEvent {
 public:
  UpdateEvent();
  UpdateEvent(const UpdateEvent&) = delete;
  UpdateEvent& operator=(const UpdateEvent&) = delete;
  ~UpdateEvent();

  platform::OSStatus create();
  platform::OSStatus setLocation(const std::string& location);
  /// Waits for no reply.
  platform::OSStatus send();

 private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

/// Only for a path that has a location.
platform::OSStatus registerBundle(const std::string& path);

}  // namespace qm::macos
