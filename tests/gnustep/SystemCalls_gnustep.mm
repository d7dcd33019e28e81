#include "Uninstaller/appkit/SystemCalls.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "Platform/Platform.h"
#include "Platform/Users.h"
#include "Platform/linux/rights/RightsForPaths.h"

namespace qm::appkit {

namespace {

constexpr CGFloat kAccessoryMargin = 12;
constexpr std::size_t kKeysInAByte = 8;

/// GNUstep has its keys from an X server; this asks the same one.
xcb_connection_t* server() {
  static auto* const shared = xcb_connect(nullptr, nullptr);
  return shared;
}

/// The server counts the milliseconds of this clock in 32 bits.
double serverTime() {
  using namespace std::chrono;
  const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
  return static_cast<double>(static_cast<std::uint32_t>(now.count())) / 1000;
}

NSPanel* alert = nil;

/// The button stays at the bottom and the texts at the top.
void growAlert(CGFloat height) {
  NSRect frame = [alert frame];
  frame.origin.y -= height;
  frame.size.height += height;
  [alert setFrame:frame display:YES];
}

CGFloat topOfButtons() {
  CGFloat top = 0;
  NSEnumerator* const views = [[[alert contentView] subviews] objectEnumerator];
  while (NSView* const view = [views nextObject]) {
    if ([view isKindOfClass:[NSButton class]] && ![view isHidden]) top = std::max(top, NSMaxY([view frame]));
  }
  return top;
}

void insertAccessory(NSView* accessory) {
  const CGFloat y = topOfButtons() + kAccessoryMargin;
  growAlert([accessory frame].size.height + kAccessoryMargin);
  [accessory setFrameOrigin:NSMakePoint(kAccessoryMargin, y)];
  [[alert contentView] addSubview:accessory];
}

}  // namespace

HeldKeys heldKeys() {
  HeldKeys held{.keys = {}, .time = serverTime()};
  const std::unique_ptr<xcb_query_keymap_reply_t, decltype(&std::free)> told(
      xcb_query_keymap_reply(server(), xcb_query_keymap(server()), nullptr), std::free);
  for (std::size_t key = 0; told && key < kKeyCodes; ++key) {
    held.keys[key] = (told->keys[key / kKeysInAByte] >> (key % kKeysInAByte) & 1U) != 0;
  }
  return held;
}

void runAlert(NSString* title, NSString* message, NSAlertStyle /*style*/, NSView* accessory) {
  alert = NSGetAlertPanel(title, @"%@", @"OK", nil, nil, message);
  [alert setTitle:title];
  if (accessory != nil) insertAccessory(accessory);
  [alert center];
  [NSApp runModalForWindow:alert];
  [alert orderOut:nil];
  NSReleaseAlertPanel(alert);
}

void fitAlert(NSView* accessory) {
  const CGFloat below = [accessory frame].origin.y;
  const CGFloat height = NSHeight([accessory frame]);
  static CGFloat before = 0;
  growAlert(height - before);
  before = height;
  [accessory setFrameOrigin:NSMakePoint(kAccessoryMargin, below)];
}

/// Nobody listens.
void describe(NSView* /*control*/, NSString* /*label*/, NSString* /*help*/) {}

void measureAsAllowed(PlannedItem& item) {
  const linux_::RightsForPaths rights(*platform::platform().users, {*item.path});
  if (rights.ok()) measure(item);
}

}  // namespace qm::appkit
