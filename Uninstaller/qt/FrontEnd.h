// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>

#include "Platform/ProductIdentity.h"
#include "Uninstaller/qt/MainInterface.h"
#include "Uninstaller/qt/QtDescriptorWait.h"
#include "Uninstaller/qt/QtMainThread.h"
#include "Uninstaller/qt/QtUserInterface.h"

namespace qm::qt {

/// The services that come with the toolkit, and the loaded interface. There is one, made by the first
/// call of `frontEnd` and never destroyed: a worker may be inside one of them while the process ends.
struct FrontEnd {
  /// Whose windows these are. Set by the application main function.
  platform::ProductIdentity product;
  /// How long a new process waits until the running instance has shown itself. On a slow machine that instance may be
  /// just starting.
  std::chrono::milliseconds patience = std::chrono::seconds(5);

  QtMainThread mainThread;
  QtDescriptorWait descriptorWait;
  QtUserInterface userInterface{mainThread};
  std::unique_ptr<MainInterface> interface;
};

/// The thread of the first call is the main thread.
FrontEnd& frontEnd();

}  // namespace qm::qt
