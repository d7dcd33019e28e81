// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Platform/linux/archives/ArchiveRun.h"
#include "Platform/linux/archives/ZipWriter.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeWalk.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The final and the temporary name of the archive in its folder. If that folder is packed, the archive itself must be
/// left out.
struct OwnNames {
  posix::FolderIdentity folder;
  std::vector<std::string> names;

  bool have(int inFolder, const std::string& name) const;
};

/// Puts files and whole folders into an archive.
class PackedTree : private posix::TreeVisitor {
 public:
  PackedTree(ZipWriter& writer, const OwnNames& ownNames, const ArchiveRun& run)
      : writer_(writer), ownNames_(ownNames), run_(run) {}

  /// A regular file, open for reading, under `name`.
  platform::Status addFile(int file, const std::string& name);
  /// A folder, open for reading, as `name`; "" for its contents alone.
  platform::Status addFolder(int folder, const std::string& name);

 private:
  int entered(const posix::FolderChain& chain, const std::string& name) override;
  int item(int folder, const std::string& name) override;
  int left(int parent, int folder, const std::string& name) override;
  int cannotEnter(int parent, const std::string& name, int error) override;

  int addItem(int folder, const std::string& name, const struct stat& attributes);
  int addLink(int folder, const std::string& name, const struct stat& attributes);
  int addContents(posix::UniqueFd file, const std::string& name);
  int leaveOut(const std::string& name, const char* why);
  int answer(platform::Status status);
  int failed(const std::string& name, int error);
  platform::Status copyContents(int file, const std::string& name, off_t size);

  ZipWriter& writer_;
  const OwnNames& ownNames_;
  const ArchiveRun& run_;
  std::string top_;
  std::string prefix_;  // of the names in the folder that the walk is in: "" or with a slash at the end
  std::vector<std::size_t> prefixLengths_;
  std::vector<char> block_ = std::vector<char>(262144);
  platform::Status problem_;
};

}  // namespace qm::linux_
