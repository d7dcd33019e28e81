// SPDX-License-Identifier: MIT
#include <utility>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/NumberedItem.h"

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

class MacDesktopShell final : public platform::DesktopShell {
 public:
  OSStatus newMinimalAlias(const platform::FileReference& reference, std::unique_ptr<platform::Alias>* alias) override {
    const NumberedItem* const item = NumberedItem::in(reference);
    const auto path = item == nullptr ? std::nullopt : item->path();
    if (!path) return platform::fnfErr;
    *alias = std::make_unique<ItemAlias>(*path);
    return platform::noErr;
  }

  OSStatus sendUpdateEvent(const platform::Alias& alias) override {
    const auto* const item = dynamic_cast<const ItemAlias*>(&alias);
    const std::string location = item == nullptr ? std::string() : locationOf(item->path());
    if (location.empty()) return platform::fnfErr;
    if (const OSStatus status = permissionToUpdateFinder()) return status;
    return updateFinder(location);
  }

  OSStatus registerApplication(const std::string& path) override {
    return locationOf(path).empty() ? platform::fnfErr : registerBundle(path);
  }
};

}  // namespace

std::unique_ptr<platform::DesktopShell> makeDesktopShell() { return std::make_unique<MacDesktopShell>(); }

}  // namespace qm::macos
