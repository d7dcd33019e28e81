// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeDisk.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "tests/fakes/DiskPlace.h"

namespace qm::testing {
namespace {

using platform::FileType;

constexpr std::size_t longestPath = 4095;
constexpr int mostLinks = 40;

/// The components of a path in reverse order, without slashes and ".".
std::vector<std::string> reversedComponents(const std::string& path) {
  std::vector<std::string> components = foundation::pathComponents(path);
  std::erase_if(components, [](const std::string& component) { return component == "/" || component == "."; });
  std::reverse(components.begin(), components.end());
  return components;
}

}  // namespace

platform::Status statusOf(int error) {
  if (error == 0) return platform::Status::success();
  return platform::Status::failed(error, std::generic_category().message(error));
}

FakeDisk::FakeDisk(FakeClock& clock) : clock_(clock), root_(make(FileType::Directory, "")) {
  root_->volume = std::make_shared<VolumeKind>();
}

FakeDisk::Lock FakeDisk::settled() {
  Lock lock(mutex_);
  const FakeClock::Span now = clock_.elapsed();
  const auto isLater = [now](const Planned& plan) { return plan.time > now; };
  const auto due = std::stable_partition(planned_.begin(), planned_.end(), isLater);
  const std::vector<Planned> happening(due, planned_.end());
  planned_.erase(due, planned_.end());
  for (const Planned& plan : happening) {
    if (plan.contents) {
      addFile(plan.path, *plan.contents);
    } else {
      remove(plan.path);
    }
  }
  return lock;
}

std::shared_ptr<DiskNode> FakeDisk::make(FileType type, const std::string& contents) {
  auto item = std::make_shared<DiskNode>();
  item->type = type;
  item->contents = contents;
  item->owner = user_;
  item->modificationDate = clock_.now();
  return item;
}

void FakeDisk::changed(DiskNode& folder) { folder.modificationDate = clock_.now(); }

FakeDisk::Place FakeDisk::find(const std::string& path, Follow follow, Access access) {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) return {ENOENT, {}, {}, {}};
  if (path.size() > longestPath) return {ENAMETOOLONG, {}, {}, {}};
  const bool mustBeFolder = path.back() == '/';
  Place place = walk(reversedComponents(path), mustBeFolder ? Follow::Yes : follow, access);
  if (place.item && mustBeFolder && !place.item->isFolder()) return {ENOTDIR, {}, {}, {}};
  return place;
}

FakeDisk::Place FakeDisk::walk(std::vector<std::string> rest, Follow follow, Access access) {
  std::shared_ptr<DiskNode> node = root_;
  std::string found;
  for (int links = 0; !rest.empty();) {
    const std::string name = std::exchange(rest.back(), {});
    rest.pop_back();
    if (!node->isFolder()) return {ENOTDIR, {}, {}, {}};
    if (!may(node->searchable, access)) return {EACCES, {}, {}, {}};
    if (name.size() > longestName) return {ENAMETOOLONG, {}, {}, {}};
    const DiskNode::Entry* entry = node->entry(name);
    std::shared_ptr<DiskNode> next = entry == nullptr ? nullptr : entry->second;
    if (name == "..") next = node->folder == nullptr ? node : node->folder->shared_from_this();
    if (!next) return {ENOENT, {}, rest.empty() ? node : nullptr, name};
    if (next->isLink() && (!rest.empty() || follow == Follow::Yes)) {
      if (++links > mostLinks) return {ELOOP, {}, {}, {}};
      const std::vector<std::string> target = reversedComponents(next->contents);
      rest.insert(rest.end(), target.begin(), target.end());
      if (next->contents.starts_with('/')) node = root_;
    } else {
      found = entry == nullptr ? next->name() : entry->first;
      node = next;
    }
  }
  if (node->folder == nullptr) return {0, node, {}, "/"};
  return {0, node, node->folder->shared_from_this(), found};
}

DiskNode& FakeDisk::node(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::Administrator);
  if (!place.item) throw std::logic_error("there is nothing at " + path + " on the fake disk");
  return *place.item;
}

void FakeDisk::arrange(const std::string& path, const std::shared_ptr<DiskNode>& item) {
  addFolder(foundation::deletingLastPathComponent(path));
  const Place place = find(path, Follow::No, Access::Administrator);
  if (!place.folder) throw std::logic_error("nothing can be put at " + path + " on the fake disk");
  if (place.item) place.folder->take(place.name);
  place.folder->add(place.name, item);
}

void FakeDisk::addFile(const std::string& path, const std::string& contents) {
  const Lock lock(mutex_);
  arrange(path, make(FileType::Regular, contents));
}

void FakeDisk::addExecutable(const std::string& path) {
  const Lock lock(mutex_);
  addFile(path, "program");
  node(path).executable = true;
}

void FakeDisk::addFolder(const std::string& path) {
  const Lock lock(mutex_);
  const Place place = find(path, Follow::Yes, Access::Administrator);
  if (place.item && place.item->isFolder()) return;
  arrange(path, make(FileType::Directory, ""));
}

void FakeDisk::addLink(const std::string& path, const std::string& target) {
  const Lock lock(mutex_);
  arrange(path, make(FileType::SymbolicLink, target));
}

void FakeDisk::addVolume(const std::string& path, const VolumeKind& kind) {
  const Lock lock(mutex_);
  auto top = make(FileType::Directory, "");
  top->volume = std::make_shared<VolumeKind>(kind);
  arrange(path, top);
}

void FakeDisk::setVolumeKind(const std::string& path, const VolumeKind& kind) {
  const Lock lock(mutex_);
  node(path).volume = std::make_shared<VolumeKind>(kind);
}

void FakeDisk::remove(const std::string& path) {
  const Lock lock(mutex_);
  const Place place = find(path, Follow::No, Access::Administrator);
  if (place.item && place.folder) place.folder->take(place.name);
}

void FakeDisk::setSuperuser(bool superuser) {
  const Lock lock(mutex_);
  superuser_ = superuser;
}

void FakeDisk::setKeepsCreationDates(bool keeps) {
  const Lock lock(mutex_);
  keepsCreationDates_ = keeps;
}

void FakeDisk::setUser(unsigned number) {
  const Lock lock(mutex_);
  user_ = number;
}

void FakeDisk::disappearAfter(const std::string& path, FakeClock::Span span) {
  const Lock lock(mutex_);
  planned_.push_back({path, clock_.elapsed() + span, std::nullopt});
}

void FakeDisk::appearAfter(const std::string& path, FakeClock::Span span, const std::string& contents) {
  const Lock lock(mutex_);
  planned_.push_back({path, clock_.elapsed() + span, contents});
}

bool FakeDisk::has(const std::string& path) {
  const Lock lock = settled();
  return find(path, Follow::No, Access::Administrator).item != nullptr;
}

std::optional<std::string> FakeDisk::fileContents(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::Administrator);
  if (!place.item || !place.item->isFile()) return std::nullopt;
  return place.item->contents;
}

std::optional<std::string> FakeDisk::linkTarget(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::Administrator);
  if (!place.item || !place.item->isLink()) return std::nullopt;
  return place.item->contents;
}

void FakeDisk::listTree(const DiskNode& folder, const std::string& path, std::vector<std::string>& lines) {
  for (const auto& [name, item] : folder.entries) {
    std::string itemPath = path;
    itemPath.append("/").append(name);
    std::string& line = lines.emplace_back(itemPath);
    if (item->isLink()) line.append(" -> ").append(item->contents);
    if (item->isFolder()) line.append("/");
    listTree(*item, itemPath, lines);
  }
}

std::vector<std::string> FakeDisk::tree(const std::string& path) {
  const Lock lock = settled();
  std::vector<std::string> lines;
  const Place place = find(path, Follow::Yes, Access::Administrator);
  if (place.item) listTree(*place.item, path == "/" ? "" : path, lines);
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace qm::testing
