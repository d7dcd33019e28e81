#include "Platform/posix/FileMessages.h"

#include <algorithm>
#include <string_view>
#include <system_error>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

constexpr std::string_view kDamagedPath = "its path can’t be used";

struct Reason {
  int code;
  FileError::Side side;
  std::string_view text;
};

/// Everything that people may be told about why; other numbers are put in the system's words.
constexpr auto kSource = FileError::Side::Source;
constexpr auto kDestination = FileError::Side::Destination;
constexpr Reason kReasons[] = {
    {ENOENT, kSource, "it doesn’t exist"},
    {ENOENT, kDestination, "the folder doesn’t exist"},
    {EEXIST, kSource, "an item with the same name already exists"},
    {EEXIST, kDestination, "an item with the same name already exists"},
    {EACCES, kSource, "you don’t have permission"},
    {EPERM, kSource, "you don’t have permission"},
    {EACCES, kDestination, "you don’t have permission"},
    {EPERM, kDestination, "you don’t have permission"},
    {EROFS, kSource, "the volume is read-only"},
    {EROFS, kDestination, "the volume is read-only"},
    {ENOSPC, kSource, "there isn’t enough space"},
    {ENOSPC, kDestination, "there isn’t enough space"},
    {EDQUOT, kSource, "there isn’t enough space"},
    {EDQUOT, kDestination, "there isn’t enough space"},
    {ENAMETOOLONG, kSource, "its name or path is too long"},
    {ENAMETOOLONG, kDestination, "the name or path there is too long"},
    {EINVAL, kSource, kDamagedPath},
    {EINVAL, kDestination, "the path there can’t be used"},
    {EINVAL, FileError::Side::Itself, "a folder can’t be put into itself"},
    {ENOTDIR, kSource, "a part of its path isn’t a folder"},
    {ENOTDIR, kDestination, "a part of the path there isn’t a folder"},
    {EISDIR, kSource, "it is a folder"},
    {ENOTEMPTY, kSource, "something was put into it meanwhile"},
    {EBUSY, kSource, "it is in use or holds another volume"},
    {ESTALE, kSource, "it was changed meanwhile"},
};

std::string_view actionText(FileOperation operation) {
  switch (operation) {
    case FileOperation::Move:
      return "moved";
    case FileOperation::Link:
      return "linked";
    case FileOperation::Copy:
      return "copied";
    case FileOperation::CreateFolder:
      return "created";
    case FileOperation::Remove:
      return "removed";
    case FileOperation::Write:
      return "saved";
    case FileOperation::Lock:
      return "locked";
    case FileOperation::Unlock:
      return "unlocked";
    case FileOperation::Date:
      return "dated";
    case FileOperation::Label:
      return "labelled";
  }
  return {};
}

/// A name between quotation marks, on one line whatever it holds.
std::string quoted(const std::string& name) { return "“" + foundation::replacingControlCharacters(name, '?') + "”"; }

std::string reasonText(const FileError& error) {
  if (error.side == FileError::Side::InTheWay) return " because " + quoted(error.item) + " is in it.";
  const auto* reason = std::find_if(std::begin(kReasons), std::end(kReasons), [&](const Reason& candidate) {
    return candidate.code == error.code && candidate.side == error.side;
  });
  if (reason != std::end(kReasons)) return " because " + std::string(reason->text) + ".";
  return " (" + std::generic_category().message(error.code) + ").";
}

}  // namespace

platform::Status statusOf(FileOperation operation, const FileError& error, const std::string& path,
                          const std::string& destination) {
  if (!error) return platform::Status::success();
  const bool isCallersItem = error.item.empty() || error.side == FileError::Side::InTheWay;
  std::string text = quoted(isCallersItem ? nameIn(path) : error.item) + " couldn’t be ";
  text += actionText(operation);
  if (!destination.empty()) text += " to " + quoted(nameIn(folderOf(destination)));
  return platform::Status::failed(error.code, text + reasonText(error));
}

}  // namespace qm::posix
