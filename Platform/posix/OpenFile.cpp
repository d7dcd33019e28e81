// SPDX-License-Identifier: MIT
#include "Platform/posix/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/posix/FileContents.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

using platform::Status;

class PosixFileHandle : public platform::FileHandle {
 public:
  PosixFileHandle(UniqueFd file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  Status seekToEndOfFile() override {
    const off_t end = ::lseek(file_.get(), 0, SEEK_END);
    if (end < 0) return answer(errno);
    whole_ = position_ = end;
    return Status::success();
  }

  Status writeData(std::string_view data) override {
    whole_ = position_;
    if (const int error = writeAll(file_.get(), data.data(), data.size())) {
      position_ = std::max(whole_, ::lseek(file_.get(), 0, SEEK_CUR));
      return answer(error);
    }
    whole_ = position_ += static_cast<off_t>(data.size());
    return Status::success();
  }

  Status removeIncompleteData() override { return answer(cutOff()); }

 private:
  /// The bytes of a failed write can be distinguished from other writers' bytes only while the file ends with them.
  int cutOff() {
    struct stat attributes {};
    if (position_ == whole_) return 0;
    if (::fstat(file_.get(), &attributes) != 0) return errno;
    if (attributes.st_size != position_) return EEXIST;
    if (::ftruncate(file_.get(), whole_) != 0 || ::lseek(file_.get(), whole_, SEEK_SET) < 0) return errno;
    position_ = whole_;
    return 0;
  }

  Status answer(int error) const { return error == 0 ? Status::success() : statusOf(FileAction::Write, error, path_); }

  const UniqueFd file_;
  off_t position_ = 0;
  off_t whole_ = 0;  // the position before the last write, if that failed
  const std::string path_;
};

bool isRegularFile(int file) {
  struct stat attributes {};
  return ::fstat(file, &attributes) == 0 && S_ISREG(attributes.st_mode);
}

}  // namespace

std::shared_ptr<platform::FileHandle> openFileForWriting(const std::string& path) {
  if (pathError(path) != 0) return nullptr;
  UniqueFd file(::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file || !isRegularFile(file.get())) return nullptr;
  return std::make_shared<PosixFileHandle>(std::move(file), path);
}

}  // namespace qm::posix
