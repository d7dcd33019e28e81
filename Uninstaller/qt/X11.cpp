// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/X11.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qm::qt {

namespace {

constexpr unsigned kBitsOfData = 32;
constexpr std::uint32_t kSaidByTheUser = 2;

/// Sends requests to the window manager for one window.
class WindowManager {
 public:
  WindowManager(xcb_connection_t* connection, xcb_window_t window) : connection_(connection), window_(window) {
    const X11Reply<xcb_get_geometry_reply_t> place(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr), std::free);
    if (place) root_ = place->root;
  }

  std::optional<std::uint32_t> currentDesktop() const {
    const auto asked = xcb_get_property(connection_, 0, root_, atom("_NET_CURRENT_DESKTOP"), XCB_ATOM_CARDINAL, 0, 1);
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, asked, nullptr), std::free);
    if (!reply || reply->format != kBitsOfData || reply->value_len != 1) return std::nullopt;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  }

  void ask(std::string_view what, std::uint32_t first, std::uint32_t second) const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = kBitsOfData;
    message.window = window_;
    message.type = atom(what);
    message.data.data32[0] = first;
    message.data.data32[1] = second;
    constexpr std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    xcb_send_event(connection_, 0, root_, mask, reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
  }

 private:
  xcb_atom_t atom(std::string_view name) const {
    const auto asked = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, asked, nullptr), std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  xcb_connection_t* const connection_;
  const xcb_window_t window_;
  xcb_window_t root_ = XCB_WINDOW_NONE;
};

}  // namespace

xcb_connection_t* x11Connection() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 == nullptr ? nullptr : x11->connection();
}

void activateForTheUser(const QWidget& window) {
  auto* const connection = x11Connection();
  if (connection == nullptr) return;
  const WindowManager manager(connection, static_cast<xcb_window_t>(window.winId()));
  if (const auto desktop = manager.currentDesktop()) manager.ask("_NET_WM_DESKTOP", *desktop, kSaidByTheUser);
  manager.ask("_NET_ACTIVE_WINDOW", kSaidByTheUser, XCB_CURRENT_TIME);
}

}  // namespace qm::qt
