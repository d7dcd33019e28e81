// SPDX-License-Identifier: MIT
#include "Platform/posix/TrashName.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

// If the text after the last dot is this long, it counts as part of the name: it says nothing then about the file's
// type.
constexpr std::size_t kLongestExtension = 64;

std::size_t extensionStart(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  const bool none = dot == std::string_view::npos || dot == 0 || name.size() - dot > kLongestExtension;
  return none ? name.size() : dot;
}

bool continuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// The first `length` bytes or up to three fewer, so that no UTF-8 character is cut.
std::string_view cutBetweenCharacters(std::string_view text, std::size_t length) {
  if (text.size() <= length) return text;
  std::size_t end = length;
  while (end > 0 && length - end < 3 && continuesCharacter(text[end])) --end;
  return text.substr(0, continuesCharacter(text[end]) ? length : end);
}

}  // namespace

TrashName::TrashName(std::string_view name, std::size_t longest)
    : base_(name.substr(0, extensionStart(name))), extension_(name.substr(base_.size())), longest_(longest) {}

std::string TrashName::numbered(unsigned number) const {
  const std::string ending = (number > 1 ? " " + std::to_string(number) : "") + extension_;
  return std::string(cutBetweenCharacters(base_, longest_ - std::min(longest_, ending.size()))) + ending;
}

unsigned freeNumber(unsigned first, const std::function<bool(unsigned)>& isTaken) {
  unsigned taken = first - 1;
  unsigned open = first;
  for (unsigned step = 1; isTaken(open); step *= 2) {
    taken = open;
    open += step;
  }
  while (open - taken > 1) {
    const unsigned middle = taken + (open - taken) / 2;
    (isTaken(middle) ? taken : open) = middle;
  }
  return open;
}

int renameToFreeName(ItemName item, int folder, std::string& name, unsigned most) {
  const TrashName names(item.name, NAME_MAX);
  int error = EEXIST;
  for (unsigned number = 1; error == EEXIST && number <= most; ++number) {
    name = names.numbered(number);
    error = renameExclusively(item.folder, item.name.c_str(), folder, name.c_str());
  }
  return error;
}

}  // namespace qm::posix
