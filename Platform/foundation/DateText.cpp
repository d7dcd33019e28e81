// SPDX-License-Identifier: MIT
#include "Platform/foundation/DateText.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace qm::foundation {
namespace {

/// Appends a number with leading zeros; a number with more digits is not cut.
void appendPadded(std::string& text, int number, std::size_t digits) {
  if (number < 0) text += '-';
  const std::string plain = std::to_string(std::abs(number));
  if (plain.size() < digits) text.append(digits - plain.size(), '0');
  text += plain;
}

/// The six fields with their separators: within the date, between date and time, within the time.
std::string fields(const CivilTime& time, std::string_view inDate, std::string_view between, std::string_view inTime) {
  std::string text;
  text.reserve(32);
  appendPadded(text, time.year, 4);
  appendPadded(text.append(inDate), time.month, 2);
  appendPadded(text.append(inDate), time.day, 2);
  appendPadded(text.append(between), time.hour, 2);
  appendPadded(text.append(inTime), time.minute, 2);
  appendPadded(text.append(inTime), time.second, 2);
  return text;
}

}  // namespace

std::string dateDescription(const CivilTime& time) {
  std::string text = fields(time, "-", " ", ":");
  text += time.utcOffsetMinutes < 0 ? " -" : " +";
  const int offset = std::abs(time.utcOffsetMinutes);
  appendPadded(text, offset / 60, 2);
  appendPadded(text, offset % 60, 2);
  return text;
}

std::string compactDate(const CivilTime& time) { return fields(time, "", "", ""); }

std::string isoDate(const CivilTime& time) { return fields(time, "-", "T", ":"); }

bool isIsoDate(std::string_view text) {
  constexpr std::string_view form = "0000-00-00T00:00:00";
  const auto fits = [](char c, char wanted) { return wanted == '0' ? c >= '0' && c <= '9' : c == wanted; };
  return text.size() == form.size() && std::equal(text.begin(), text.end(), form.begin(), fits);
}

}  // namespace qm::foundation
