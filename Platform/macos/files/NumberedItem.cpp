// SPDX-License-Identifier: MIT
#include "Platform/macos/files/NumberedItem.h"

#include <fcntl.h>
#include <sys/attr.h>
#include <sys/fsgetpath.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>

#include "Platform/macos/MacServices.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::macos {
namespace {

/// The layout of the attributes that the system returns.
struct __attribute__((packed, aligned(4))) Numbers {
  std::uint32_t length;
  dev_t device;
  fsid_t volume;
  std::uint64_t file;
};

bool readNumbers(const posix::Place& place, Numbers& numbers) {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_DEVID | ATTR_CMN_FSID | ATTR_CMN_FILEID;
  return ::getattrlistat(place.folder.get(), place.name.c_str(), &which, &numbers, sizeof numbers, FSOPT_NOFOLLOW) == 0;
}

class MacFileReferences final : public platform::FileReferences {
 public:
  platform::FileReference make(const std::string& path) const override {
    auto item = NumberedItem::at(path);
    return item ? platform::FileReference(std::move(item)) : platform::FileReference();
  }
  std::optional<std::string> path(const platform::FileReference& reference) const override {
    const NumberedItem* const item = NumberedItem::in(reference);
    return item == nullptr ? std::nullopt : item->path();
  }
};

}  // namespace

std::shared_ptr<const NumberedItem> NumberedItem::at(const std::string& path) {
  posix::Place place;
  Numbers numbers{};
  if (posix::openHeldPlaceOrRoot(path, place) != 0 || !readNumbers(place, numbers)) return nullptr;
  auto item = std::make_shared<NumberedItem>();
  item->origin_ = path;
  item->device_ = numbers.device;
  item->volume_ = numbers.volume;
  item->number_ = numbers.file;
  return item;
}

const NumberedItem* NumberedItem::in(const platform::FileReference& reference) {
  return dynamic_cast<const NumberedItem*>(reference.item());
}

std::string NumberedItem::handle() const { return "/.vol/" + std::to_string(device_) + "/" + std::to_string(number_); }

std::optional<std::string> NumberedItem::path() const {
  std::array<char, MAXPATHLEN> text{};
  fsid_t volume = volume_;
  const ssize_t length = ::fsgetpath(text.data(), text.size(), &volume, number_);
  return length > 0 ? std::optional<std::string>(text.data()) : std::nullopt;
}

std::optional<struct stat> NumberedItem::status() const { return posix::statusIn(AT_FDCWD, handle().c_str()); }

ssize_t NumberedItem::finderInformation(unsigned char* bytes, std::size_t size) const {
  return ::getxattr(handle().c_str(), XATTR_FINDERINFO_NAME, bytes, size, 0, XATTR_NOFOLLOW);
}

int NumberedItem::setFinderInformation(const unsigned char* bytes, std::size_t size) const {
  return ::setxattr(handle().c_str(), XATTR_FINDERINFO_NAME, bytes, size, 0, XATTR_NOFOLLOW);
}

std::unique_ptr<platform::FileReferences> makeFileReferences() { return std::make_unique<MacFileReferences>(); }

}  // namespace qm::macos
