// SPDX-License-Identifier: MIT
#include "Platform/macos/desktop/MacDesktopShell.h"

#include <utility>

#include "Platform/macos/desktop/DesktopCalls.h"
#include "Platform/macos/files/MacFileReferences.h"

namespace qm::macos {
namespace {

using platform::OSStatus;

/// Used in place of the system's aliases, which are deprecated. The Finder accepts the location of the item's path
/// instead.
class ItemAlias final : public platform::Alias {
 public:
  explicit ItemAlias(std::string path) : path_(std::move(path)) {}
  const std::string& path() const { return path_; }

 private:
  const std::string path_;
};

}  // namespace

OSStatus MacDesktopShell::newMinimalAlias(const platform::FileReference& reference,
                                          std::unique_ptr<platform::Alias>* alias) {
  const NumberedItem* const item = NumberedItem::in(reference);
  const auto path = item == nullptr ? std::nullopt : item->path();
  if (!path) return platform::fnfErr;
  *alias = std::make_unique<ItemAlias>(*path);
  return platform::noErr;
}

OSStatus MacDesktopShell::sendUpdateEvent(const platform::Alias& alias) {
  const auto* const item = dynamic_cast<const ItemAlias*>(&alias);
  const std::string location = item == nullptr ? std::string() : locationOf(item->path());
  if (location.empty()) return platform::fnfErr;
  if (const OSStatus status = permissionToUpdateFinder()) return status;
  UpdateEvent event;
  if (const OSStatus status = event.create()) return status;
  if (const OSStatus status = event.setLocation(location)) return status;
  return event.send();
}

OSStatus MacDesktopShell::registerApplication(const std::string& path) {
  return locationOf(path).empty() ? platform::fnfErr : registerBundle(path);
}

}  // namespace qm::macos
