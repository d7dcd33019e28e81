// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/FileWorld.h"
#include "tests/contract/files/RealCopies.h"

namespace qm::testing {

/// The services on a real disk. Where its folders are, the kinds of it say.
class RealFileWorld : public FileWorld {
 public:
  platform::FileSystem& files() override { return files_; }
  platform::FileOperations& operations() override { return copies_.service; }
  FakeMainThread& mainThread() override { return copies_.mainThread; }

  void addFile(const std::string& path, const std::string& contents) override;
  void addFolder(const std::string& path) override;
  void addLink(const std::string& path, const std::string& target) override;
  void setReadable(const std::string& path, bool readable) override;
  void setWritable(const std::string& path, bool writable) override;
  void setSearchable(const std::string& path, bool searchable) override;
  void setExecutable(const std::string& path, bool executable) override;
  void setModificationDate(const std::string& path, long seconds) override;

  bool has(const std::string& path) override;
  std::optional<std::string> contents(const std::string& path) override;
  std::vector<std::string> tree(const std::string& folder) override;

  /// Returns when no copy has a thread any more. A process does not end well while its threads still do.
  bool waitForThreads() { return copies_.threads.waitUntilAllEnded(); }

 private:
  posix::PosixFileSystem files_;
  RealCopies copies_;
};

/// In a private machine, as an ordinary user.
void runInMachine(const FileCase& body);

}  // namespace qm::testing
