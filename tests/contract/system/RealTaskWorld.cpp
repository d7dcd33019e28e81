// SPDX-License-Identifier: MIT
#include "tests/contract/system/RealTasks.h"
#include "tests/contract/system/TaskWorld.h"

namespace qm::testing {
namespace {

class RealTaskWorld : public TaskWorld {
 public:
  platform::Tasks& tasks() override { return real_.tasks; }
  void setMainThread(bool isMain) override { real_.mainThread.isMain = isMain; }

  Tool exiting(int status) override { return shell("exit " + std::to_string(status)); }
  Tool printing(const std::string& output, const std::string& error) override {
    return shell("printf %s '" + output + "'; printf %s '" + error + "' >&2");
  }
  Tool endless() override { return {"/bin/sleep", {"1000"}}; }
  Tool closingItsOutput() override { return shell("printf x; exec >&- 2>&-; exec sleep 1000"); }
  Tool missing() override { return {"/nowhere/tool", {}}; }

 private:
  static Tool shell(const std::string& script) { return {"/bin/sh", {"-c", script}}; }

  RealTasks real_;
};

}  // namespace

std::unique_ptr<TaskWorld> makeRealTaskWorld() { return std::make_unique<RealTaskWorld>(); }

}  // namespace qm::testing
