// SPDX-License-Identifier: MIT
#include "Shared/AsyncTaskDelegate.h"

#include <future>
#include <iostream>
#include <vector>

#include "Platform/SetUp.h"
#include "Shared/QMTask.h"

namespace {

class Lines final : public qm::AsyncTaskDelegate {
 public:
  bool respondsToSelector(const std::string& selector) const override { return selector == "receive:task:"; }

  /// On the reading thread. A piece is what one read returned, not a line.
  void perform(const std::string& /*selector*/, const std::string& data, QMTask& /*task*/,
               const std::shared_ptr<void>& /*object*/) override {
    text_ += data;
    if (data.empty()) finished_.set_value(text_);
  }

  std::string waitForText() { return finished_.get_future().get(); }

 private:
  std::string text_;
  std::promise<std::string> finished_;
};

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  const auto lines = std::make_shared<Lines>();
  const std::vector<std::string> arguments = {"-c", "for i in 1 2 3; do echo step $i; sleep 0.1; done"};
  QMTask::make()->asyncDataFromTask("/bin/sh", arguments, lines, "receive:task:", nullptr);
  std::cout << "started\n" << lines->waitForText();
  return 0;
}
