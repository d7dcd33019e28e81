// SPDX-License-Identifier: MIT
#include "Platform/linux/system/PlistStructure.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qm::linux_ {
namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kMostObjects = 20000;                            // expanded, of a binary list
constexpr std::size_t kMostContainers = 10000;                         // of a text
constexpr std::size_t kDeepest = 256;                                  // of a binary list
constexpr std::uint64_t kMostExpandedBytes = std::uint64_t{4} << 20U;  // of data and text, of a binary list

using Offset = std::uint64_t;

// The structure of a binary property list: a header, objects, a table of their offsets, and a trailer with the position
// of the table. Every read stays inside the bytes.
class BinaryWalker {
 public:
  explicit BinaryWalker(std::string_view bytes) : bytes_(bytes) {}

  bool isSound() { return readTrailer() && visit(topObject_, 0); }

 private:
  struct Extent {
    Offset begin;
    Offset count;
  };

  std::optional<std::uint64_t> number(Offset offset, std::size_t size) const {
    if (size == 0 || size > 8 || offset > end_ || end_ - offset < size) return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8U | static_cast<unsigned char>(bytes_[offset + i]);
    return value;
  }

  bool readTrailer();
  std::optional<Extent> extentOf(Offset offset) const;
  bool fits(const Extent& extent, std::uint64_t size) const {
    return extent.begin <= end_ && extent.count <= (end_ - extent.begin) / size;
  }
  bool visit(std::uint64_t object, std::size_t depth);
  // libplist copies data and text for every reference to them.
  bool unfold(const Extent& extent, std::uint64_t size) {
    return fits(extent, size) && (unfoldedBytes_ += extent.count * size) <= kMostExpandedBytes;
  }
  bool visitChildren(const Extent& extent, std::uint64_t references, std::size_t depth);
  std::optional<Offset> offsetOf(std::uint64_t object) const;
  bool isKey(std::uint64_t object) const;
  bool hasKeys(const Extent& extent) const;

  std::string_view bytes_;
  Offset end_ = 0;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  Offset table_ = 0;
  std::size_t visited_ = 0;
  std::uint64_t unfoldedBytes_ = 0;
};

bool BinaryWalker::readTrailer() {
  if (bytes_.size() < kMagic.size() + kTrailerSize) return false;
  const std::size_t trailer = bytes_.size() - kTrailerSize;
  end_ = bytes_.size();
  offsetSize_ = static_cast<unsigned char>(bytes_[trailer + 6]);
  referenceSize_ = static_cast<unsigned char>(bytes_[trailer + 7]);
  objectCount_ = number(trailer + 8, 8).value_or(0);
  topObject_ = number(trailer + 16, 8).value_or(0);
  table_ = number(trailer + 24, 8).value_or(0);
  end_ = trailer;
  if (offsetSize_ == 0 || offsetSize_ > 8 || referenceSize_ == 0 || referenceSize_ > 8) return false;
  if (table_ < kMagic.size() || !fits({table_, objectCount_}, offsetSize_)) return false;
  end_ = table_ + objectCount_ * offsetSize_;
  return true;
}

// Where an object's contents begin and how many units it claims to have: the number is in the marker's low half or, if
// that is 15, in an integer object that follows.
std::optional<BinaryWalker::Extent> BinaryWalker::extentOf(Offset offset) const {
  const unsigned low = static_cast<unsigned char>(bytes_[offset]) & 0x0fU;
  if (low != 0x0fU) return Extent{offset + 1, low};
  const auto marker = number(offset + 1, 1);
  if (!marker || (*marker & 0xf0U) != 0x10U || (*marker & 0x0fU) > 3) return std::nullopt;
  const std::size_t size = std::size_t{1} << (*marker & 0x0fU);
  const auto count = number(offset + 2, size);
  if (!count) return std::nullopt;
  return Extent{offset + 2 + size, *count};
}

std::optional<Offset> BinaryWalker::offsetOf(std::uint64_t object) const {
  const auto offset = number(table_ + object * offsetSize_, offsetSize_);
  return offset && *offset >= kMagic.size() && *offset < table_ ? offset : std::nullopt;
}

// A text that has been visited and contains no NUL character; libplist aborts the process on one.
bool BinaryWalker::isKey(std::uint64_t object) const {
  const auto offset = offsetOf(object);
  const auto extent = offset ? extentOf(*offset) : std::nullopt;
  if (!extent) return false;
  const unsigned kind = static_cast<unsigned char>(bytes_[*offset]) >> 4U;
  if (kind != 0x5 && kind != 0x6) return false;
  const std::size_t size = kind - 0x4U;  // of a character
  for (std::uint64_t i = 0; i < extent->count; ++i) {
    if (number(extent->begin + i * size, size) == 0U) return false;
  }
  return true;
}

bool BinaryWalker::hasKeys(const Extent& extent) const {
  for (std::uint64_t i = 0; i < extent.count; ++i) {
    const auto key = number(extent.begin + i * referenceSize_, referenceSize_);
    if (!key || !isKey(*key)) return false;
  }
  return true;
}

// Bounded by kDeepest in depth, by kMostObjects in number and by kMostExpandedBytes in size.
bool BinaryWalker::visit(std::uint64_t object, std::size_t depth) {
  if (object >= objectCount_ || depth > kDeepest || ++visited_ > kMostObjects) return false;
  const auto offset = offsetOf(object);
  if (!offset) return false;
  const unsigned marker = static_cast<unsigned char>(bytes_[*offset]);
  const unsigned low = marker & 0x0fU;
  switch (marker >> 4U) {
    case 0x0:  // null, booleans
      return true;
    case 0x1:  // integer
    case 0x2:  // real
      return low <= 4 && fits({*offset + 1, std::uint64_t{1} << low}, 1);
    case 0x3:  // date
      return low == 3 && fits({*offset + 1, 8}, 1);
    case 0x8:  // identifier
      return low < 8 && fits({*offset + 1, low + 1U}, 1);
    default:
      break;
  }
  const auto extent = extentOf(*offset);
  if (!extent) return false;
  switch (marker >> 4U) {
    case 0x4:  // data
    case 0x5:  // 7-bit text
      return unfold(*extent, 1);
    case 0x6:  // 16-bit text
      return unfold(*extent, 2);
    case 0xa:  // array
      return visitChildren(*extent, 1, depth);
    case 0xd:  // dictionary: its keys, then its values
      return visitChildren(*extent, 2, depth) && hasKeys(*extent);
    default:
      return false;
  }
}

bool BinaryWalker::visitChildren(const Extent& extent, std::uint64_t references, std::size_t depth) {
  if (!fits(extent, references * referenceSize_)) return false;
  for (std::uint64_t i = 0; i < extent.count * references; ++i) {
    const auto child = number(extent.begin + i * referenceSize_, referenceSize_);
    if (!child || !visit(*child, depth + 1)) return false;
  }
  return true;
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace

bool isBinaryPropertyList(std::string_view bytes) { return bytes.substr(0, kMagic.size()) == kMagic; }

bool hasSoundBinaryStructure(std::string_view bytes) { return BinaryWalker(bytes).isSound(); }

bool hasModestTextStructure(std::string_view text) {
  return text.find('\0') == std::string_view::npos &&
         occurrences(text, "<dict") + occurrences(text, "<array") <= kMostContainers;
}

}  // namespace qm::linux_
