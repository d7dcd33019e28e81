#pragma once

#include <string>

#include "Platform/DesktopShell.h"
#include "Platform/linux/desktop/DesktopEntry.h"

namespace qm::linux_ {

struct ApplicationBundle {
  std::string identifier;  ///< "" when it has none
  DesktopEntry entry;
};

/// What Contents/Info.plist says of an application bundle: CFBundleDisplayName, else CFBundleName, else the
/// folder's name; CFBundleExecutable, an executable file in Contents/MacOS; CFBundleIconFile in Contents/Resources,
/// as a picture that desktops show if there is one of that name beside it; CFBundleTypeMIMETypes of every
/// document type. Texts that are no names of files lead nowhere. `path` is absolute.
platform::OSStatus readApplicationBundle(const std::string& path, ApplicationBundle& bundle);

}  // namespace qm::linux_
