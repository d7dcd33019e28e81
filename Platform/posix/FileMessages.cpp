// SPDX-License-Identifier: MIT
#include "Platform/posix/FileMessages.h"

#include <string_view>

#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

std::string_view actionText(FileAction action) {
  switch (action) {
    case FileAction::Move:
      return "moved";
    case FileAction::Link:
      return "linked";
    case FileAction::Copy:
      return "copied";
    case FileAction::CreateFolder:
      return "created";
    case FileAction::Remove:
      return "removed";
    case FileAction::Write:
      return "saved";
    case FileAction::Lock:
      return "locked";
    case FileAction::Unlock:
      return "unlocked";
    case FileAction::Date:
      return "dated";
    case FileAction::Label:
      return "labelled";
  }
  return {};
}

Subject subjectOf(FileError::Side side) {
  if (side == FileError::Side::Itself) return Subject::ItemIntoItself;
  return side == FileError::Side::Destination ? Subject::Destination : Subject::Item;
}

std::string reasonText(const FileError& error) {
  if (error.side == FileError::Side::InTheWay) return " because " + quoted(error.item) + " is in it.";
  const std::string_view words = messageFor(error.code, subjectOf(error.side));
  if (!words.empty()) return " because " + std::string(words) + ".";
  return " (" + systemMessage(error.code) + ").";
}

}  // namespace

platform::Status statusOf(FileAction action, const FileError& error, const std::string& path,
                          const std::string& destination) {
  if (!error) return platform::Status::success();
  const bool isCallersItem = error.item.empty() || error.side == FileError::Side::InTheWay;
  std::string text = quoted(isCallersItem ? nameIn(path) : error.item) + " couldn’t be ";
  text += actionText(action);
  if (!destination.empty()) text += " to " + quoted(nameIn(folderOf(destination)));
  return platform::Status::failed(error.code, text + reasonText(error));
}

}  // namespace qm::posix
