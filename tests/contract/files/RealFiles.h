// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Platform/Status.h"
#include "Platform/posix/PosixFileSystem.h"
#include "tests/support/PrivateMachine.h"

/// Arranging and checking on a real disk, for what only a real one has.
namespace qm::testing {

/// An ordinary user.
inline constexpr uid_t kUser = 1000;

/// The services that work on the disk.
inline posix::PosixFileSystem files;

inline void makeFile(const std::string& path, const std::string& contents = "") {
  std::ofstream file(path, std::ios::binary);
  file << contents;
  ASSERT_TRUE(file.flush()) << path;
}

inline std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  std::string text(static_cast<std::size_t>(std::max<std::streamoff>(file.tellg(), 0)), '\0');
  file.seekg(0).read(text.data(), static_cast<std::streamsize>(text.size()));
  return text;
}

inline void makeFolders(const std::string& path, mode_t mode = 0755) {
  std::filesystem::create_directories(path);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

/// Inside a private machine: a folder that anybody may write to.
inline std::string openFolder(const std::string& name) {
  const std::string path = machineFolder() + "/" + name;
  makeFolders(path, 0777);
  return path;
}

inline struct stat attributesOf(const std::string& path) {
  struct stat attributes {};
  EXPECT_EQ(::lstat(path.c_str(), &attributes), 0) << path;
  return attributes;
}

inline mode_t modeOf(const std::string& path) { return attributesOf(path).st_mode & 07777; }

/// An access list that lets `reader` read, in the system's format.
inline std::string accessListFor(uid_t reader) {
  struct Entry {
    std::uint16_t tag, rights;
    std::uint32_t id;
  };
  constexpr std::uint32_t none = 0xffffffff;
  const Entry entries[] = {{0x01, 6, none}, {0x02, 4, reader}, {0x04, 0, none}, {0x10, 4, none}, {0x20, 0, none}};
  const std::uint32_t version = 2;
  std::string value(reinterpret_cast<const char*>(&version), sizeof version);
  value.append(reinterpret_cast<const char*>(entries), sizeof entries);
  return value;
}

inline bool isThere(const std::string& path) {
  struct stat attributes {};
  return ::lstat(path.c_str(), &attributes) == 0;
}

inline std::size_t countIn(const std::string& folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

inline void expectDone(const platform::Status& status) {
  EXPECT_TRUE(status.ok()) << status.code() << ": " << status.localizedDescription();
}

inline void expectError(const platform::Status& status, int code, const std::string& sentence) {
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.localizedDescription(), sentence);
}

}  // namespace qm::testing
