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

/// The file, by the freedesktop.org rules: the name without control characters, those of direction too, and on
/// one line; types that are none left out. Nil when a path cannot be written by these rules: it is not UTF-8, holds a
/// control character other than tab and line ends, or leads to an executable with "=" in its path.
std::optional<std::string> desktopEntryText(const DesktopEntry& entry);

/// The text was made by `desktopEntryText`.
bool isOwnDesktopEntry(std::string_view text);

/// The file's name for a bundle. Names of the system's own applications never come out: an entry of such a name
/// would hide theirs.
std::string desktopEntryName(const std::string& identifier, const std::string& bundle);

}  // namespace qm::linux_
