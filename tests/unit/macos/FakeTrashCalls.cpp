// SPDX-License-Identifier: MIT
#include "tests/unit/macos/FakeTrashCalls.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace qm::macos {
namespace {

constexpr const char* kAttribute = "com.example.trashed";

}  // namespace

Number numberOf(int item) {
  struct stat found {};
  EXPECT_EQ(::fstat(item, &found), 0);
  return {found.st_dev, found.st_ino};
}

TrashAnswer trashItem(const std::string& path) {
  madeUp.asked.push_back(path);
  if (madeUp.trash.empty()) return madeUp.answer;
  const std::string stored = madeUp.trash / std::filesystem::path(path).filename();
  std::filesystem::rename(path, stored);
  TrashAnswer done;
  done.done = true;
  done.path = stored;
  return done;
}

std::string volumeOf(int /*folder*/) { return madeUp.volume; }
int writeOut(const std::string& volume) {
  madeUp.writtenOut.push_back(volume);
  return madeUp.writeOutError;
}

int writeAttribute(int item, const std::string& name, const std::string& text) {
  EXPECT_EQ(name, kAttribute);
  if (madeUp.noteError != 0) return madeUp.noteError;
  madeUp.notes[numberOf(item)] = text;
  return 0;
}
std::string readAttribute(int item, const std::string& name) {
  if (name.empty()) return {};
  EXPECT_EQ(name, kAttribute);
  const auto found = madeUp.notes.find(numberOf(item));
  return found == madeUp.notes.end() ? std::string() : found->second;
}
void removeAttribute(int item, const std::string& name) {
  if (name.empty()) return;
  EXPECT_EQ(name, kAttribute);
  ++madeUp.notesRemoved;
  madeUp.notes.erase(numberOf(item));
}

}  // namespace qm::macos
