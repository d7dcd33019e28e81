// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <memory>

#include "Uninstaller/Interface.h"
#include "Uninstaller/RemovalPreview.h"
#include "Uninstaller/qt/QtControls.h"

class QAbstractButton;

namespace Ui {
class MainInterface;
}

namespace qm::qt {

class PlanView;

/// The loaded interface file: its owner, whose outlets and actions are connected, and the two windows. Outlets and
/// owner exist as long as this object, the windows until `destroyWindows`.
///
/// The main window sends one action, and only while it is shown. From then on it takes no input. Otherwise clicks, keys
/// and close requests that come later, or were queued behind that action, could start a second run, end the program
/// during a run, or change a check box before the run reads it.
///
/// "What will be moved" reads the disk each time it is opened, and at no other time.
class MainInterface {
 public:
  explicit MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner);
  MainInterface(const MainInterface&) = delete;
  MainInterface& operator=(const MainInterface&) = delete;
  ~MainInterface();

  uninstaller::Window& windowMain() { return *windowMain_; }
  /// Destroys the widgets. Call it while there still is an application object. The outlets continue to exist.
  void destroyWindows();

 private:
  using Action = void (uninstaller::InterfaceOwner::*)(const platform::ActionSender*);

  void makeOutlets();
  void connectActions();
  void sendOnClick(const QAbstractButton& button, Action action);
  void showPlan(bool isOpen);
  void makePlanView();

  std::unique_ptr<uninstaller::InterfaceOwner> owner_;
  std::unique_ptr<Ui::MainInterface> file_;
  std::unique_ptr<QWidget> canvas_;
  std::unique_ptr<QWidget> mainWidget_;
  std::unique_ptr<QWidget> progressWidget_;

  bool takesActions_ = true;

  std::unique_ptr<QtWindow> windowMain_;
  std::unique_ptr<QtCheckBox> removeSharedCheck_;
  std::unique_ptr<QtCheckBox> removeConfigCheck_;
  std::unique_ptr<QtWindow> windowProgress_;
  std::unique_ptr<QtProgressIndicator> progressBar_;

  PlanView* planView_ = nullptr;  // in the main window, created when it is first opened
  RemovalPreview preview_;
};

}  // namespace qm::qt
