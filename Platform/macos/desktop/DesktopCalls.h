// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/DesktopShell.h"

/// Thin wrappers of the calls of Apple events and Launch Services.
namespace qm::macos {

/// The location of an item as a file URL. "" if the text is not a path.
std::string locationOf(const std::string& path);

/// Whether this program may send the Finder update events: 0 if it may. The system shows no dialog.
platform::OSStatus permissionToUpdateFinder();

/// An update event for the Finder. Call `create`, `setLocation` and `send` in this order, each only if the one before
/// has returned 0.
class UpdateEvent {
 public:
  UpdateEvent();
  UpdateEvent(const UpdateEvent&) = delete;
  UpdateEvent& operator=(const UpdateEvent&) = delete;
  ~UpdateEvent();

  platform::OSStatus create();
  platform::OSStatus setLocation(const std::string& location);
  /// Does not wait for a reply.
  platform::OSStatus send();

 private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

/// Registers an application with Launch Services. Only for a path that `locationOf` accepts.
platform::OSStatus registerBundle(const std::string& path);

}  // namespace qm::macos
