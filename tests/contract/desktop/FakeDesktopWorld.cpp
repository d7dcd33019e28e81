// SPDX-License-Identifier: MIT
#include "tests/contract/desktop/DesktopWorld.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeDesktopShell.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeFileReferences.h"
#include "tests/fakes/FakeFinderInformation.h"

namespace qm::testing {
namespace {

class FakeDesktopWorld : public DesktopWorld {
 public:
  FakeDesktopWorld() {
    disk_.addFolder(home());
    shell_.setListening(false);
  }

  platform::FileReferences& references() override { return references_; }
  platform::FinderInformation& information() override { return information_; }
  platform::DesktopShell& shell() override { return shell_; }

  using DesktopWorld::home;
  std::string home() const override { return "/home/u"; }
  void addFile(const std::string& path) override { disk_.addFile(path); }
  void addFolder(const std::string& path) override { disk_.addFolder(path); }
  void addLink(const std::string& path, const std::string& target) override { disk_.addLink(path, target); }
  void addApplication(const std::string& path) override { disk_.addFolder(path); }
  void rename(const std::string& path, const std::string& newPath) override { (void)disk_.move(path, newPath); }
  void remove(const std::string& path) override { disk_.remove(path); }
  void setReadable(const std::string& path, bool readable) override { disk_.setReadable(path, readable); }
  void setWritable(const std::string& path, bool writable) override { disk_.setWritable(path, writable); }
  void setListening(bool listening) override { shell_.setListening(listening); }
  std::vector<std::string> notices() override { return shell_.notices(); }

 private:
  Calls calls_;
  FakeClock clock_{calls_};
  FakeDisk disk_{clock_};
  FakeFileReferences references_{calls_, disk_};
  FakeFinderInformation information_{calls_, disk_};
  FakeDesktopShell shell_{calls_, disk_};
};

}  // namespace

void runInFakeDesktop(const DesktopCase& body) {
  FakeDesktopWorld world;
  body(world);
}

}  // namespace qm::testing
