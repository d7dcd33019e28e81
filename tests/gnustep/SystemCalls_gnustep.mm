// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/SystemCalls.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>

#include "Uninstaller/Language.h"
#include "Uninstaller/appkit/Text.h"

namespace qm::appkit {

namespace {

constexpr CGFloat kAccessoryMargin = 12;
constexpr std::size_t kKeysInAByte = 8;

/// A connection to the X server from which GNUstep gets its key events.
xcb_connection_t* server() {
  static auto* const shared = xcb_connect(nullptr, nullptr);
  return shared;
}

/// The X server's time, in seconds. The server counts the milliseconds of this clock in 32 bits.
double serverTime() {
  using namespace std::chrono;
  const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
  return static_cast<double>(static_cast<std::uint32_t>(now.count())) / 1000;
}

Keys keysOfServer() {
  Keys keys;
  const std::unique_ptr<xcb_query_keymap_reply_t, decltype(&std::free)> reply(
      xcb_query_keymap_reply(server(), xcb_query_keymap(server()), nullptr), std::free);
  for (std::size_t key = 0; reply && key < kKeyCodes; ++key) {
    keys[key] = (reply->keys[key / kKeysInAByte] >> (key % kKeysInAByte) & 1U) != 0;
  }
  return keys;
}

/// The keys that are down. GNUstep does not report whether a press is a repetition. For a repetition the X server sends
/// a release and a press with the same time, and GNUstep drops the release if it sees both. So a press is a repetition
/// if the key is already down, or was released at the same time. At first these are the keys that are down when the
/// first window appears.
struct KeysDown {
  Keys keys = keysOfServer();
  std::size_t releasedKey = kKeyCodes;
  double releaseTime = 0;

  bool press(std::size_t key, double time) {
    const bool wasDown = keys[key] || (key == releasedKey && time == releaseTime);
    keys.set(key);
    return wasDown;
  }
  void release(std::size_t key, double time) {
    keys.reset(key);
    releasedKey = key;
    releaseTime = time;
  }
};

KeysDown& keysDown() {
  static auto* const shared = new KeysDown;
  return *shared;
}

std::map<NSView*, Description>& descriptions() {
  static auto* const shared = new std::map<NSView*, Description>;
  return *shared;
}

NSPanel* alert = nil;
NSSize accessorySize = NSZeroSize;

/// On a Mac the system has this text in the user's language.
NSString* alertButtonTitle() { return textOf(uninstaller::translated("OK")); }

NSView* alertButton() {
  NSEnumerator* const views = [[[alert contentView] subviews] objectEnumerator];
  while (NSView* const view = [views nextObject]) {
    if ([view isKindOfClass:[NSButton class]] && [[static_cast<NSButton*>(view) title] isEqual:alertButtonTitle()])
      return view;
  }
  return nil;
}

void shift(NSView* view, CGFloat right, CGFloat up) {
  const NSPoint place = [view frame].origin;
  [view setFrameOrigin:NSMakePoint(place.x + right, place.y + up)];
}

/// The button stays in its corner and the accessory above it. All other controls stay at the top.
void growAlert(CGFloat width, CGFloat height, NSView* accessory) {
  NSEnumerator* const views = [[[alert contentView] subviews] objectEnumerator];
  while (NSView* const view = [views nextObject]) {
    if (view == alertButton()) {
      shift(view, width, 0);
    } else if (view != accessory) {
      shift(view, 0, height);
    }
  }
  NSRect frame = NSInsetRect([alert frame], -width / 2, 0);
  frame.origin.y -= height;
  frame.size.height += height;
  [alert setMinSize:frame.size];
  [alert setMaxSize:frame.size];
  [alert setFrame:frame display:YES];
}

void insertAccessory(NSView* accessory) {
  [[alert contentView] setAutoresizesSubviews:NO];
  accessorySize = [accessory frame].size;
  const CGFloat wanted = accessorySize.width + 2 * kAccessoryMargin;
  growAlert(wanted - NSWidth([[alert contentView] frame]), accessorySize.height + kAccessoryMargin, accessory);
  [accessory setFrameOrigin:NSMakePoint(kAccessoryMargin, NSMaxY([alertButton() frame]) + kAccessoryMargin)];
  [[alert contentView] addSubview:accessory];
}

}  // namespace

HeldKeys heldKeys() {
  const Keys keys = keysOfServer();
  keysDown().keys &= keys;  // keys may have been released while another program had the keyboard
  return {.keys = keys, .time = serverTime()};
}

bool isRepeat(NSEvent* event) {
  const std::size_t key = [event keyCode];
  if (key >= kKeyCodes) return false;
  if ([event type] == NSEventTypeKeyDown) return keysDown().press(key, [event timestamp]);
  keysDown().release(key, [event timestamp]);
  return false;
}

void runAlert(NSString* title, NSString* message, NSAlertStyle /*style*/, NSView* accessory) {
  alert = NSGetAlertPanel(title, @"%@", alertButtonTitle(), nil, nil, message);
  [alert setTitle:title];
  if (accessory != nil) insertAccessory(accessory);
  [alert center];
  [NSApp runModalForWindow:alert];
  [alert orderOut:nil];
  NSReleaseAlertPanel(alert);
}

void fitAlert(NSView* accessory) {
  const NSSize size = [accessory frame].size;
  growAlert(size.width - accessorySize.width, size.height - accessorySize.height, accessory);
  accessorySize = size;
}

/// Only keeps the texts for the tests, because no screen reader reads windows of GNUstep.
void describe(NSView* control, const Description& description) { descriptions()[control] = description; }

/// GNUstep ignores the descriptions in the interface file.
Description descriptionOf(NSView* control) {
  const auto found = descriptions().find(control);
  return found == descriptions().end() ? Description{} : found->second;
}

}  // namespace qm::appkit
