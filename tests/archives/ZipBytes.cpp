// SPDX-License-Identifier: MIT
#include "tests/archives/ZipBytes.h"

#include <cstddef>

namespace qm::testing {
namespace {

std::uint32_t checksumOf(const std::string& bytes) {
  std::uint32_t sum = ~0U;
  for (const char byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~sum;
}

std::string number(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i) & 0xFFU);
  return text;
}

/// The common part of an item's header and its line in the directory, from the flags to the length of the name.
std::string common(const ZipItem& item, const std::string& name) {
  const std::uint64_t statedSize = item.contents.size() + static_cast<std::uint64_t>(item.sizeError);
  return number(item.flags, 2) + number(item.method, 2) + number(0, 2) + number(0x2821, 2) +
         number(checksumOf(item.contents) ^ item.checksumError, 4) + number(item.contents.size(), 4) +
         number(statedSize, 4) + number(name.size(), 2);
}

std::string inDirectory(const ZipItem& item, std::size_t offset) {
  const std::string& name = item.centralName.empty() ? item.name : item.centralName;
  return "PK\1\2" + number(20, 1) + number(item.system, 1) + number(20, 2) + common(item, name) +
         number(item.extra.size(), 2) + number(0, 2) + number(0, 2) + number(0, 2) +
         number(std::uint64_t{item.mode} << 16U, 4) + number(offset, 4) + name + item.extra;
}

}  // namespace

std::string zipBytes(const std::vector<ZipItem>& items, const std::string& before, const std::string& comment) {
  std::string bytes;
  std::string directory;
  for (const ZipItem& item : items) {
    directory += inDirectory(item, bytes.size());
    bytes += "PK\3\4" + number(20, 2) + common(item, item.name) + number(item.extra.size(), 2) + item.name +
             item.extra + item.contents;
  }
  const std::size_t start = bytes.size();
  bytes += directory + "PK\5\6" + number(0, 4) + number(items.size(), 2) + number(items.size(), 2) +
           number(directory.size(), 4) + number(start, 4) + number(comment.size(), 2) + comment;
  return before + bytes;
}

std::string unicodePathField(const std::string& name, const std::string& utf8) {
  return "up" + number(5 + utf8.size(), 2) + "\1" + number(checksumOf(name), 4) + utf8;
}

}  // namespace qm::testing
