// SPDX-License-Identifier: MIT
#include "tests/support/FreedMemory.h"

#include <malloc.h>
#include <string.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<const char*> wanted{nullptr};
std::atomic<std::size_t> wantedSize{0};
std::atomic<std::size_t> blocks{0};

void giveBack(void* block) {
  const char* text = wanted;
  if (block != nullptr && text != nullptr &&
      ::memmem(block, ::malloc_usable_size(block), text, wantedSize) != nullptr) {
    ++blocks;
  }
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { giveBack(block); }

namespace qm::testing {

FreedMemory::FreedMemory(std::string_view text) {
  blocks = 0;
  wantedSize = text.size();
  wanted = text.data();
}

FreedMemory::~FreedMemory() { wanted = nullptr; }

std::size_t FreedMemory::blocksWithText() { return blocks; }

}  // namespace qm::testing
