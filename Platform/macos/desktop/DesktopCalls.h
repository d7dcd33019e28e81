// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/DesktopShell.h"

/// The calls of Apple events and Launch Services, each as it is.
namespace qm::macos {

/// The location of an item as the frameworks write it; "" for what is no path.
std::string locationOf(const std::string& path);

/// Whether this program may send the Finder update events: 0 if it may. Nobody is asked.
platform::OSStatus permissionToUpdateFinder();

/// Sends the Finder the update event for a location. Waits for no reply.
platform::OSStatus sendFinderUpdate(const std::string& location);

platform::OSStatus registerBundle(const std::string& path);

}  // namespace qm::macos
