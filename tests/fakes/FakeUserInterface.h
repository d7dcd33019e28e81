// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Uninstaller/Interface.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeMainThread.h"

namespace qm::testing {

/// Shared by the parts of the interface: their record, and a list of the calls that were wrongly made off the main
/// thread.
class InterfaceRecord {
 public:
  InterfaceRecord(Calls& calls, const FakeMainThread& mainThread) : calls_(calls), mainThread_(mainThread) {}

  /// Calls that belong on the main thread and came from another.
  std::vector<std::string> offMainThread() const {
    const std::scoped_lock lock(mutex_);
    return offMainThread_;
  }

  /// Returns whether the call is to fail.
  template <class... Arguments>
  bool command(const std::string& name, const Arguments&... arguments) {
    if (!mainThread_.isMainThread()) {
      const std::scoped_lock lock(mutex_);
      offMainThread_.push_back(name);
    }
    return calls_.command(name, arguments...);
  }
  void note(const std::string& name) { calls_.note(name); }

 private:
  Calls& calls_;
  const FakeMainThread& mainThread_;
  mutable std::mutex mutex_;
  std::vector<std::string> offMainThread_;
};

/// A window: recorded under its name, as "windowMain.orderOut()".
class FakeWindow : public uninstaller::Window {
 public:
  FakeWindow(InterfaceRecord& record, std::string name, bool visible)
      : record_(record), name_(std::move(name)), visible_(visible) {}

  bool isVisible() const { return visible_; }

  void makeKeyAndOrderFront() override {
    if (!record_.command(name_ + ".makeKeyAndOrderFront")) visible_ = true;
  }
  void orderOut() override {
    if (!record_.command(name_ + ".orderOut")) visible_ = false;
  }

 private:
  InterfaceRecord& record_;
  std::string name_;
  std::atomic<bool> visible_;
};

/// A check box whose state the test sets; it begins off.
class FakeCheckBox : public uninstaller::CheckBox {
 public:
  FakeCheckBox(InterfaceRecord& record, std::string name) : record_(record), name_(std::move(name)) {}

  void setState(int state) { state_ = state; }

  int state() const override {
    record_.note(name_ + ".state");
    return state_;
  }

 private:
  InterfaceRecord& record_;
  std::string name_;
  std::atomic<int> state_{uninstaller::kOffState};
};

class FakeProgressIndicator : public uninstaller::ProgressIndicator {
 public:
  FakeProgressIndicator(InterfaceRecord& record, std::string name) : record_(record), name_(std::move(name)) {}

  bool isAnimated() const { return animated_; }
  bool usesThreadedAnimation() const { return threaded_; }

  void setUsesThreadedAnimation(bool threaded) override {
    if (!record_.command(name_ + ".setUsesThreadedAnimation", threaded)) threaded_ = threaded;
  }
  void startAnimation() override {
    if (!record_.command(name_ + ".startAnimation")) animated_ = true;
  }

 private:
  InterfaceRecord& record_;
  std::string name_;
  std::atomic<bool> threaded_{false};
  std::atomic<bool> animated_{false};
};

/// The application object. An alert is dismissed at once (`Calls::hang` keeps it open). When the application ends,
/// those whose work did it keep waiting, see `FakeMainThread::applicationEnded`.
class FakeUserInterface : public platform::UserInterface {
 public:
  FakeUserInterface(InterfaceRecord& record, FakeMainThread& mainThread) : record_(record), mainThread_(mainThread) {}

  /// The senders of every `terminate`, in order.
  std::vector<const platform::ActionSender*> terminateSenders() const {
    const std::scoped_lock lock(mutex_);
    return senders_;
  }
  bool isTerminated() const { return !terminateSenders().empty(); }

  /// The details of the last alert.
  std::string details() const {
    const std::scoped_lock lock(mutex_);
    return details_;
  }

  void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) override {
    {
      const std::scoped_lock lock(mutex_);
      details_ = details;
    }
    record_.command("userInterface.runAlertPanel", title, message);
  }
  void terminate(const platform::ActionSender* sender) override {
    if (record_.command("userInterface.terminate", sender == nullptr ? "nil" : "sender")) return;
    {
      const std::scoped_lock lock(mutex_);
      senders_.push_back(sender);
    }
    mainThread_.applicationEnded();
  }

 private:
  InterfaceRecord& record_;
  FakeMainThread& mainThread_;
  mutable std::mutex mutex_;
  std::vector<const platform::ActionSender*> senders_;
  std::string details_;
};

/// The interface file's objects, named by their outlets. The main window begins visible.
struct FakeInterface {
  FakeInterface(Calls& calls, const FakeMainThread& mainThread) : record(calls, mainThread) {}

  uninstaller::Outlets outlets() {
    return {&windowMain, &removeSharedCheck, &removeConfigCheck, &windowProgress, &progressBar};
  }

  InterfaceRecord record;
  FakeWindow windowMain{record, "windowMain", true};
  FakeCheckBox removeSharedCheck{record, "removeSharedCheck"};
  FakeCheckBox removeConfigCheck{record, "removeConfigCheck"};
  FakeWindow windowProgress{record, "windowProgress", false};
  FakeProgressIndicator progressBar{record, "progressBar"};
};

}  // namespace qm::testing
