// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/DesktopEntry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <set>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Strings.h"
#include "Platform/foundation/Utf8.h"

namespace qm::linux_ {
namespace {

constexpr std::size_t kLongestName = 200;

/// The text with each character replaced by the result of `replacement`.
template <class Replacement>
std::string eachCharacter(std::string_view text, Replacement replacement) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const auto character = foundation::characterAt(text, i);
    result += replacement(character, text.substr(i, character.length));
    i += character.length;
  }
  return result;
}

using foundation::Character;

std::string displayed(std::string_view text) {
  const std::string line = eachCharacter(text, [](const Character& character, std::string_view bytes) {
    if (!character.isValid()) return std::string("\xEF\xBF\xBD");
    if (foundation::turnsDirection(character.codePoint)) return std::string();
    const bool blank =
        foundation::isControlCharacter(character.codePoint) || foundation::breaksLine(character.codePoint);
    return blank ? std::string(" ") : std::string(bytes);
  });
  return foundation::trimmingWhitespaceAndNewlines(foundation::firstCharacters(line, kLongestName));
}

bool isExpressible(std::string_view path) {
  for (std::size_t i = 0; i < path.size();) {
    const Character character = foundation::characterAt(path, i);
    const std::int32_t code = character.codePoint;
    if (!character.isValid() || (foundation::isControlCharacter(code) && code != '\t' && code != '\n' && code != '\r'))
      return false;
    i += character.length;
  }
  return true;
}

/// The escapes that apply to every value of an entry.
std::string value(std::string_view text) {
  return eachCharacter(text, [](const Character&, std::string_view bytes) -> std::string {
    switch (bytes.front()) {
      case '\\':
        return "\\\\";
      case '\n':
        return "\\n";
      case '\t':
        return "\\t";
      case '\r':
        return "\\r";
      default:
        return std::string(bytes);
    }
  });
}

/// Quotes one Exec argument and escapes the reserved characters, by the rules of freedesktop.org for the key Exec.
std::string quotedWord(std::string_view word) {
  const std::string inside = eachCharacter(word, [](const Character&, std::string_view bytes) {
    const char c = bytes.front();
    if (c == '"' || c == '`' || c == '$' || c == '\\') return "\\" + std::string(bytes);
    return c == '%' ? std::string("%%") : std::string(bytes);
  });
  return "\"" + inside + "\"";
}

/// The command that starts a program. Some desktops look for a program with the name exactly as written, including a
/// doubled "%", and hide the entry if they do not find it; arguments are read by those rules.
std::string command(const std::string& program) {
  const bool isMisread = program.find('%') != std::string::npos;
  return (isMisread ? "/usr/bin/env " : "") + quotedWord(program);
}

constexpr std::string_view kKnownMedia[] = {"application", "audio",     "chemical", "font",      "image",
                                            "inode",       "message",   "model",    "multipart", "text",
                                            "video",       "x-content", "x-epoc"};

bool isTypeCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || std::string_view("!#$&-^_.+").find(c) != std::string::npos;
}

bool isMediaType(std::string_view type) {
  const std::size_t slash = type.find('/');
  if (slash == std::string_view::npos || slash + 1 == type.size() || type.size() > kLongestName) return false;
  const std::string_view media = type.substr(0, slash);
  const std::string_view rest = type.substr(slash + 1);
  return std::find(std::begin(kKnownMedia), std::end(kKnownMedia), media) != std::end(kKnownMedia) &&
         std::all_of(rest.begin(), rest.end(), isTypeCharacter);
}

/// Each followed by a semicolon, without duplicates.
std::string mediaTypeList(const std::vector<std::string>& types) {
  std::set<std::string> known;
  std::string list;
  for (const auto& type : types) {
    const std::string lower = foundation::lowercaseString(type);
    if (isMediaType(lower) && known.insert(lower).second) list += lower + ";";
  }
  return list;
}

/// The first visible name of the application, its folder and its program.
std::string shownName(const DesktopEntry& entry) {
  for (const std::string& name :
       {entry.name, foundation::lastPathComponent(entry.bundle), foundation::lastPathComponent(entry.executable)}) {
    if (std::string shown = displayed(name); !shown.empty()) return shown;
  }
  return {};
}

std::string line(std::string_view key, const std::string& text) { return std::string(key) + "=" + text + "\n"; }

std::string beginningOfMark(const EntryMark& mark) { return "\n" + std::string(mark.key) + "="; }

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
}

std::string hexDigest(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  std::string digits;
  for (unsigned i = 0; i < 16; ++i, hash >>= 4U) digits += "0123456789abcdef"[hash & 15U];
  return digits;
}

}  // namespace

std::optional<std::string> desktopEntryText(const DesktopEntry& entry, const EntryMark& mark) {
  const bool hasIcon = entry.icon && isExpressible(*entry.icon);
  if (!isExpressible(entry.executable) || !isExpressible(entry.bundle)) return std::nullopt;
  if (entry.executable.find('=') != std::string::npos) return std::nullopt;
  const std::string types = mediaTypeList(entry.mediaTypes);
  const std::string name = shownName(entry);
  if (name.empty()) return std::nullopt;
  std::string text = "[Desktop Entry]\nType=Application\nVersion=1.0\n";
  text += line("Name", value(name));
  text += line("Exec", value(command(entry.executable)) + (types.empty() ? "" : " %F"));
  // Without its executable the application is no longer shown.
  text += line("TryExec", value(entry.executable));
  if (hasIcon) text += line("Icon", value(*entry.icon));
  if (!types.empty()) text += line("MimeType", types);
  return text + "Terminal=false" + beginningOfMark(mark) + value(entry.bundle) + "\n";
}

bool isOwnDesktopEntry(std::string_view text, const EntryMark& mark) {
  return text.find(beginningOfMark(mark)) != std::string_view::npos;
}

std::string desktopEntryName(const std::string& identifier, const std::string& bundle, const EntryMark& mark) {
  const std::string meant = identifier.empty() ? foundation::lastPathComponent(bundle) : identifier;
  std::string name = meant.substr(0, kLongestName);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !isPlain(c); }, '-');
  // Characters that were dropped must not make two bundles have the same name.
  if (identifier.empty() || name != identifier) name += "-" + hexDigest(identifier.empty() ? bundle : identifier);
  return std::string(mark.filePrefix) + name + ".desktop";
}

}  // namespace qm::linux_
