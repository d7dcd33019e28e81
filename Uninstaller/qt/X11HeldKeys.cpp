// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/X11HeldKeys.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
#include <QWindow>

#include "Uninstaller/qt/X11.h"

namespace qm::qt {

namespace {

constexpr unsigned kTypeWithoutSender = 0x7F;
constexpr unsigned kKeysInAByte = 8;

/// Requests from the server a report of the keys that are down, right after each change of the keyboard focus.
void askForHeldKeys(xcb_connection_t* connection, xcb_window_t window) {
  const X11Reply<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr), std::free);
  if (!attributes) return;
  const std::uint32_t wanted = attributes->your_event_mask | XCB_EVENT_MASK_KEYMAP_STATE;
  xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &wanted);
}

bool createsSurface(const QEvent& event) {
  return event.type() == QEvent::PlatformSurface &&
         static_cast<const QPlatformSurfaceEvent&>(event).surfaceEventType() == QPlatformSurfaceEvent::SurfaceCreated;
}

}  // namespace

X11HeldKeys::X11HeldKeys(QGuiApplication& application) : connection_(x11Connection()) {
  if (connection_ == nullptr) return;  // another window system, or none
  application.installEventFilter(this);
  application.installNativeEventFilter(this);
}

bool X11HeldKeys::eventFilter(QObject* receiver, QEvent* event) {
  if (!createsSurface(*event)) return false;
  if (auto* const window = qobject_cast<QWindow*>(receiver)) {
    askForHeldKeys(connection_, static_cast<xcb_window_t>(window->winId()));
  }
  return false;
}

bool X11HeldKeys::nativeEventFilter(const QByteArray& /*kind*/, void* message, qintptr* /*result*/) {
  switch (static_cast<xcb_generic_event_t*>(message)->response_type & kTypeWithoutSender) {
    case XCB_KEYMAP_NOTIFY:
      hold(*static_cast<xcb_keymap_notify_event_t*>(message));
      return false;
    case XCB_KEY_RELEASE:
      release(*static_cast<xcb_key_release_event_t*>(message));
      return false;
    case XCB_KEY_PRESS:
      return isHeld(*static_cast<xcb_key_press_event_t*>(message));
    default:
      return false;
  }
}

/// A bit for each key, without the first eight, which do not exist.
void X11HeldKeys::hold(const xcb_keymap_notify_event_t& event) {
  held_.reset();
  for (unsigned key = kKeysInAByte; key < held_.size(); ++key) {
    const unsigned byte = event.keys[key / kKeysInAByte - 1];
    held_[key] = (byte >> (key % kKeysInAByte) & 1U) != 0;
  }
}

void X11HeldKeys::release(const xcb_key_press_event_t& event) {
  if (!held_[event.detail]) return;
  held_.reset(event.detail);
  releasedKey_ = event.detail;
  releaseTime_ = event.time;
}

/// The server repeats a key by a release and a press of the same moment: it is still held.
bool X11HeldKeys::isHeld(const xcb_key_press_event_t& press) {
  if (press.detail == releasedKey_ && press.time == releaseTime_) held_.set(press.detail);
  return held_[press.detail];
}

}  // namespace qm::qt
