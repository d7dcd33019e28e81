// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ZipReader.h"

#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/linux/archives/ZipNames.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

using platform::Status;

constexpr std::size_t kReadBlock = 262144;
constexpr std::uint32_t kMostMemory = 256U << 20U;
// Two bytes of version, two for the length of the rest, one byte, and four for the memory.
constexpr std::size_t kLzmaProperties = 9;
constexpr std::size_t kLzmaMemory = 5;
constexpr const char* kPartMissing = "A part of it is missing";
constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

ZipEntry::Kind kindOf(archive_entry* entry) {
  switch (::archive_entry_filetype(entry)) {
    case AE_IFREG:
      return ZipEntry::Kind::File;
    case AE_IFDIR:
      return ZipEntry::Kind::Folder;
    case AE_IFLNK:
      return ZipEntry::Kind::Link;
    default:
      return ZipEntry::Kind::Other;
  }
}

std::string textOf(const char* text) { return text == nullptr ? std::string() : text; }

ZipEntry described(archive_entry* entry) {
  ZipEntry result;
  result.name = textOf(::archive_entry_pathname(entry));
  result.kind = kindOf(entry);
  result.permissions = ::archive_entry_perm(entry) & kPermissionBits;
  if (::archive_entry_mtime_is_set(entry) != 0) {
    result.modified = timespec{::archive_entry_mtime(entry), ::archive_entry_mtime_nsec(entry)};
  }
  result.target = textOf(::archive_entry_symlink(entry));
  if (::archive_entry_size_is_set(entry) != 0) result.size = static_cast<std::uint64_t>(::archive_entry_size(entry));
  result.isEncrypted = ::archive_entry_is_encrypted(entry) != 0;
  return result;
}

}  // namespace

/// The file's bytes with the UTF-8 flags cleared. libarchive normalises flagged names to NFC, and two names that differ
/// only in that would become one.
struct ZipReader::Source {
  posix::UniqueFd file;
  ZipNames names;
  std::int64_t position = 0;
  std::vector<char> block = std::vector<char>(kReadBlock);

  void clearMarks(std::size_t count) {
    const auto start = static_cast<std::uint64_t>(position);
    const auto& marks = names.utf8Marks;
    for (auto mark = std::lower_bound(marks.begin(), marks.end(), start); mark != marks.end(); ++mark) {
      if (*mark - start >= count) return;
      char& byte = block[*mark - start];
      byte = static_cast<char>(static_cast<unsigned char>(byte) & ~unsigned{kUtf8Mark});
    }
  }

  static la_ssize_t read(archive* reader, void* data, const void** bytes) {
    auto& self = *static_cast<Source*>(data);
    const ssize_t count = ::pread(self.file.get(), self.block.data(), self.block.size(), self.position);
    if (count < 0) {
      ::archive_set_error(reader, errno, "%s", "It cannot be read");
      return ARCHIVE_FATAL;
    }
    self.clearMarks(static_cast<std::size_t>(count));
    self.position += count;
    *bytes = self.block.data();
    return count;
  }

  static la_int64_t seek(archive*, void* data, la_int64_t offset, int whence) {
    auto& self = *static_cast<Source*>(data);
    std::int64_t base = 0;
    if (whence == SEEK_CUR) base = self.position;
    if (whence == SEEK_END) base = ::lseek(self.file.get(), 0, SEEK_END);
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0) return ARCHIVE_FATAL;
    return self.position = target;
  }

  /// The file's contents at an offset, up to its end.
  std::string at(std::int64_t offset, std::size_t count) const {
    std::string bytes(count, '\0');
    const ssize_t got = ::pread(file.get(), bytes.data(), count, offset);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }

  static la_int64_t skip(archive* reader, void* data, la_int64_t count) {
    const std::int64_t before = static_cast<Source*>(data)->position;
    return seek(reader, data, count, SEEK_CUR) < 0 ? 0 : static_cast<Source*>(data)->position - before;
  }
};

ZipReader::ZipReader() : source_(std::make_unique<Source>()), archive_(::archive_read_new(), &::archive_read_free) {}

ZipReader::~ZipReader() = default;

Status ZipReader::open(const std::string& path) {
  path_ = path;
  // Without blocking, in case it is a FIFO.
  source_->file.reset(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat attributes {};
  if (!source_->file || ::fstat(source_->file.get(), &attributes) != 0) return problemWith(path, errno);
  if (!S_ISREG(attributes.st_mode)) return problemWith(path, "It is not a zip archive");
  source_->names = readZipNames(source_->file.get());
  if (source_->names.isEmpty) return Status::success();
  if (source_->names.holdNul) return problemWith(path, "A name in it contains a NUL byte");
  archive* const reader = archive_.get();
  if (reader == nullptr) return problemWith(path, ENOMEM);
  ::archive_read_support_format_zip_seekable(reader);
  ::archive_read_set_seek_callback(reader, &Source::seek);
  const int opened = ::archive_read_open2(reader, source_.get(), nullptr, &Source::read, &Source::skip, nullptr);
  if (opened != ARCHIVE_OK) return problemWith(path, "It is not a zip archive, or a part of it is missing");
  return source_->names.isComplete ? Status::success() : problemWith(path, kPartMissing);
}

Status ZipReader::next(std::optional<ZipEntry>& entry) {
  entry.reset();
  read_ = 0;
  if (source_->names.isEmpty) return Status::success();  // libarchive takes an empty archive for no archive
  archive_entry* found = nullptr;
  const int result = ::archive_read_next_header(archive_.get(), &found);
  if (result == ARCHIVE_EOF) {
    // libarchive stops silently at a malformed entry and merges two entries at one offset, so compare the count.
    return itemsRead_ == source_->names.items ? Status::success() : problemWith(path_, kPartMissing);
  }
  if (result != ARCHIVE_OK && result != ARCHIVE_WARN) return failure(path_);
  ++itemsRead_;
  current_ = described(found);
  if (Status status = memoryAllowed(); !status) return status;
  entry = current_;
  return Status::success();
}

// With LZMA and xz an archive determines how much memory its reader allocates, up to 4 GiB. libarchive's name of the
// format tells the item's compression. Its compressed data begin at the current position of the file, with the
// properties that state the memory. The target of a link has been read already and is too short to fill any memory.
Status ZipReader::memoryAllowed() const {
  if (current_.kind == ZipEntry::Kind::Link) return Status::success();
  const std::string format = textOf(::archive_format_name(archive_.get()));
  if (format.ends_with("(xz)")) return problemWith(current_.name, "It is compressed by xz, which is not supported");
  if (!format.ends_with("(lzma)")) return Status::success();
  const std::string properties = source_->at(::archive_filter_bytes(archive_.get(), 0), kLzmaProperties);
  if (properties.size() < kLzmaProperties) return problemWith(current_.name, kPartMissing);
  std::uint32_t memory = 0;
  for (std::size_t i = kLzmaProperties; i-- > kLzmaMemory;) {
    memory = memory << 8U | static_cast<unsigned char>(properties[i]);
  }
  return memory <= kMostMemory ? Status::success() : problemWith(current_.name, "Unpacking it takes too much memory");
}

Status ZipReader::read(std::string_view& block) {
  const void* bytes = nullptr;
  std::size_t count = 0;
  la_int64_t offset = 0;
  do {
    const int result = ::archive_read_data_block(archive_.get(), &bytes, &count, &offset);
    if (result == ARCHIVE_EOF) {
      block = {};
      const bool isWhole = !current_.size || read_ == *current_.size;
      return isWhole ? Status::success() : problemWith(current_.name, "It is shorter than the archive says");
    }
    if (result != ARCHIVE_OK) return failure(current_.name);
  } while (count == 0);
  block = std::string_view(static_cast<const char*>(bytes), count);
  read_ += count;
  const bool isTooLong = current_.size && read_ > *current_.size;
  return isTooLong ? problemWith(current_.name, "It is longer than the archive says") : Status::success();
}

Status ZipReader::failure(const std::string& name) const {
  const char* why = ::archive_error_string(archive_.get());
  return problemWith(name, shownName(why == nullptr ? "It cannot be read" : why));
}

}  // namespace qm::linux_
