// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Platform/foundation/Exception.h"

/// For code that catches exceptions: whether one is a time-out, and one form of report for all of them. Any thread;
/// never throws.
class QMException {
 public:
  /// What is thrown and caught.
  using Exception = qm::foundation::Exception;

  QMException() = delete;
  QMException(const QMException&) = delete;
  QMException& operator=(const QMException&) = delete;

  /// `didTimeout:`. The exception's name is exactly "NSPortTimeoutException". Null is no time-out.
  static bool didTimeout(const Exception* exception);

  /// `logException:forMethod:`. Reports "Exception in %s. %@ - %@." (the method that caught it, name, reason) in the
  /// log and on the console, and returns the report. The log formats the report again, so a "%" in it is a directive
  /// there. A null exception has neither name nor reason; both print as "(null)", as does a null method.
  static std::string logException(const Exception* exception, const std::optional<std::string>& method);
  /// The same for a method's name as in `__func__`.
  static std::string logException(const Exception* exception, const char* method);
  static std::string logException(const Exception*, std::nullptr_t) = delete;
};
