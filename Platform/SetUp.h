#pragma once

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/Users.h"

namespace qm::platform {

/// Sets up this system's services for a product, in a program without a toolkit, and installs and returns them. Comes
/// first in `main`, before there is another thread: a class that is used before says so on standard error and aborts.
/// It also settles what the process has inherited in an odd state: missing standard streams, ignored signals. A further
/// call installs the same set again, whatever it is given. The services are never taken down.
///
/// The calling thread is the main thread from now on. What other threads hand over to it is run whenever it waits: for
/// a tool, for the result of a timed operation, and in `platform().mainThread->handleOneEvent`, which whoever expects
/// reports of a copy in the background calls until the last one has come. There is no `userInterface`.
///
/// `users`, which outlives every user, says who is meant, where that is not for the system to say: a program of root's
/// may work for one person after another.
const Platform& setUp(const ProductIdentity& product, Users* users = nullptr);

}  // namespace qm::platform
