// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ZipWriter.h"

#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <optional>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::linux_ {
namespace {

using platform::Status;

constexpr int kWriteBlock = 262144;

using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

/// The format counts seconds in 32 bits.
std::int64_t storableTime(std::int64_t seconds) {
  return std::clamp<std::int64_t>(seconds, 0, std::numeric_limits<std::uint32_t>::max());
}

/// Readers treat a backslash as a slash if a name has no slash.
std::string storableName(const std::string& name) {
  const bool isAmbiguous = name.find('\\') != std::string::npos && name.find('/') == std::string::npos;
  return isAmbiguous ? "./" + name : name;
}

Entry entryFor(const std::string& name, const struct stat& attributes, const std::string& target) {
  Entry entry(::archive_entry_new(), &::archive_entry_free);
  if (!entry) return entry;
  ::archive_entry_copy_pathname(entry.get(), storableName(name).c_str());
  ::archive_entry_set_mode(entry.get(), attributes.st_mode);
  ::archive_entry_set_mtime(entry.get(), storableTime(attributes.st_mtim.tv_sec), 0);
  ::archive_entry_set_uid(entry.get(), attributes.st_uid);
  ::archive_entry_set_gid(entry.get(), attributes.st_gid);
  ::archive_entry_set_size(entry.get(), S_ISREG(attributes.st_mode) ? attributes.st_size : 0);
  if (S_ISLNK(attributes.st_mode)) ::archive_entry_copy_symlink(entry.get(), target.c_str());
  return entry;
}

}  // namespace

ZipWriter::ZipWriter()
    : characterSet_(CharacterSet::Kind::Utf8), archive_(::archive_write_new(), &::archive_write_free) {}

Status ZipWriter::open(int file) {
  archive* const writer = archive_.get();
  if (writer == nullptr) return Status::failed(ENOMEM, "There is not enough memory");
  ::archive_write_set_format_zip(writer);
  ::archive_write_zip_set_compression_deflate(writer);
  ::archive_write_set_bytes_per_block(writer, kWriteBlock);
  ::archive_write_set_bytes_in_last_block(writer, 1);  // nothing after the end
  return answer("", ::archive_write_open_fd(writer, file));
}

Status ZipWriter::begin(const std::string& name, const struct stat& attributes, const std::string& target) {
  if (name.size() > kLongestArchiveName) return problemWith(name, ENAMETOOLONG);
  const Entry entry = entryFor(name, attributes, target);
  if (!entry) return problemWith(name, ENOMEM);
  std::optional<CharacterSet> bytes;
  if (characterSetOf(name) == CharacterSet::Kind::Bytes) bytes.emplace(CharacterSet::Kind::Bytes);
  return answer(name, ::archive_write_header(archive_.get(), entry.get()));
}

Status ZipWriter::write(const std::string& name, std::string_view bytes) {
  const la_ssize_t written = ::archive_write_data(archive_.get(), bytes.data(), bytes.size());
  return answer(name, written < 0 ? static_cast<int>(written) : ARCHIVE_OK);
}

Status ZipWriter::finish() { return answer("", ::archive_write_close(archive_.get())); }

Status ZipWriter::answer(const std::string& name, int result) const {
  if (result == ARCHIVE_OK) return Status::success();
  const int error = ::archive_errno(archive_.get());
  const char* text = ::archive_error_string(archive_.get());
  const std::string why =
      error > 0 ? posix::systemMessage(error) : shownName(text == nullptr ? "It cannot be written" : text);
  return name.empty() ? Status::failed(std::max(error, 0), why) : problemWith(name, why);
}

}  // namespace qm::linux_
