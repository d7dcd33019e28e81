// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Uninstaller/Interface.h"

/// What a front end provides to the program's main function.
namespace qm::uninstaller {

/// Makes the object that the main interface file contains.
using MakeInterfaceOwner = std::function<std::unique_ptr<InterfaceOwner>()>;

/// This system's own services and the front end's, for the product. The first call creates them; it comes from the main
/// thread before there is any other. Never destroyed.
const platform::Platform& systemPlatform(const platform::ProductIdentity& product);

/// The front end's application main function. Loads the main interface file, which makes its owner with `makeOwner`,
/// connects the owner's outlets and actions and sends it `awakeFromNib`. Shows the main window and runs the event loop
/// until the application is terminated. The arguments are passed to the toolkit unchanged. Called once, on the main
/// thread. Returns the exit code of the process, or does not return if the toolkit ends the process itself.
///
/// The owner and everything that its outlets point to stay valid until the process is gone, since a worker of the owner
/// may still be inside its last call then.
int applicationMain(int argc, char** argv, const platform::ProductIdentity& product,
                    const MakeInterfaceOwner& makeOwner);

}  // namespace qm::uninstaller
