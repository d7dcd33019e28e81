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

/// The services that come with the toolkit, and the loaded interface. There is one, made by the first call of
/// `frontEnd` and never destroyed: a worker may be inside one of them while the process ends.
struct FrontEnd {
  FrontEnd();
  FrontEnd(const FrontEnd&) = delete;
  FrontEnd& operator=(const FrontEnd&) = delete;
  ~FrontEnd();

  /// Main thread. Whether the application may be quit: not while a removal runs.
  bool mayQuit() const;

  /// Whose windows these are, and who owns the interface. Set by the application main function.
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
