// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/X11HeldKeys.h"

#include <xcb/xcb.h>

#include <initializer_list>

#include "tests/frontend/QtFixture.h"

namespace qm::testing {
namespace {

constexpr std::uint8_t kReturn = 36;
constexpr std::uint8_t kEscape = 9;
constexpr std::uint8_t kLast = 255;

/// The events of an X server, passed on as Qt does.
class X11HeldKeys : public QtFixture {
 protected:
  X11HeldKeys() : keys_(*qGuiApp) {}

  /// A window gets the keyboard focus while these keys are held.
  void enter(std::initializer_list<std::uint8_t> held) {
    xcb_keymap_notify_event_t event{};
    event.response_type = XCB_KEYMAP_NOTIFY;
    for (const unsigned key : held)
      event.keys[key / 8 - 1] = static_cast<std::uint8_t>(event.keys[key / 8 - 1] | 1U << key % 8);
    EXPECT_FALSE(send(event));
  }
  bool passesPress(std::uint8_t key, std::uint32_t time) { return !send(keyEvent(XCB_KEY_PRESS, key, time)); }
  void release(std::uint8_t key, std::uint32_t time) { EXPECT_FALSE(send(keyEvent(XCB_KEY_RELEASE, key, time))); }

  template <class Event>
  bool send(Event event) {
    return keys_.nativeEventFilter("xcb_generic_event_t", &event, nullptr);
  }

 private:
  static xcb_key_press_event_t keyEvent(unsigned type, std::uint8_t key, std::uint32_t time) {
    xcb_key_press_event_t event{};
    event.response_type = static_cast<std::uint8_t>(type);
    event.detail = key;
    event.time = time;
    return event;
  }

  qt::X11HeldKeys keys_;
};

TEST_F(X11HeldKeys, PassPressesOfKeysThatWereNotHeld) {
  EXPECT_TRUE(passesPress(kReturn, 1));
  enter({});
  EXPECT_TRUE(passesPress(kReturn, 2));
  enter({kEscape});
  EXPECT_TRUE(passesPress(kReturn, 3));
}

TEST_F(X11HeldKeys, StopPressesOfKeysThatWereHeldWhenTheWindowGotTheKeyboard) {
  enter({kReturn, kEscape, kLast});
  EXPECT_FALSE(passesPress(kReturn, 1));
  EXPECT_FALSE(passesPress(kEscape, 2));
  EXPECT_FALSE(passesPress(kLast, 3));
}

TEST_F(X11HeldKeys, PassPressesOfAKeyThatHasBeenReleased) {
  enter({kReturn});
  release(kReturn, 10);
  EXPECT_TRUE(passesPress(kReturn, 11));
}

TEST_F(X11HeldKeys, AreNotReleasedByTheServersRepetitions) {
  enter({kReturn});
  for (const std::uint32_t time : {10U, 20U, 30U}) {
    release(kReturn, time);
    EXPECT_FALSE(passesPress(kReturn, time));
  }
  release(kReturn, 40);
  EXPECT_TRUE(passesPress(kReturn, 41));
}

TEST_F(X11HeldKeys, AreToldAnewWheneverAWindowGetsTheKeyboard) {
  enter({kReturn});
  enter({});  // released in a window of another program's
  EXPECT_TRUE(passesPress(kReturn, 1));
  enter({kReturn});  // still held, over an alert
  EXPECT_FALSE(passesPress(kReturn, 2));
}

TEST_F(X11HeldKeys, StopPressesThatAnotherClientHasMade) {
  enter({kReturn});
  xcb_key_press_event_t made{};
  made.response_type = XCB_KEY_PRESS | 0x80;
  made.detail = kReturn;
  EXPECT_TRUE(send(made));
}

TEST_F(X11HeldKeys, PassEverythingElse) {
  enter({kReturn});
  xcb_button_press_event_t click{};
  click.response_type = XCB_BUTTON_PRESS;
  click.detail = kReturn;
  EXPECT_FALSE(send(click));
}

}  // namespace
}  // namespace qm::testing
