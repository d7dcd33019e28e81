// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalDetails.h"

#include <system_error>

#include "Platform/foundation/ControlCharacters.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/Sentences.h"

using qm::uninstaller::catalogued;
using qm::uninstaller::inLanguage;
using qm::uninstaller::language;

namespace {

std::string line(const std::string& text) { return qm::foundation::replacingControlCharacters(text, '?') + "\n"; }

}  // namespace

bool stayedWithoutRights(const ItemResult& result) {
  const auto error = static_cast<std::errc>(result.error);
  return result.notAuthorized && (error == std::errc::permission_denied || error == std::errc::operation_not_permitted);
}

std::string reasonToStay(const ItemResult& result) {
  if (stayedWithoutRights(result))
    return result.reason.empty() ? catalogued("Not authorized.") : "Not authorized: " + result.reason;
  return result.reason.empty() ? catalogued("The system gives no reason.") : result.reason;
}

std::string removalDetails(const std::vector<ItemResult>& stayed) {
  std::string details;
  for (const ItemResult& each : stayed) {
    if (!details.empty()) details += "\n";
    details += line(each.planned.path.value_or("")) + line(inLanguage(language(), reasonToStay(each)));
  }
  return details;
}
