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
/// folder's name without its extension; CFBundleExecutable, an executable file in Contents/MacOS; CFBundleIconFile in
/// Contents/Resources; CFBundleTypeMIMETypes of every document type. If the icon's name has no extension or ".icns", an
/// image of the same name in a format that desktops show (.svg or .png) is preferred. An icon whose name is not a valid
/// file name is ignored. An executable with such a name gives kLSNoExecutableErr. `path` is absolute.
platform::OSStatus readApplicationBundle(const std::string& path, ApplicationBundle& bundle);

}  // namespace qm::linux_
