// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <memory>

class QWidget;
struct xcb_connection_t;

namespace qm::qt {

/// Qt's connection to an X server. Null on another window system.
xcb_connection_t* x11Connection();

/// The reply of a server. Null if it refused the request.
template <class Reply>
using X11Reply = std::unique_ptr<Reply, decltype(&std::free)>;

/// Moves the window to the desktop that is shown, brings it to the front and gives it the keyboard focus, as a request
/// of the user. If a program requests this for itself, a window manager may only highlight the window. Does nothing
/// without an X server.
void activateForTheUser(const QWidget& window);

}  // namespace qm::qt
