// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ArchiveProblem.h"

#include "Platform/posix/ErrorWords.h"

namespace qm::linux_ {

std::string shownName(std::string_view name) { return posix::onOneLine(name); }

platform::Status problemWith(std::string_view name, int error) {
  return platform::Status::failed(error, posix::withSystemMessage(shownName(name), error));
}

platform::Status problemWith(std::string_view name, const std::string& why) {
  return platform::Status::failed(0, shownName(name) + ": " + why);
}

platform::Status problemInPlace(std::string_view name, int error) {
  if (error == 0) return platform::Status::success();
  const std::string_view words = posix::messageFor(error, posix::Subject::UnpackedItem);
  return words.empty() ? problemWith(name, error) : problemWith(name, std::string(words));
}

}  // namespace qm::linux_
