// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/Users.h"

namespace qm::platform {

/// Sets up this system's services for a product, in a program without a toolkit, installs them and returns them. Call
/// it first in `main`, before there is another thread: a class that is used earlier prints a message to standard error
/// and aborts. It also normalises what a process may inherit in an unusual state: missing standard streams, ignored
/// signals. A further call installs the same set, whatever its arguments. The services are never taken down.
///
/// The calling thread becomes the main thread. What other threads pass to it is run whenever it waits: for a tool, for
/// the result of a timed operation, and in `platform().mainThread->handleOneEvent`. A program that copies in the
/// background calls `handleOneEvent` repeatedly until the last report has come. There is no `userInterface`.
///
/// Pass `users` if the program is run by root and works for one user after another. Its `consoleUser` returns the user
/// whom the program works for at that moment. The object must never be destroyed.
const Platform& setUp(const ProductIdentity& product, Users* users = nullptr);

}  // namespace qm::platform
