// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qm::testing {

/// One item of an archive that a test writes byte for byte: nothing is checked or made consistent.
struct ZipItem {
  std::string name;
  std::string contents{};
  std::uint32_t mode = 0100644;     ///< with the type
  std::uint16_t flags = 0;          ///< 0x800: the name is UTF-8; 1: encrypted
  std::uint8_t system = 3;          ///< Unix; 0 is DOS
  std::string centralName{};        ///< in the directory, if it differs
  std::int64_t sizeError = 0;       ///< added to the stated size
  std::uint32_t checksumError = 0;  ///< changes the checksum
  std::uint16_t method = 0;         ///< stored as it is, whatever this says
  std::string extra{};              ///< fields after the name, in the item and in the directory
};

/// A zip archive of these items, with `before` in front of it and `comment` at its end.
std::string zipBytes(const std::vector<ZipItem>& items, const std::string& before = {},
                     const std::string& comment = {});

/// The field that contains the name of an item in UTF-8, for one whose own name is in another character set.
std::string unicodePathField(const std::string& name, const std::string& utf8);

}  // namespace qm::testing
