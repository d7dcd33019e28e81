// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/InfoFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/posix/FileContents.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

InfoFile::InfoFile(int folder, const std::string& stored)
    : folder_(folder), name_(stored + std::string(kTrashInfoSuffix)) {}

int InfoFile::create(std::string_view text, WrittenThrough writtenThrough) {
  // A link of that name makes it taken: O_EXCL does not follow it.
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  posix::UniqueFd file(::openat(folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
  if (!file) return errno;
  made_ = true;
  if (const int error = posix::writeAll(file.get(), text.data(), text.size())) return error;
  if (writtenThrough == WrittenThrough::Yes && ::fsync(file.get()) != 0) return errno;
  return file.close();
}

void InfoFile::discard() {
  if (made_) ::unlinkat(folder_, name_.c_str(), 0);
  made_ = false;
}

}  // namespace qm::linux_
