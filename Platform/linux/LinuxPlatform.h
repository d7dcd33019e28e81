// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/posix/process/FrontEndServices.h"

namespace qm::linux_ {

/// The services of a Linux machine for a product, together with those of the front end. The first call creates them; it
/// must come before any other thread exists, and also normalises the state that the process was started in. Later calls
/// return the same set. Never destroyed: a worker may be inside one of the services while the process ends.
///
/// There is no `desktopShell`, `fileOperations`, `fileReferences` or `finderInformation`: a removal uses none, so the
/// program does not carry their code.
const platform::Platform& linuxPlatform(const platform::ProductIdentity& product,
                                        const posix::FrontEndServices& frontEnd);

/// The same with these four, for programs that use all of the maker's classes.
const platform::Platform& wholeLinuxPlatform(const platform::ProductIdentity& product,
                                             const posix::FrontEndServices& frontEnd);

}  // namespace qm::linux_
