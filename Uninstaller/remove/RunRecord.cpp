// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunRecord.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "Platform/foundation/PercentText.h"

namespace qm::removal {
namespace {

using foundation::percentDecoded;
using foundation::percentEncoded;
using Words = std::vector<std::string_view>;

// Stands for a missing text. No encoded text contains this character.
constexpr std::string_view kNothing = "=";

std::string wordOf(const std::string& text) { return text.empty() ? std::string(kNothing) : percentEncoded(text); }

std::string textIn(std::string_view word) { return word == kNothing ? std::string() : percentDecoded(word); }

Words wordsOf(std::string_view line) {
  Words words;
  for (std::size_t at = 0; at <= line.size();) {
    const std::size_t end = std::min(line.find(' ', at), line.size());
    words.push_back(line.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

template <class Number>
bool read(std::string_view word, Number& number) {
  const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() && rest == word.data() + word.size();
}

std::string textOf(const RememberedItem& item) {
  std::string line = "item " + wordOf(item.user.value_or("")) + " " + wordOf(item.trashOf) + " " +
                     std::to_string(item.trashOwner) + " " + wordOf(item.path) + "\n";
  return line;
}

std::string textOf(const RememberedFolder& folder) {
  return "folder " + wordOf(folder.path) + " " + std::to_string(folder.owner) + " " + std::to_string(folder.group) +
         " " + std::to_string(folder.mode) + " " + std::to_string(folder.changed.tv_sec) + " " +
         std::to_string(folder.changed.tv_nsec) + "\n";
}

void addItem(RunRecord& run, const Words& words) {
  RememberedItem item;
  if (words.size() != 5 || !read(words[3], item.trashOwner)) return;
  if (words[1] != kNothing) item.user = textIn(words[1]);
  item.trashOf = textIn(words[2]);
  item.path = textIn(words[4]);
  run.items.push_back(std::move(item));
}

void setFolder(RunRecord& run, const Words& words) {
  RememberedFolder folder;
  const bool isWhole = words.size() == 7 && read(words[2], folder.owner) && read(words[3], folder.group) &&
                       read(words[4], folder.mode) && read(words[5], folder.changed.tv_sec) &&
                       read(words[6], folder.changed.tv_nsec);
  if (!isWhole) return;
  folder.path = textIn(words[1]);
  run.folder = std::move(folder);
}

void setWent(RunRecord& run, const Words& words) {
  std::size_t index = 0;
  if (words.size() != 3 || !read(words[1], index) || index >= run.items.size()) return;
  run.items[index].went = true;
  run.items[index].trashedTo = textIn(words[2]);
}

void setBack(RunRecord& run, const Words& words) {
  std::size_t index = 0;
  if (words.size() == 2 && read(words[1], index) && index < run.items.size()) run.items[index].isBack = true;
}

void addLine(std::vector<RunRecord>& runs, std::string_view line) {
  const Words words = wordsOf(line);
  if (words[0] == "run" && words.size() == 2) {
    runs.emplace_back().began = textIn(words[1]);
    return;
  }
  if (runs.empty()) return;
  RunRecord& run = runs.back();
  if (words[0] == "item") addItem(run, words);
  if (words[0] == "folder") setFolder(run, words);
  if (words[0] == "went") setWent(run, words);
  if (words[0] == "folder-went") run.folderWent = true;
  if (words[0] == "back") setBack(run, words);
}

}  // namespace

bool RunRecord::hasChanged() const {
  return folderWent || std::ranges::any_of(items, [](const RememberedItem& item) { return item.went; });
}

std::string textOf(const RunRecord& run) {
  std::string text = "run " + wordOf(run.began) + "\n";
  for (const RememberedItem& item : run.items) text += textOf(item);
  for (std::size_t index = 0; index < run.items.size(); ++index) {
    if (run.items[index].went) text += wentLine(index, run.items[index].trashedTo);
    if (run.items[index].isBack) text += backLine(index);
  }
  if (run.folder) text += textOf(*run.folder);
  return run.folderWent ? text + folderWentLine() : text;
}

std::string wentLine(std::size_t index, const std::string& trashedTo) {
  return "went " + std::to_string(index) + " " + wordOf(trashedTo) + "\n";
}

std::string folderWentLine() { return "folder-went\n"; }

std::string backLine(std::size_t index) { return "back " + std::to_string(index) + "\n"; }

std::vector<RunRecord> parsedRuns(std::string_view text) {
  std::vector<RunRecord> runs;
  for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    addLine(runs, text.substr(0, end));
  }
  return runs;
}

}  // namespace qm::removal
