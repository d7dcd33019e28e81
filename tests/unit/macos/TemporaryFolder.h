// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::testing {

/// A folder on the disk that exists as long as this object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = ::testing::TempDir() + "macosXXXXXX";
    path_ = std::filesystem::canonical(::mkdtemp(pattern.data()));
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  const std::string& path() const { return path_; }
  std::string at(const std::string& name) const { return path_ + "/" + name; }

  void addFolder(const std::string& name) const { std::filesystem::create_directories(at(name)); }
  void addFile(const std::string& name) const { std::ofstream(at(name)) << name; }
  bool has(const std::string& name) const { return std::filesystem::exists(at(name)); }
  posix::UniqueFd open(const std::string& name) const {
    return posix::UniqueFd(::open(at(name).c_str(), O_RDONLY | O_CLOEXEC));
  }

 private:
  std::string path_;
};

}  // namespace qm::testing
