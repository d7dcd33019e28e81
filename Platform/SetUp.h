#pragma once

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/Users.h"

namespace qm::platform {

/// Sets up this system's services for a product, in a program without a toolkit, and installs and returns them. Comes
/// first in `main`, before there is another thread: whatever is used before says so on standard error and aborts. It
/// also settles what a process may inherit in an odd state: missing standard streams, ignored signals. A further call
/// installs the same set, whatever it is given. The services are never taken down.
///
/// The calling thread is the main thread from now on. What others hand over to it is run whenever it waits: for a tool,
/// for the result of a timed operation, and in `platform().mainThread->handleOneEvent`, which whoever copies in the
/// background calls until the last report has come. There is no `userInterface`.
///
/// `users`, which outlives every user, says who is meant where a program of root's works for one person after another.
const Platform& setUp(const ProductIdentity& product, Users* users = nullptr);

}  // namespace qm::platform
