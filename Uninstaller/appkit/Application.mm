// SPDX-License-Identifier: MIT
#include "Uninstaller/Application.h"

#import <AppKit/AppKit.h>

#include <cstdlib>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/SystemCalls.h"

using qm::appkit::frontEnd;
using qm::appkit::KeyPress;

namespace {

static_assert(qm::appkit::kTab == NSTabCharacter && qm::appkit::kBackTab == NSBackTabCharacter);
static_assert(qm::appkit::kUpArrow == NSUpArrowFunctionKey && qm::appkit::kDownArrow == NSDownArrowFunctionKey);
static_assert(qm::appkit::kLeftArrow == NSLeftArrowFunctionKey && qm::appkit::kRightArrow == NSRightArrowFunctionKey);

/// 0 if the key has no character.
char16_t firstCharacter(NSEvent* event) {
  NSString* const characters = [event charactersIgnoringModifiers];
  return [characters length] > 0 ? [characters characterAtIndex:0] : u'\0';
}

bool isToBeHandled(NSEvent* event) {
  if ([event type] != NSEventTypeKeyDown && [event type] != NSEventTypeKeyUp) return true;
  const KeyPress key{.key = [event keyCode],
                     .time = [event timestamp],
                     .isRepeat = qm::appkit::isRepeat(event),
                     .walks = qm::appkit::walksFromControlToControl(firstCharacter(event))};
  if ([event type] == NSEventTypeKeyDown) return frontEnd().freshKeys.takes(key);
  frontEnd().freshKeys.release(key.key, key.time);
  return true;
}

}  // namespace

/// The application object. Only fresh key presses reach its windows, and it cannot be quit while a removal runs.
@interface QMApplication : NSApplication
@end

@implementation QMApplication

- (void)finishLaunching {
  [[NSNotificationCenter defaultCenter] addObserver:self
                                           selector:@selector(windowGotKeyboard:)
                                               name:NSWindowDidBecomeKeyNotification
                                             object:nil];
  [super finishLaunching];
}

- (void)windowGotKeyboard:(NSNotification*)notification {
  frontEnd().freshKeys.hold(qm::appkit::heldKeys());
}

- (void)sendEvent:(NSEvent*)event {
  if (isToBeHandled(event)) [super sendEvent:event];
}

- (BOOL)validateMenuItem:(NSMenuItem*)item {
  if ([item action] == @selector(terminate:)) return frontEnd().mayQuit() ? YES : NO;
  return ![NSApplication instancesRespondToSelector:_cmd] || [super validateMenuItem:item];
}

@end

/// Does not return once the application runs, because ending the application ends the process.
int qm::uninstaller::applicationMain(int argc, char** argv, const platform::ProductIdentity& product,
                                     const MakeInterfaceOwner& makeOwner) {
  auto& front = frontEnd();
  front.product = product;
  front.makeOwner = makeOwner;
  if (const auto code = appkit::leaveToTheOtherInstance()) return *code;
  return NSApplicationMain(argc, const_cast<const char**>(argv));
}
