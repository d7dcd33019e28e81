// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <memory>

class QWidget;
struct xcb_connection_t;

namespace qm::qt {

/// Qt's connection to an X server. Null where the windows are another system's.
xcb_connection_t* x11Connection();

/// What a server has answered. Null when it refused.
template <class Reply>
using X11Reply = std::unique_ptr<Reply, decltype(&std::free)>;

/// Has the window come to the desktop that is shown, to the front, and get the keyboard because the user says so.
/// Window managers may take what a program asks for by itself as a disturbance, and only mark it. Does nothing without
/// an X server.
void activateForTheUser(const QWidget& window);

}  // namespace qm::qt
