#pragma once

#include <chrono>
#include <string>

namespace qm::linux_ {

/// An item that has changed, for whom it is shown to.
struct ChangedItem {
  std::string path;
  bool isFolder = false;
};

/// Tells whoever listens on a session's message bus, as "org.kde.KDirNotify" from the object "/": FilesChanged with
/// the item, and for a folder also FilesAdded, at which it is read again. Items are "file" addresses. Answers
/// whether the bus has taken the notice, within `limit`.
bool sendNotice(const std::string& busAddress, const ChangedItem& item, std::chrono::milliseconds limit);

/// The bus in a runtime folder, in the form of an address.
std::string busIn(const std::string& runtimeFolder);

}  // namespace qm::linux_
