#pragma once

#include <string>
#include <string_view>

namespace qm::posix {

/// What the error number of a call speaks of.
enum class Subject : unsigned {
  Item = 1,                 ///< the item of a file operation
  Destination = 2,          ///< the place that it goes to
  ItemIntoItself = 4,       ///< a folder that would go into itself
  TrashedItem = 8,          ///< the item of a move to the Trash, or back
  TrashedItemsFolder = 16,  ///< the folder that it is in
  TrashFolder = 32,         ///< a folder of the Trash, whose quoted name goes in the place of "%@"
  ItemForRoot = 64,         ///< an item that root moves to somebody's Trash
  UnpackedItem = 128,       ///< the place of an item of an archive
  ItemPutBack = 256,        ///< an item that root puts back from somebody's Trash
};

/// Why it failed, as the words that end a sentence, without its full stop. "" where the system's own words have to do.
std::string_view wordsFor(int error, Subject subject);

/// The system's words for an error number.
std::string systemWords(int error);

/// "subject: the system's words".
std::string withSystemWords(std::string_view subject, int error);

/// A name or path on one line whatever it holds: control characters are shown as "?".
std::string onOneLine(std::string_view name);

/// The same between quotation marks.
std::string quoted(std::string_view name);

}  // namespace qm::posix
