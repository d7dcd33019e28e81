// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "Platform/ProductIdentity.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/appkit/FreshKeys.h"
#include "Uninstaller/appkit/MainThread.h"
#include "Uninstaller/appkit/UserInterface.h"

namespace qm::appkit {

class MainInterface;
class PlanView;

/// The services that the toolkit provides, and the loaded interface. The only object is created by the first call of
/// `frontEnd`. It is never destroyed, because a worker may be inside one of the services while the process ends.
struct FrontEnd {
  FrontEnd();
  FrontEnd(const FrontEnd&) = delete;
  FrontEnd& operator=(const FrontEnd&) = delete;
  ~FrontEnd();

  /// Main thread. Whether the application may be quit. False while a removal runs.
  bool mayQuit() const;

  /// The product whose windows these are, and the function that creates the owner of the interface. Set by the
  /// application main function.
  platform::ProductIdentity product;
  uninstaller::MakeInterfaceOwner makeOwner;

  MainThread mainThread;
  UserInterface userInterface;
  FreshKeys freshKeys;
  /// Null until the interface file is loaded.
  std::unique_ptr<MainInterface> interface;
  std::unique_ptr<PlanView> plan;
};

/// The thread of the first call is the main thread.
FrontEnd& frontEnd();

}  // namespace qm::appkit
