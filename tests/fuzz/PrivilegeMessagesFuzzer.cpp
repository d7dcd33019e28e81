// SPDX-License-Identifier: MIT

// Feeds the helper's message reader. The first byte of an input is the size of the pieces in which the rest arrives.
// The messages must be the same as when it arrives in one piece, and must survive encoding and decoding.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/linux/privileges/protocol/Messages.h"

namespace {

using qm::linux_::Message;
using qm::linux_::MessageReader;

void require(bool condition) {
  if (!condition) std::abort();
}

std::vector<Message> readAll(std::string_view bytes, std::size_t piece, bool* broken) {
  MessageReader reader;
  std::vector<Message> messages;
  while (!bytes.empty()) {
    reader.append(bytes.substr(0, piece));
    bytes.remove_prefix(std::min(piece, bytes.size()));
    while (auto message = reader.next()) messages.push_back(std::move(*message));
  }
  *broken = reader.isBroken();
  return messages;
}

void readBack(const Message& message) {
  const auto bytes = qm::linux_::encoded(message);
  require(bytes.has_value());
  bool broken = false;
  const auto again = readAll(*bytes, bytes->size(), &broken);
  require(!broken && again.size() == 1 && again.front() == message);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  bool broken = false;
  bool brokenInPieces = false;
  const auto messages = readAll(bytes, bytes.size(), &broken);
  const auto inPieces = readAll(bytes, std::size_t{data[0]} + 1, &brokenInPieces);
  require(messages == inPieces && broken == brokenInPieces);
  for (const Message& message : messages) readBack(message);
  return 0;
}
