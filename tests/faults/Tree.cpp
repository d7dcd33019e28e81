// SPDX-License-Identifier: MIT
#include "tests/faults/Tree.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

namespace qm::testing {
namespace {

std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string targetOf(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

char kindOf(mode_t mode) {
  if (S_ISDIR(mode)) return 'd';
  if (S_ISLNK(mode)) return 'l';
  return S_ISREG(mode) ? 'f' : '?';
}

void add(Tree& tree, const std::string& root, const std::string& relative) {
  const std::string path = root + relative;
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return;
  TreeItem& item = tree[relative];
  item = {kindOf(found.st_mode), found.st_mode & 07777U, found.st_uid, found.st_gid, {}};
  if (item.kind == 'f') item.contents = textOf(path);
  if (item.kind == 'l') item.contents = targetOf(path);
  if (item.kind != 'd') return;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    add(tree, root, relative + "/" + entry.path().filename().string());
  }
}

std::string shown(const TreeItem& item) {
  std::ostringstream text;
  text << item.kind << ' ' << std::oct << item.mode << std::dec << " of " << item.user << ':' << item.group;
  return text.str();
}

std::string changed(const TreeItem& found, const TreeItem& expected) {
  return shown(found) == shown(expected) ? " has other contents"
                                         : " is " + shown(found) + ", expected " + shown(expected);
}

using Compare = std::function<bool(const TreeItem&, const TreeItem&)>;

// In the Trash a file lends nobody's rights.
TreeItem withoutLentRights(TreeItem item) {
  item.mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
  return item;
}

std::string firstDifference(const Tree& found, const Tree& expected, const Compare& isSame) {
  const auto named = [](const std::string& path) { return path.empty() ? std::string("it") : path; };
  for (const auto& [path, item] : expected) {
    const auto other = found.find(path);
    if (other == found.end()) return named(path) + " is missing";
    if (!isSame(other->second, item)) return named(path) + changed(other->second, item);
  }
  for (const auto& [path, item] : found) {
    if (!expected.contains(path)) return named(path) + " is new";
  }
  return {};
}

}  // namespace

Tree treeAt(const std::string& path) {
  Tree tree;
  add(tree, path, "");
  return tree;
}

std::string difference(const Tree& found, const Tree& expected) {
  return firstDifference(found, expected, [](const TreeItem& one, const TreeItem& other) { return one == other; });
}

std::string differenceButForFolders(const Tree& found, const Tree& expected, uid_t person) {
  return firstDifference(found, expected, [person](const TreeItem& item, const TreeItem& original) {
    if (original.kind != 'd' || item.kind != 'd') return item == original || item == withoutLentRights(original);
    const bool owned = item.user == original.user || item.user == person;
    return owned && (item.mode | S_IRWXU) == (original.mode | S_IRWXU);
  });
}

}  // namespace qm::testing
