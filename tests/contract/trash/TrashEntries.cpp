// SPDX-License-Identifier: MIT
#include "tests/contract/trash/TrashEntries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <string_view>

namespace qm::testing {
namespace {

constexpr std::string_view kSuffix = ".trashinfo";

bool isPlain(char c) { return c > ' ' && c < '\x7f' && c != '%'; }

int hexDigit(char c) {
  constexpr std::string_view digits = "0123456789abcdef";
  const std::size_t value = digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

std::optional<char> escapedAt(const std::string& text, std::size_t at) {
  if (text[at] != '%' || at + 2 >= text.size()) return std::nullopt;
  const int high = hexDigit(text[at + 1]);
  const int low = hexDigit(text[at + 2]);
  if (high < 0 || low < 0) return std::nullopt;
  return static_cast<char>(high * 16 + low);
}

std::optional<std::string> decoded(const std::string& text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::optional<char> escaped = escapedAt(text, at);
    if (!escaped && !isPlain(text[at])) return std::nullopt;
    bytes += escaped.value_or(text[at]);
    if (escaped) at += 2;
  }
  return bytes;
}

std::string original(const std::string& path, const std::string& topFolder) {
  if (topFolder.empty()) return path;
  return topFolder == "/" ? "/" + path : topFolder + "/" + path;
}

bool isWellPlaced(const std::string& path, const std::string& topFolder) {
  return !path.empty() && path.starts_with('/') == topFolder.empty() && path.find("..") != 0;
}

}  // namespace

std::optional<TrashEntry> parseTrashInfo(const std::string& text, const std::string& topFolder) {
  static const std::regex form(
      "\\[Trash Info\\]\nPath=([^\n]*)\nDeletionDate=(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)\n");
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) return std::nullopt;
  const std::optional<std::string> path = decoded(parts[1]);
  if (!path || !isWellPlaced(*path, topFolder)) return std::nullopt;
  return TrashEntry{"", original(*path, topFolder), parts[2]};
}

std::vector<TrashEntry> entriesIn(TrashWorld& world, const std::string& trash, const std::string& topFolder) {
  std::vector<TrashEntry> entries;
  const std::string folder = trash + "/info/";
  for (const std::string& name : world.namesIn(folder)) {
    EXPECT_TRUE(name.ends_with(kSuffix)) << name;
    const std::string text = world.contentsOf(folder + name);
    std::optional<TrashEntry> entry = parseTrashInfo(text, topFolder);
    EXPECT_TRUE(entry.has_value()) << name << ":\n" << text;
    if (!entry) continue;
    entry->stored = name.substr(0, name.size() - kSuffix.size());
    entries.push_back(*entry);
  }
  return entries;
}

std::string expectRestorable(TrashWorld& world, const std::string& path, const std::string& trash,
                             const std::string& topFolder) {
  std::vector<std::string> stored;
  for (const TrashEntry& entry : entriesIn(world, trash, topFolder)) {
    if (entry.path == path) stored.push_back(entry.stored);
  }
  EXPECT_EQ(stored.size(), 1U) << path << " in " << trash;
  if (stored.size() != 1) return {};
  EXPECT_NE(world.kindOf(trash + "/files/" + stored[0]), ItemKind::Nothing) << stored[0];
  return stored[0];
}

std::string expectInHomeTrash(TrashWorld& world, const std::string& path) {
  return expectRestorable(world, path, TrashWorld::kHomeTrash);
}

void expectRefused(const platform::Status& status) {
  EXPECT_FALSE(status.ok());
  EXPECT_NE(status.code(), 0);
  const std::string& sentence = status.localizedDescription();
  EXPECT_NE(sentence, "");
  EXPECT_TRUE(std::none_of(sentence.begin(), sentence.end(), [](char c) { return c == '\n' || c == '\0'; }))
      << sentence;
}

void expectNothingIn(TrashWorld& world, const std::string& trash) {
  EXPECT_EQ(world.namesIn(trash + "/info"), std::vector<std::string>{});
  EXPECT_EQ(world.namesIn(trash + "/files"), std::vector<std::string>{});
}

}  // namespace qm::testing
