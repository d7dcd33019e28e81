#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm::linux_ {

/// An application as the desktop's menu shows it. Texts may hold anything; paths are absolute.
struct DesktopEntry {
  std::string name;
  std::string executable;
  std::optional<std::string> icon;
  std::vector<std::string> mediaTypes;  ///< of the documents that it opens
  std::string bundle;
};

/// How an entry of the product's making is told from others: by a key in it. Its file's name begins with `filePrefix`.
/// The texts outlive every user.
struct EntryMark {
  std::string_view key;
  std::string_view filePrefix;
};

/// The file, by the freedesktop.org rules: the name without control characters, those of direction too, and on
/// one line; types that are none left out. Nil when a path cannot be written by these rules: it is not UTF-8, holds a
/// control character other than tab and line ends, or leads to an executable with "=" in its path.
std::optional<std::string> desktopEntryText(const DesktopEntry& entry, const EntryMark& mark);

/// The text was made by `desktopEntryText` with this mark.
bool isOwnDesktopEntry(std::string_view text, const EntryMark& mark);

/// The file's name for a bundle. Names of the system's own applications never come out: an entry of such a name
/// would hide theirs.
std::string desktopEntryName(const std::string& identifier, const std::string& bundle, const EntryMark& mark);

}  // namespace qm::linux_
