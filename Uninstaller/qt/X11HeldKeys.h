// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <bitset>
#include <cstdint>

class QGuiApplication;
struct xcb_connection_t;
struct xcb_key_press_event_t;
struct xcb_keymap_notify_event_t;

namespace qm::qt {

/// If a key was down when a window got the keyboard focus, drops the presses of that key until it is released. An X
/// server continues to repeat a key that was pressed in another window or before the program started. The window with
/// the focus gets these presses, although the user did not make them for it.
///
/// The server reports which keys are down with each change of the focus. So a press for the window is never mistaken
/// for an older one, however late it is handled. On other window systems this class does nothing, because they do not
/// repeat a key in a window that did not get the press.
class X11HeldKeys final : public QObject, public QAbstractNativeEventFilter {
 public:
  explicit X11HeldKeys(QGuiApplication& application);

  /// Asks the server for reports about each native window before the window is shown.
  bool eventFilter(QObject* receiver, QEvent* event) override;
  bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;

 private:
  void hold(const xcb_keymap_notify_event_t& event);
  void release(const xcb_key_press_event_t& event);
  bool isHeld(const xcb_key_press_event_t& press);

  xcb_connection_t* const connection_;
  std::bitset<256> held_;
  std::uint8_t releasedKey_ = 0;
  std::uint32_t releaseTime_ = 0;
};

}  // namespace qm::qt
