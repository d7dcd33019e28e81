// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/files/NumberedItem.h"
#include "tests/contract/desktop/DesktopWorld.h"
#include "tests/contract/files/FileWorld.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

/// The user's folder of the tests for files.
class MacDesktopWorld : public DesktopWorld {
 public:
  explicit MacDesktopWorld(FileWorld& files) : files_(files) { users_.setRealUserId(::getuid()); }

  platform::FileReferences& references() override { return *references_; }
  platform::FinderInformation& information() override { return *information_; }
  platform::DesktopShell& shell() override { return *shell_; }

  using DesktopWorld::home;
  std::string home() const override { return files_.home(); }
  void addFile(const std::string& path) override { files_.addFile(path); }
  void addFolder(const std::string& path) override { files_.addFolder(path); }
  void addLink(const std::string& path, const std::string& target) override { files_.addLink(path, target); }
  void addApplication(const std::string& path) override { files_.addFolder(path); }
  void rename(const std::string& path, const std::string& newPath) override { fs::rename(path, newPath); }
  void remove(const std::string& path) override { fs::remove_all(path); }
  void setReadable(const std::string& path, bool readable) override { files_.setReadable(path, readable); }
  void setWritable(const std::string& path, bool writable) override { files_.setWritable(path, writable); }
  void setListening(bool /*listening*/) override { ADD_FAILURE() << "The Finder runs when it likes."; }
  std::vector<std::string> notices() override {
    ADD_FAILURE() << "What the Finder receives cannot be observed.";
    return {};
  }

 private:
  FileWorld& files_;
  Calls calls_;
  FakeUsers users_{calls_};
  const std::unique_ptr<platform::FileReferences> references_ = macos::makeFileReferences();
  const std::unique_ptr<platform::FinderInformation> information_ = macos::makeFinderInformation(users_);
  const std::unique_ptr<platform::DesktopShell> shell_ = macos::makeDesktopShell();
};

}  // namespace

void runInRealDesktop(const DesktopCase& body) {
  runInRealWorld([&](FileWorld& files) {
    MacDesktopWorld world(files);
    body(world);
  });
}

}  // namespace qm::testing
