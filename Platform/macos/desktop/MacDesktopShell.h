// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/DesktopShell.h"

namespace qm::macos {

/// The Finder and Launch Services. An update event is sent only if the user's consent is not needed any more, because a
/// dialog would keep the sender waiting.
class MacDesktopShell final : public platform::DesktopShell {
 public:
  platform::OSStatus newMinimalAlias(const platform::FileReference& reference,
                                     std::unique_ptr<platform::Alias>* alias) override;
  platform::OSStatus sendUpdateEvent(const platform::Alias& alias) override;
  platform::OSStatus registerApplication(const std::string& path) override;
};

}  // namespace qm::macos
