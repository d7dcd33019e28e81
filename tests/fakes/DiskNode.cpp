// SPDX-License-Identifier: MIT
#include "tests/fakes/DiskNode.h"

#include <algorithm>

#include "Platform/foundation/Strings.h"

namespace qm::testing {

DiskNode* DiskNode::mountPoint() {
  DiskNode* node = this;
  while (node != nullptr && !node->volume) node = node->folder;
  return node;
}

const VolumeKind& DiskNode::kind() {
  static const VolumeKind ordinary;
  const DiskNode* top = mountPoint();
  return top == nullptr ? ordinary : *top->volume;
}

std::string DiskNode::name() const {
  if (folder == nullptr) return "/";
  const auto own = std::find_if(folder->entries.begin(), folder->entries.end(),
                                [this](const Entry& candidate) { return candidate.second.get() == this; });
  return own->first;
}

std::string DiskNode::path() const {
  if (folder == nullptr) return "/";
  const std::string above = folder->path();
  return (above == "/" ? above : above + "/") + name();
}

bool DiskNode::isWithin(const DiskNode& other) const {
  const DiskNode* node = this;
  while (node != nullptr && node != &other) node = node->folder;
  return node != nullptr;
}

const DiskNode::Entry* DiskNode::entry(std::string_view wanted) {
  const bool anyCase = kind().caseInsensitive;
  const std::string lower = anyCase ? foundation::lowercaseString(wanted) : std::string();
  for (const Entry& candidate : entries) {
    const std::string& own = candidate.first;
    if (own == wanted || (anyCase && foundation::lowercaseString(own) == lower)) return &candidate;
  }
  return nullptr;
}

void DiskNode::add(const std::string& itemName, const std::shared_ptr<DiskNode>& item) {
  entries.emplace_back(itemName, item);
  item->folder = this;
}

std::shared_ptr<DiskNode> DiskNode::take(const std::string& itemName) {
  const auto own =
      std::find_if(entries.begin(), entries.end(), [&](const Entry& candidate) { return candidate.first == itemName; });
  std::shared_ptr<DiskNode> taken = own->second;
  entries.erase(own);
  const bool isStillHere =
      std::any_of(entries.begin(), entries.end(), [&](const Entry& candidate) { return candidate.second == taken; });
  if (!isStillHere) taken->folder = nullptr;
  return taken;
}

std::uint64_t DiskNode::size() const {
  std::uint64_t bytes = isFile() ? contents.size() : 0;
  for (const auto& [unused, item] : entries) {
    if (!item->volume) bytes += item->size();
  }
  return bytes;
}

std::shared_ptr<DiskNode> DiskNode::clone() const {
  auto copy = std::make_shared<DiskNode>(*this);
  copy->entries.clear();
  copy->folder = nullptr;
  copy->volume = nullptr;
  copy->immutable = false;
  for (const auto& [itemName, item] : entries) copy->add(itemName, item->clone());
  return copy;
}

}  // namespace qm::testing
