// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

namespace qm::linux_ {

/// A changed item, as it is shown to the desktop.
struct ChangedItem {
  std::string path;
  bool isFolder = false;
};

/// Notifies the listeners on a session's message bus, as "org.kde.KDirNotify" from the object "/": FilesChanged with
/// the item, and for a folder also FilesAdded, upon which it is read again. Items are "file" URLs. Returns whether the
/// bus has accepted the notice within `limit`.
bool sendNotice(const std::string& busAddress, const ChangedItem& item, std::chrono::milliseconds limit);

/// The address of the bus in a runtime folder.
std::string busIn(const std::string& runtimeFolder);

}  // namespace qm::linux_
