// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ZipNames.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {
namespace {

constexpr std::size_t kWindow = 262144;
constexpr std::size_t kEndRecord = 22;
constexpr std::size_t kLongestComment = 65535;
constexpr std::size_t kLocator64 = 20;
constexpr std::size_t kEndRecord64 = 56;
constexpr std::size_t kDirectoryHeader = 46;
constexpr std::uint32_t kIn64 = 0xFFFFFFFF;
constexpr std::uint64_t kFlagsAt = 8;     // of an item in the directory
constexpr std::uint64_t kLocalFlags = 6;  // of the item itself
constexpr std::uint64_t kUtf8Flag = 0x800;
constexpr std::uint64_t kExtra64 = 1;

/// A little-endian number of `count` bytes.
std::uint64_t numberAt(std::string_view bytes, std::size_t offset, std::size_t count) {
  std::uint64_t number = 0;
  for (std::size_t i = count; i-- > 0;) number = number << 8U | static_cast<unsigned char>(bytes[offset + i]);
  return number;
}

std::uint64_t sizeOf(int file) {
  struct stat attributes {};
  return ::fstat(file, &attributes) == 0 ? static_cast<std::uint64_t>(attributes.st_size) : 0;
}

/// Returns pieces of a file, which is read in large blocks.
class FileWindow {
 public:
  explicit FileWindow(int file) : file_(file), size_(sizeOf(file)) {}

  std::uint64_t size() const { return size_; }

  /// `count` bytes, at most a window's, valid until the next call; null beyond the end of the file.
  std::optional<std::string_view> at(std::uint64_t offset, std::size_t count) {
    if (offset > size_ || count > size_ - offset) return std::nullopt;
    const bool isInside =
        offset >= start_ && offset - start_ <= bytes_.size() && count <= bytes_.size() - (offset - start_);
    if (!isInside && !moveTo(offset, count)) return std::nullopt;
    return std::string_view(bytes_).substr(offset - start_, count);
  }

 private:
  bool moveTo(std::uint64_t offset, std::size_t count) {
    start_ = offset;
    bytes_.resize(std::max(count, static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, size_ - offset))));
    const ssize_t got = ::pread(file_, bytes_.data(), bytes_.size(), static_cast<off_t>(offset));
    bytes_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes_.size() >= count;
  }

  const int file_;
  const std::uint64_t size_;
  std::uint64_t start_ = 0;
  std::string bytes_;
};

/// The position of the directory, and how far its offsets differ from the file's own if something precedes the archive.
struct Directory {
  std::uint64_t offset = 0;
  std::uint64_t shift = 0;
  std::uint64_t items = 0;  // according to the end record
  std::uint64_t mask = 0;   // of the recorded bits
};

std::optional<std::uint64_t> endRecordOf(FileWindow& file) {
  const std::uint64_t size = file.size();
  const std::size_t tail = static_cast<std::size_t>(std::min<std::uint64_t>(size, kEndRecord + kLongestComment));
  const auto bytes = file.at(size - tail, tail);
  const std::size_t found = bytes && tail >= kEndRecord ? bytes->rfind("PK\5\6", tail - kEndRecord) : std::string::npos;
  return found == std::string::npos ? std::nullopt : std::optional(size - tail + found);
}

std::optional<Directory> directory64(FileWindow& file, std::uint64_t endRecord) {
  if (endRecord < kLocator64) return std::nullopt;
  const auto locator = file.at(endRecord - kLocator64, kLocator64);
  if (!locator || !locator->starts_with("PK\6\7")) return std::nullopt;
  const auto record = file.at(numberAt(*locator, 8, 8), kEndRecord64);
  if (!record || !record->starts_with("PK\6\6")) return std::nullopt;
  return Directory{numberAt(*record, 48, 8), 0, numberAt(*record, 32, 8), ~std::uint64_t{0}};
}

std::optional<Directory> directoryBefore(FileWindow& file, std::uint64_t endRecord) {
  if (const auto large = directory64(file, endRecord)) return large;
  const std::string_view record = *file.at(endRecord, kEndRecord);
  const std::uint64_t size = numberAt(record, 12, 4);
  const std::uint64_t offset = numberAt(record, 16, 4);
  if (size > endRecord) return std::nullopt;
  return Directory{endRecord - size, endRecord - size - offset, numberAt(record, 10, 2), 0xFFFF};
}

/// The position of an item according to its large-file field, which holds only those of the four numbers that are too
/// large.
std::optional<std::uint64_t> offset64(std::string_view header, std::string_view extra) {
  while (extra.size() >= 4) {
    const std::size_t length = std::min<std::size_t>(numberAt(extra, 2, 2), extra.size() - 4);
    if (numberAt(extra, 0, 2) == kExtra64) {
      std::size_t before = 0;
      for (const std::size_t size : {20U, 24U}) before += numberAt(header, size, 4) == kIn64 ? 8U : 0U;
      return length >= before + 8 ? std::optional(numberAt(extra, 4 + before, 8)) : std::nullopt;
    }
    extra.remove_prefix(4 + length);
  }
  return std::nullopt;
}

std::optional<std::uint64_t> itemOffset(std::string_view header, std::string_view extra) {
  const std::uint64_t offset = numberAt(header, 42, 4);
  return offset == kIn64 ? offset64(header, extra) : offset;
}

/// Reads one item of the directory. Returns its length, 0 if there is none.
std::uint64_t takeItem(FileWindow& file, std::uint64_t position, std::uint64_t shift, ZipNames& names) {
  const auto seen = file.at(position, kDirectoryHeader);
  if (!seen || !seen->starts_with("PK\1\2")) return 0;
  const std::string header(*seen);
  const std::size_t nameLength = numberAt(header, 28, 2);
  const std::size_t extraLength = numberAt(header, 30, 2);
  const auto rest = file.at(position + kDirectoryHeader, nameLength + extraLength);
  if (!rest) return 0;
  if (rest->substr(0, nameLength).find('\0') != std::string_view::npos) names.holdNul = true;
  if ((numberAt(header, kFlagsAt, 2) & kUtf8Flag) != 0) {
    names.utf8Marks.push_back(position + kFlagsAt + 1);
    if (const auto offset = itemOffset(header, rest->substr(nameLength))) {
      names.utf8Marks.push_back(*offset + shift + kLocalFlags + 1);
    }
  }
  return kDirectoryHeader + nameLength + extraLength + numberAt(header, 32, 2);
}

/// Whether the end record has no items, on this disk or any, and no directory.
bool isOfNothing(std::string_view endRecord) {
  return numberAt(endRecord, 8, 2) == 0 && numberAt(endRecord, 10, 2) == 0 && numberAt(endRecord, 12, 4) == 0;
}

void takeDirectory(FileWindow& file, const Directory& directory, ZipNames& names) {
  std::uint64_t position = directory.offset;
  while (const std::uint64_t length = takeItem(file, position, directory.shift, names)) {
    position += length;
    ++names.items;
  }
  names.isComplete = (names.items & directory.mask) == directory.items;
}

}  // namespace

ZipNames readZipNames(int archive) {
  ZipNames names;
  FileWindow file(archive);
  const auto endRecord = endRecordOf(file);
  if (!endRecord) return names;
  names.isEmpty = *endRecord == 0 && isOfNothing(*file.at(0, kEndRecord));
  if (const auto directory = directoryBefore(file, *endRecord)) takeDirectory(file, *directory, names);
  std::sort(names.utf8Marks.begin(), names.utf8Marks.end());
  return names;
}

}  // namespace qm::linux_
