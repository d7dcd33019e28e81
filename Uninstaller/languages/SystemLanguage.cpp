#include "Uninstaller/SystemLanguage.h"

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/system/SystemFacts.h"
#include "Uninstaller/languages/GettextLanguage.h"

namespace qm::uninstaller {
namespace {

/// Beside the folder of the program, as installed and as built.
std::string catalogueFolder() {
  const auto program = linux_::runningExecutable();
  if (!program) return "/usr/share/locale";
  const std::string folder = foundation::deletingLastPathComponent(*program);
  return foundation::deletingLastPathComponent(folder) + "/share/locale";
}

}  // namespace

const Language& systemLanguage() {
  static const auto* const shared = new GettextLanguage(catalogueFolder());
  return *shared;
}

}  // namespace qm::uninstaller
