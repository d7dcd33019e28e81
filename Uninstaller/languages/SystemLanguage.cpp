// SPDX-License-Identifier: MIT
#include "Uninstaller/SystemLanguage.h"

#include "Platform/linux/system/OwnPrograms.h"
#include "Platform/linux/system/SystemFacts.h"
#include "Uninstaller/InstalledFolders.h"
#include "Uninstaller/languages/GettextLanguage.h"

namespace qm::uninstaller {

const Language& systemLanguage() {
  static const auto* const shared =
      new GettextLanguage(linux_::installedFolder(linux_::runningExecutable(), kInstalledCataloguesFolder));
  return *shared;
}

}  // namespace qm::uninstaller
