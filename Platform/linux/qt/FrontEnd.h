#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Platform/linux/qt/MainInterface.h"
#include "Platform/linux/qt/QtDescriptorWait.h"
#include "Platform/linux/qt/QtMainThread.h"
#include "Platform/linux/qt/QtUserInterface.h"

namespace qm::linux_ {

/// The services that come with the toolkit, and the loaded interface. There is one, made by the first
/// call of `frontEnd` and never destroyed: a worker may be inside one of them while the process ends.
struct FrontEnd {
  /// What a user has one instance of, and how long a running one may take to show itself: on a slow machine it may be
  /// just starting.
  std::string program = "com.quillmark.tessaly-uninstaller";
  std::chrono::milliseconds patience = std::chrono::seconds(5);

  QtMainThread mainThread;
  QtDescriptorWait descriptorWait;
  QtUserInterface userInterface{mainThread};
  std::unique_ptr<MainInterface> interface;
};

/// The thread of the first call is the main thread.
FrontEnd& frontEnd();

}  // namespace qm::linux_
