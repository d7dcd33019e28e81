#include "Platform/linux/archives/ArchiveProblem.h"

#include <cerrno>
#include <system_error>

#include "Platform/foundation/ControlCharacters.h"

namespace qm::linux_ {

std::string shownName(std::string_view name) { return foundation::replacingControlCharacters(name, '?'); }

platform::Status problemWith(std::string_view name, int error) {
  return platform::Status::failed(error, shownName(name) + ": " + std::system_category().message(error));
}

platform::Status problemWith(std::string_view name, const std::string& why) {
  return platform::Status::failed(0, shownName(name) + ": " + why);
}

platform::Status problemInPlace(std::string_view name, int error) {
  switch (error) {
    case 0:
      return platform::Status::success();
    case ELOOP:
      return problemWith(name, "It would be written through a link");
    case EISDIR:
      return problemWith(name, "A folder has its name");
    case ENOTDIR:
      return problemWith(name, "Something that is no folder is in its way");
    default:
      return problemWith(name, error);
  }
}

}  // namespace qm::linux_
