// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qm::posix {

/// What the error number of a call refers to.
enum class Subject : unsigned {
  Item = 1,                 ///< the item of a file operation
  Destination = 2,          ///< the location that it goes to
  ItemIntoItself = 4,       ///< a folder that would be put into itself
  TrashedItem = 8,          ///< the item of a move to the Trash, or back
  TrashedItemsFolder = 16,  ///< the folder that it is in
  TrashFolder = 32,         ///< a folder of the Trash, whose quoted name replaces "%@"
  ItemForRoot = 64,         ///< an item that root moves to somebody's Trash
  UnpackedItem = 128,       ///< the location of an item of an archive
  ItemPutBack = 256,        ///< an item that root puts back from somebody's Trash
};

/// The reason for a failure, without a full stop: the end of a sentence, or for `UnpackedItem` a whole sentence. "" if
/// there is only the system's own text.
std::string_view messageFor(int error, Subject subject);

/// The system's text for an error number.
std::string systemMessage(int error);

/// "subject: the system's text".
std::string withSystemMessage(std::string_view subject, int error);

/// A name or path on a single line: control characters are shown as "?".
std::string onOneLine(std::string_view name);

/// The same in quotation marks.
std::string quoted(std::string_view name);

}  // namespace qm::posix
