// SPDX-License-Identifier: MIT
#include "tests/contract/desktop/HfsPlusImage.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace qm::testing {
namespace {

constexpr std::size_t kBlock = 4096;
constexpr std::uint32_t kBlocks = 1024;
constexpr std::uint32_t kMoment = 0xC0000000;  // seconds since 1904

/// Big-endian numbers, one after the other.
class Bytes {
 public:
  Bytes& u8(std::uint64_t value) { return number(value, 1); }
  Bytes& u16(std::uint64_t value) { return number(value, 2); }
  Bytes& u32(std::uint64_t value) { return number(value, 4); }
  Bytes& u32s(std::initializer_list<std::uint32_t> values) {
    for (const std::uint32_t value : values) u32(value);
    return *this;
  }
  Bytes& u64(std::uint64_t value) { return number(value, 8); }
  Bytes& zeros(std::size_t count) {
    text_.append(count, '\0');
    return *this;
  }
  Bytes& add(const std::string& bytes) {
    text_ += bytes;
    return *this;
  }
  const std::string& text() const { return text_; }

 private:
  Bytes& number(std::uint64_t value, unsigned size) {
    while (size-- > 0) text_ += static_cast<char>(value >> (8 * size) & 0xff);
    return *this;
  }

  std::string text_;
};

/// A run of blocks that belongs to one of the volume's own files.
struct Fork {
  std::uint32_t start;
  std::uint32_t count;

  std::string text() const {
    return Bytes().u64(count * kBlock).u32s({kBlock, count, start, count}).zeros(7 * 8).text();
  }
};
constexpr Fork kBitmap{1, 1};
constexpr Fork kExtents{2, 4};
constexpr Fork kCatalog{6, 32};
constexpr std::uint32_t kUsed = 38;  // at the beginning, and the last one

/// A B-tree node of one block, from its records.
std::string node(int kind, unsigned height, std::initializer_list<std::string> records) {
  Bytes bytes;
  bytes.u32s({0, 0}).u8(static_cast<std::uint8_t>(kind)).u8(height).u16(records.size()).u16(0);
  std::string ends = Bytes().u16(bytes.text().size()).text();
  for (const std::string& record : records) {
    bytes.add(record);
    ends.insert(0, Bytes().u16(bytes.text().size()).text());
  }
  return bytes.zeros(kBlock - bytes.text().size() - ends.size()).add(ends).text();
}

struct Tree {
  Fork fork;
  std::uint32_t leaf;  ///< the only one; 0 for none
  std::uint32_t records;
  unsigned longestKey;
  unsigned comparison;
  std::uint32_t attributes;
};

std::string headerNode(const Tree& tree) {
  const unsigned used = tree.leaf == 0 ? 1 : 2;
  Bytes header;
  header.u16(tree.leaf == 0 ? 0 : 1).u32s({tree.leaf, tree.records, tree.leaf, tree.leaf});
  header.u16(kBlock).u16(tree.longestKey).u32s({tree.fork.count, tree.fork.count - used}).u16(0).u32(kBlock);
  header.u8(0).u8(tree.comparison).u32(tree.attributes).zeros(64);
  // Nodes in use are the first bits of the map, which takes the rest of the block except for four offsets.
  const std::string map = Bytes().u8(used == 1 ? 0x80 : 0xC0).zeros(kBlock - 14 - 106 - 128 - 8 - 1).text();
  return node(1, 0, {header.text(), std::string(128, '\0'), map});
}

std::string catalogLeaf() {
  Bytes folder;
  folder.u16(10).u32(1).u16(2).u16('H').u16('P');        // the key: in no folder, the volume's name
  folder.u16(1).u16(0).u32(0).u32(2);                    // a folder without entries, number 2
  folder.u32s({kMoment, kMoment, kMoment, kMoment, 0});  // its dates
  folder.u32s({0, 0}).u8(0).u8(0).u16(040777).u32(1);    // owner, flags, mode
  folder.zeros(32).u32s({0, 0});                         // Finder information, encoding
  Bytes thread;
  thread.u16(6).u32(2).u16(0);                           // the key: number 2, no name
  thread.u16(3).u16(0).u32(1).u16(2).u16('H').u16('P');  // where that folder is
  return node(-1, 1, {folder.text(), thread.text()});
}

std::string volumeHeader() {
  Bytes header;
  header.u16(0x482B).u16(4).u32(0x100).add("10.0").u32(0);
  header.u32s({kMoment, kMoment, 0, kMoment, 0, 0});
  header.u32s({kBlock, kBlocks, kBlocks - kUsed - 1, kUsed, kBlock, kBlock, 16, 1});
  header.u64(1).zeros(32);
  header.add(kBitmap.text()).add(kExtents.text()).add(kCatalog.text());
  return header.zeros(512 - header.text().size()).text();
}

std::string bitmap() {
  std::string bits(kBlocks / 8, '\0');
  const auto use = [&](std::uint32_t block) {
    const unsigned bit = 0x80U >> (block % 8);
    bits[block / 8] = static_cast<char>(static_cast<unsigned char>(bits[block / 8]) | bit);
  };
  for (std::uint32_t block = 0; block < kUsed; ++block) use(block);
  use(kBlocks - 1);
  return bits;
}

}  // namespace

std::string emptyHfsPlusVolume() {
  std::string volume(kBlocks * kBlock, '\0');
  const auto put = [&](std::size_t offset, const std::string& bytes) { volume.replace(offset, bytes.size(), bytes); };
  put(1024, volumeHeader());
  put(volume.size() - 1024, volumeHeader());
  put(kBitmap.start * kBlock, bitmap());
  put(kExtents.start * kBlock, headerNode({kExtents, 0, 0, 10, 0, 2}));
  put(kCatalog.start * kBlock, headerNode({kCatalog, 1, 2, 516, 0xCF, 6}));
  put((kCatalog.start + 1) * kBlock, catalogLeaf());
  return volume;
}

}  // namespace qm::testing
