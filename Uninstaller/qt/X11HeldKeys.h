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

/// Keeps from every window the presses of keys that were held when the window got the keyboard, until they have been
/// released. An X server goes on repeating a key that was pressed elsewhere, or before the program's start, and the
/// window that has the keyboard then gets presses that nobody made for it.
///
/// The server tells which keys are held with each change of the keyboard's owner, so a press made for the window is
/// never taken for an older one, however late it is handled. On other systems of windows this does nothing: they begin
/// no repetition in a window that did not get the press.
class X11HeldKeys final : public QObject, public QAbstractNativeEventFilter {
 public:
  explicit X11HeldKeys(QGuiApplication& application);

  /// Sees each window of the system's before it is shown.
  bool eventFilter(QObject* receiver, QEvent* event) override;
  bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;

 private:
  void hold(const xcb_keymap_notify_event_t& told);
  void release(const xcb_key_press_event_t& event);
  bool isHeld(const xcb_key_press_event_t& press);

  xcb_connection_t* const connection_;
  std::bitset<256> held_;
  std::uint8_t releasedKey_ = 0;
  std::uint32_t releaseTime_ = 0;
};

}  // namespace qm::qt
