// SPDX-License-Identifier: MIT
#include "Platform/posix/ErrorWords.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "Platform/foundation/ControlCharacters.h"

namespace qm::posix {
namespace {

constexpr unsigned kItem = static_cast<unsigned>(Subject::Item);
constexpr unsigned kDestination = static_cast<unsigned>(Subject::Destination);
constexpr unsigned kIntoItself = static_cast<unsigned>(Subject::ItemIntoItself);
constexpr unsigned kTrashed = static_cast<unsigned>(Subject::TrashedItem);
constexpr unsigned kTrashedsFolder = static_cast<unsigned>(Subject::TrashedItemsFolder);
constexpr unsigned kTrashFolder = static_cast<unsigned>(Subject::TrashFolder);
constexpr unsigned kForRoot = static_cast<unsigned>(Subject::ItemForRoot);
constexpr unsigned kUnpacked = static_cast<unsigned>(Subject::UnpackedItem);
constexpr unsigned kPutBack = static_cast<unsigned>(Subject::ItemPutBack);

struct Words {
  int code;
  unsigned subjects;
  std::string_view text;
};

/// All reasons that may be shown to people.
constexpr Words kWords[] = {
    {ENOENT, kItem | kTrashed, "it doesn’t exist"},
    {ENOENT, kDestination, "the folder doesn’t exist"},
    {ENOENT, kTrashedsFolder, "its folder doesn’t exist"},
    {EEXIST, kItem | kDestination, "an item with the same name already exists"},
    {EEXIST, kTrashed, "something else is there now"},
    {EACCES, kItem | kDestination, "you don’t have permission"},
    {EACCES, kTrashed, "you don’t have permission to move it"},
    {EACCES, kTrashedsFolder, "you don’t have permission to open its folder"},
    {EACCES, kTrashFolder, "you don’t have permission to use the Trash folder %@"},
    {EPERM, kItem | kDestination, "you don’t have permission"},
    {EPERM, kTrashed, "it is locked or belongs to somebody else"},
    {EPERM, kTrashFolder, "the Trash folder %@ belongs to somebody else"},
    {EPERM, kForRoot, "something in it is locked"},
    {ENODEV, kForRoot, "it contains a device, which cannot be copied"},
    {ENODEV, kPutBack, "a device is in it"},
    {ENOTSUP, kForRoot, "its volume is not the Trash's, and is mounted nosuid or nodev"},
    {EROFS, kItem | kDestination, "the volume is read-only"},
    {EROFS, kTrashed, "its volume can’t be changed"},
    {EXDEV, kPutBack, "it is on another volume, whose file owners cannot be trusted"},
    {EXDEV, kTrashed, "its volume has no Trash that it can be moved to"},
    {ENOSPC, kItem | kDestination, "there isn’t enough space"},
    {EDQUOT, kItem | kDestination, "there isn’t enough space"},
    {ENOSPC, kTrashed, "there is no space left on its volume"},
    {EDQUOT, kTrashed, "there is no space left on its volume"},
    {ENAMETOOLONG, kItem, "its name or path is too long"},
    {ENAMETOOLONG, kDestination, "the name or path there is too long"},
    {EINVAL, kItem, "its path can’t be used"},
    {EINVAL, kDestination, "the path there can’t be used"},
    {EINVAL, kIntoItself, "a folder can’t be put into itself"},
    {ENOTDIR, kItem, "a part of its path isn’t a folder"},
    {ENOTDIR, kDestination, "a part of the path there isn’t a folder"},
    {ENOTDIR, kTrashedsFolder, "a part of the path to it is not a folder"},
    {ENOTDIR, kTrashFolder, "%@ is not a real folder"},
    {ENOTDIR, kUnpacked, "Something other than a folder is in the way"},
    {ELOOP, kTrashedsFolder, "the links to its folder lead in a circle"},
    {ELOOP, kTrashFolder, "%@ is not a real folder"},
    {ELOOP, kUnpacked, "It would be written through a link"},
    {EISDIR, kItem, "it is a folder"},
    {EISDIR, kUnpacked, "A folder is in the way"},
    {ENOTEMPTY, kItem, "something was put into it meanwhile"},
    {EBUSY, kItem, "it is in use or holds another volume"},
    {EBUSY, kTrashed, "a volume is mounted there"},
    {EBUSY, kForRoot | kPutBack, "a volume is mounted in it"},
    {EMLINK, kForRoot, "a file in it has other names, under which it would be changed, too"},
    {EMLINK, kPutBack, "a file in it has other names elsewhere"},
    {ESTALE, kPutBack, "something else has taken its place in the Trash"},
    {ESTALE, kItem, "it was changed meanwhile"},
};

}  // namespace

std::string_view messageFor(int error, Subject subject) {
  const auto* words = std::ranges::find_if(kWords, [&](const Words& candidate) {
    return candidate.code == error && (candidate.subjects & static_cast<unsigned>(subject)) != 0;
  });
  return words != std::end(kWords) ? words->text : std::string_view();
}

std::string systemMessage(int error) { return std::generic_category().message(error); }

std::string withSystemMessage(std::string_view subject, int error) {
  return std::string(subject) + ": " + systemMessage(error);
}

std::string onOneLine(std::string_view name) { return foundation::replacingControlCharacters(name, '?'); }

std::string quoted(std::string_view name) { return "“" + onOneLine(name) + "”"; }

}  // namespace qm::posix
