// SPDX-License-Identifier: MIT
#include "Shared/QMException.h"

#include "Platform/Console.h"
#include "Platform/foundation/Format.h"
#include "Shared/QMLog.h"

bool QMException::didTimeout(const Exception* exception) {
  return exception != nullptr && exception->name() == "NSPortTimeoutException";
}

std::string QMException::logException(const Exception* exception, const char* method) {
  return logException(exception, method != nullptr ? std::optional<std::string>(method) : std::nullopt);
}

std::string QMException::logException(const Exception* exception, const std::optional<std::string>& method) {
  using Text = std::optional<std::string>;
  const Text name = exception != nullptr ? Text(exception->name()) : std::nullopt;
  const Text reason = exception != nullptr ? exception->reason() : std::nullopt;
  std::string report = qm::foundation::formatted("Exception in %s. %@ - %@.", method, name, reason);
  QMLog::appendLog(report);
  qm::platform::printToConsole("%@", report);
  return report;
}
