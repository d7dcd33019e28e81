#include "Platform/posix/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

  Status seekToEndOfFile() override { return answer(::lseek(file_.get(), 0, SEEK_END) < 0 ? errno : 0); }

  Status writeData(std::string_view data) override { return answer(writeAll(file_.get(), data.data(), data.size())); }

 private:
  Status answer(int error) const {
    return error == 0 ? Status::success() : statusOf(FileOperation::Write, error, path_);
  }

  const UniqueFd file_;
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
