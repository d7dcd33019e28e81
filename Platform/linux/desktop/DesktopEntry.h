// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm::linux_ {

/// An application as the desktop's menu shows it. Texts may contain anything; paths are absolute.
struct DesktopEntry {
  std::string name;
  std::string executable;
  std::optional<std::string> icon;
  std::vector<std::string> mediaTypes;  ///< of the documents that it opens
  std::string bundle;
};

/// How an entry created for the product is recognised: by a key in it. Its file's name begins with `filePrefix`. The
/// texts outlive all code that uses them.
struct EntryMark {
  std::string_view key;
  std::string_view filePrefix;
};

/// The file's contents in the desktop entry format of freedesktop.org. The name is on one line, without control and
/// direction characters; invalid types are left out. Null if a path cannot be written in this format: it is not UTF-8,
/// contains a control character other than tab and newline, or leads to an executable with "=" in its path.
std::optional<std::string> desktopEntryText(const DesktopEntry& entry, const EntryMark& mark);

/// Whether the text was created by `desktopEntryText` with this mark.
bool isOwnDesktopEntry(std::string_view text, const EntryMark& mark);

/// The file's name for a bundle. It is never the name of one of the system's own entries, which it would hide.
std::string desktopEntryName(const std::string& identifier, const std::string& bundle, const EntryMark& mark);

}  // namespace qm::linux_
