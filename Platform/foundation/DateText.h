// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::foundation {

/// A date in calendar fields and time of day.
struct CivilTime {
  int year = 1970;
  int month = 1;  ///< 1 to 12
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int utcOffsetMinutes = 0;  ///< east of Greenwich is positive

  bool operator==(const CivilTime&) const = default;
};

/// The default date description: "2024-02-29 23:05:07 +0130".
std::string dateDescription(const CivilTime& time);

/// The digits of a date without separators (%Y%m%d%H%M%S): "20240229230507".
std::string compactDate(const CivilTime& time);

/// The date of a Trash entry (%Y-%m-%dT%H:%M:%S): "2024-02-29T23:05:07".
std::string isoDate(const CivilTime& time);
/// Whether a text has the form of such a date.
bool isIsoDate(std::string_view text);

}  // namespace qm::foundation
