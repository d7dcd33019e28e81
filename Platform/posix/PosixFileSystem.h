// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/FileSystem.h"

namespace qm::posix {

/// The plain file operations on a POSIX system. Paths that are empty, relative or contain a NUL byte name nothing, and
/// operations that would change something reject them. Where the item itself is meant, trailing slashes are ignored.
class PosixFileSystem : public platform::FileSystem {
 public:
  bool fileExists(const std::string& path) const override;
  bool isDirectory(const std::string& path) const override;
  bool isExecutableFile(const std::string& path) const override;
  bool isWritableFile(const std::string& path) const override;
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) const override;
  bool visitDirectory(const std::string& path, platform::EntrySizes sizes,
                      const std::function<void(const platform::DirectoryEntry&)>& visit) const override;
  std::optional<platform::ItemAttributes> attributesOfItem(const std::string& path) const override;
  std::optional<std::string> destinationOfSymbolicLink(const std::string& path) const override;

  platform::Status moveItem(const std::string& source, const std::string& destination) override;
  platform::Status linkItem(const std::string& source, const std::string& destination) override;
  platform::Status copyItem(const std::string& source, const std::string& destination) override;
  platform::Status createDirectory(const std::string& path) override;
  platform::Status removeItem(const std::string& path) override;
  platform::Status removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) override;

  platform::Status setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) override;

  platform::Status writeFileAtomically(const std::string& path, std::string_view contents) override;
  std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override;
};

}  // namespace qm::posix
