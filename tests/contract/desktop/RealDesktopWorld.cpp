// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "Platform/linux/desktop/LinuxDesktopShell.h"
#include "Platform/linux/desktop/LinuxFileReferences.h"
#include "Platform/linux/desktop/LinuxFinderInformation.h"
#include "Uninstaller/Product.h"
#include "tests/contract/desktop/DesktopMachine.h"
#include "tests/contract/desktop/DesktopWorld.h"
#include "tests/contract/desktop/SessionBus.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

class RealDesktopWorld : public DesktopWorld {
 public:
  explicit RealDesktopWorld(std::string home) : home_(std::move(home)) {
    users_.home = home_;
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + home_ + "/.bus").c_str(), 1);
    shell_ = std::make_unique<linux_::LinuxDesktopShell>(
        users_, tasks_.tasks, linux_::EntryMark{kProduct.bundleEntryKey, kProduct.bundleEntryPrefix});
  }

  platform::FileReferences& references() override { return references_; }
  platform::FinderInformation& information() override { return information_; }
  platform::DesktopShell& shell() override { return *shell_; }

  using DesktopWorld::home;
  std::string home() const override { return home_; }
  void addFile(const std::string& path) override { writeText(path, ""); }
  void addFolder(const std::string& path) override { fs::create_directories(path); }
  void addLink(const std::string& path, const std::string& target) override { fs::create_symlink(target, path); }
  void addApplication(const std::string& path) override { makeBundle(path, key("CFBundleExecutable", "Program")); }
  void rename(const std::string& path, const std::string& newPath) override { fs::rename(path, newPath); }
  void remove(const std::string& path) override { fs::remove_all(path); }
  void setReadable(const std::string& path, bool readable) override { setBits(path, 0444, readable); }
  void setWritable(const std::string& path, bool writable) override { setBits(path, 0222, writable); }
  void setListening(bool listening) override {
    listener_.reset();
    bus_ = listening ? std::make_unique<SessionBus>(home_ + "/.bus") : nullptr;
    if (bus_) listener_ = std::make_unique<FileManagerStandIn>(bus_->address());
  }
  std::vector<std::string> notices() override {
    std::vector<std::string> paths;
    if (!listener_) return paths;
    for (const Notice& notice : listener_->received()) {
      if (notice.signal.starts_with("FilesChanged("))
        paths.push_back(notice.urls.at(0).substr(std::string("file://").size()));
    }
    return paths;
  }

 private:
  static void setBits(const std::string& path, mode_t bits, bool on) {
    struct stat found {};
    ASSERT_EQ(::stat(path.c_str(), &found), 0);
    ASSERT_EQ(::chmod(path.c_str(), (on ? found.st_mode | bits : found.st_mode & ~bits) & 07777), 0);
  }

  std::string home_;
  DesktopUsers users_;
  RealTasks tasks_;
  linux_::LinuxFileReferences references_;
  linux_::LinuxFinderInformation information_;
  std::unique_ptr<linux_::LinuxDesktopShell> shell_;
  std::unique_ptr<SessionBus> bus_;
  std::unique_ptr<FileManagerStandIn> listener_;
};

}  // namespace

void runInRealDesktop(const DesktopCase& body) {
  asPerson([&](const std::string& home) {
    RealDesktopWorld world(home);
    body(world);
  });
}

}  // namespace qm::testing
