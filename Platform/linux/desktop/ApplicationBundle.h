// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/DesktopShell.h"
#include "Platform/linux/desktop/DesktopEntry.h"

namespace qm::linux_ {

struct ApplicationBundle {
  std::string identifier;  ///< "" if it has none
  DesktopEntry entry;
};

/// The description of an application bundle in Contents/Info.plist: CFBundleDisplayName, else CFBundleName, else the
/// folder's name; CFBundleExecutable, an executable file in Contents/MacOS; CFBundleIconFile in Contents/Resources, or
/// an image of the same name beside it in a format that desktops show; CFBundleTypeMIMETypes of every document type.
/// Texts that are not valid file names are ignored. `path` is absolute.
platform::OSStatus readApplicationBundle(const std::string& path, ApplicationBundle& bundle);

}  // namespace qm::linux_
