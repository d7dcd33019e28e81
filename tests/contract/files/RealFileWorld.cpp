// SPDX-License-Identifier: MIT
#include "tests/contract/files/RealFileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

void setBits(const std::string& path, mode_t bits, bool on) {
  struct stat attributes {};
  ASSERT_EQ(::stat(path.c_str(), &attributes), 0) << path;
  const auto mode = static_cast<mode_t>(on ? attributes.st_mode | bits : attributes.st_mode & ~bits);
  ASSERT_EQ(::chmod(path.c_str(), mode & 07777), 0) << path;
}

}  // namespace

void RealFileWorld::addFile(const std::string& path, const std::string& contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << contents;
  ASSERT_TRUE(file.flush()) << path;
}

void RealFileWorld::addFolder(const std::string& path) { fs::create_directories(path); }

void RealFileWorld::addLink(const std::string& path, const std::string& target) {
  fs::create_directories(fs::path(path).parent_path());
  fs::create_symlink(target, path);
}

void RealFileWorld::setReadable(const std::string& path, bool readable) {
  setBits(path, S_IRUSR | S_IRGRP | S_IROTH, readable);
}

void RealFileWorld::setWritable(const std::string& path, bool writable) {
  setBits(path, S_IWUSR | S_IWGRP | S_IWOTH, writable);
}

void RealFileWorld::setSearchable(const std::string& path, bool searchable) {
  setBits(path, S_IXUSR | S_IXGRP | S_IXOTH, searchable);
}

void RealFileWorld::setExecutable(const std::string& path, bool executable) { setSearchable(path, executable); }

void RealFileWorld::setModificationDate(const std::string& path, long seconds) {
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

bool RealFileWorld::has(const std::string& path) { return fs::exists(fs::symlink_status(path)); }

std::optional<std::string> RealFileWorld::contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> RealFileWorld::tree(const std::string& folder) {
  std::vector<std::string> lines;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    std::string line = entry.path().string().substr(folder.size() + 1);
    if (entry.is_symlink()) {
      line += " -> " + fs::read_symlink(entry.path()).string();
    } else if (entry.is_directory()) {
      line += "/";
    }
    lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace qm::testing
