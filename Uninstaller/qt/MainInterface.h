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

/// What the main interface file holds, loaded: its owner with the outlets and actions connected, and
/// the two windows. Outlets and owner live as long as this object; the windows until `destroyWindows`.
///
/// The main window sends one action, while it is shown. Clicks, keys and close requests that come after it, or were
/// queued behind it, meet a window that takes no input any more: they would start a second run, end the program in the
/// middle of one, or change a check box that the run has yet to read.
///
/// "What will be moved" looks at the disk each time that it is opened, and only then.
class MainInterface {
 public:
  explicit MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner);
  MainInterface(const MainInterface&) = delete;
  MainInterface& operator=(const MainInterface&) = delete;
  ~MainInterface();

  uninstaller::Window& windowMain() { return *windowMain_; }
  /// The widgets go, while there still is an application object. The outlets stay.
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

  PlanView* planView_ = nullptr;  // the main window's, from when it is first opened
  RemovalPreview preview_;
};

}  // namespace qm::qt
