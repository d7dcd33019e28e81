// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Controls.h"

namespace qm::appkit {

void Window::makeKeyAndOrderFront() {
  if (!isShown()) [window_ center];
  [window_ makeKeyAndOrderFront:nil];
}

void Window::orderOut() { [window_ orderOut:nil]; }

void CheckBox::follow() {
  state_ = [button_ state] == NSControlStateValueOn ? uninstaller::kOnState : uninstaller::kOffState;
}

void ProgressIndicator::setUsesThreadedAnimation(bool threaded) { [bar_ setUsesThreadedAnimation:threaded ? YES : NO]; }

void ProgressIndicator::startAnimation() { [bar_ startAnimation:nil]; }

}  // namespace qm::appkit
