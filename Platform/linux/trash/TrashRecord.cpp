// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashRecord.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <vector>

#include "Platform/linux/rights/Writers.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/posix/FileContents.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr const char* kName = "record";
constexpr const char* kNewName = "record-new";
constexpr std::string_view kEnd = "end";
constexpr std::size_t kFields = 11;

std::string numbered(std::uint64_t number) { return std::to_string(number); }

std::uint64_t number(const std::string& text) {
  std::uint64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// One field per line, so that no value can pass for two.
std::string textOf(const TrashRecord& record) {
  const std::array<std::string, kFields> fields = {record.origin,
                                                   numbered(record.item.device),
                                                   numbered(record.item.inode),
                                                   numbered(record.copy.device),
                                                   numbered(record.copy.inode),
                                                   record.stored,
                                                   record.info,
                                                   record.aside,
                                                   record.reached == Reached::Yes ? "1" : "0",
                                                   record.isTaken ? "1" : "0",
                                                   numbered(record.volume)};
  std::string text;
  for (const std::string& field : fields) text += percentEncoded(field) + "\n";
  return text.append(kEnd);
}

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    lines.push_back(percentDecoded(text.substr(0, end)));
  }
  if (text != kEnd) lines.clear();
  return lines;
}

// A name that would lead out of the folder is not one of ours.
bool isNameOrNothing(const std::string& text) {
  return text != "." && text != ".." && text.find('/') == std::string::npos;
}

std::string readAll(int file) {
  std::string text;
  std::array<char, 4096> block{};
  for (ssize_t got = 0; (got = ::read(file, block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(got));
  }
  return text;
}

}  // namespace

std::optional<ItemNumber> itemNumber(int folder, const std::string& name) {
  const auto status = name.empty() ? statusOf(folder) : statusIn(folder, name.c_str());
  if (!status) return std::nullopt;
  return ItemNumber{status->st_dev, status->st_ino};
}

int TrashRecord::setAside(const std::string& name, int folder) {
  const auto number = itemNumber(folder);
  if (!number) return errno;
  aside = name;
  volume = number->device;
  return 0;
}

int TrashRecord::writeTo(int folder) const {
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  const std::string text = textOf(*this);
  const UniqueFd file(::openat(folder, kNewName, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kMode));
  if (!file) return errno;
  if (const int error = posix::writeAll(file.get(), text.data(), text.size())) return error;
  if (::fsync(file.get()) != 0) return errno;
  if (::renameat(folder, kNewName, folder, kName) != 0) return errno;
  return posix::errorOf(::fsync(folder));
}

bool TrashRecord::isIn(int folder) { return statusIn(folder, kName).has_value(); }

void TrashRecord::removePartIn(int folder) { ::unlinkat(folder, kNewName, 0); }

std::optional<TrashRecord> TrashRecord::readFrom(int folder) {
  const UniqueFd file(::openat(folder, kName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  const std::vector<std::string> fields = linesOf(readAll(file.get()));
  if (fields.size() != kFields || !isNameOrNothing(fields[5]) || !isNameOrNothing(fields[7])) return std::nullopt;
  return TrashRecord{fields[0],
                     {number(fields[1]), number(fields[2])},
                     {number(fields[3]), number(fields[4])},
                     fields[5],
                     fields[6],
                     fields[7],
                     number(fields[10]),
                     fields[8] == "1" ? Reached::Yes : Reached::No,
                     fields[9] == "1"};
}

TrashRecord leavingRecord(const std::string& origin, const ItemNumber& item, const std::string& stored,
                          const std::string& info) {
  return {origin, item, {}, stored, info, "", 0, Reached::No, true};
}

}  // namespace qm::linux_
