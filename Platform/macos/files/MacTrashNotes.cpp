// SPDX-License-Identifier: MIT
#include <sys/param.h>
#include <sys/xattr.h>

#include <array>
#include <cerrno>

#include "Platform/macos/files/TrashNote.h"
#include "Platform/posix/FileError.h"

namespace qm::macos {

TrashNotes::TrashNotes(std::string_view product)
    : attribute_(product.empty() ? std::string() : std::string(product) + ".trashed") {}

int TrashNotes::write(int item, const TrashNote& note) const {
  if (attribute_.empty()) return ENOTSUP;
  const std::string text = noteText(note);
  return posix::errorOf(::fsetxattr(item, attribute_.c_str(), text.data(), text.size(), 0, 0));
}

std::optional<TrashNote> TrashNotes::read(int item) const {
  std::array<char, MAXPATHLEN + 64> text{};
  const ssize_t size = ::fgetxattr(item, attribute_.c_str(), text.data(), text.size(), 0, 0);
  return size > 0 ? parsedNote({text.data(), static_cast<std::size_t>(size)}) : std::nullopt;
}

void TrashNotes::remove(int item) const { static_cast<void>(::fremovexattr(item, attribute_.c_str(), 0)); }

}  // namespace qm::macos
