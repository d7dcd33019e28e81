// SPDX-License-Identifier: MIT
#include "tests/contract/system/TaskWorld.h"
#include "tests/fakes/FakePlatform.h"

namespace qm::testing {
namespace {

class FakeTaskWorld : public TaskWorld {
 public:
  FakeTaskWorld() { fakes_.mainThread.disown(); }

  platform::Tasks& tasks() override { return fakes_.tasks; }
  void setMainThread(bool isMain) override { isMain ? fakes_.mainThread.claim() : fakes_.mainThread.disown(); }

  Tool exiting(int status) override { return scripted({.exitStatus = status}); }
  Tool printing(const std::string& output, const std::string& error) override {
    return scripted({.standardOutput = {output}, .standardError = {error}});
  }
  Tool endless() override { return scripted({.runsUntilEnded = true}); }
  Tool closingItsOutput() override {
    return scripted({.standardOutput = {"x"}, .closesOutputEarly = true, .runsUntilEnded = true});
  }
  Tool missing() override { return scripted({.launchFailure = platform::Failure{2, "No such file or directory"}}); }

 private:
  Tool scripted(TaskScript script) {
    fakes_.tasks.script("/bin/tool", std::move(script));
    return {"/bin/tool", {}};
  }

  FakePlatform fakes_;
};

}  // namespace

std::unique_ptr<TaskWorld> makeFakeTaskWorld() { return std::make_unique<FakeTaskWorld>(); }

}  // namespace qm::testing
