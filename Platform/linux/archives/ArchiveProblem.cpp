#include "Platform/linux/archives/ArchiveProblem.h"

#include <algorithm>
#include <system_error>

namespace qm::linux_ {

std::string shownName(std::string_view name) {
  std::string shown(name);
  const auto isControl = [](unsigned char character) { return character < 0x20 || character == 0x7f; };
  std::replace_if(shown.begin(), shown.end(), isControl, '?');
  return shown;
}

platform::Status problemWith(std::string_view name, int error) {
  return platform::Status::failed(error, shownName(name) + ": " + std::system_category().message(error));
}

platform::Status problemWith(std::string_view name, const std::string& why) {
  return platform::Status::failed(0, shownName(name) + ": " + why);
}

}  // namespace qm::linux_
