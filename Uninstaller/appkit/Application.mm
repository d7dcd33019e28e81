// SPDX-License-Identifier: MIT
#include "Uninstaller/Application.h"

#import <AppKit/AppKit.h>

#include <cstdlib>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/SystemCalls.h"

using qm::appkit::frontEnd;
using qm::appkit::KeyPress;

namespace {

bool walksFromControlToControl(NSEvent* event) {
  NSString* const characters = [event charactersIgnoringModifiers];
  if ([characters length] == 0) return false;
  switch ([characters characterAtIndex:0]) {
    case NSTabCharacter:
    case NSBackTabCharacter:
    case NSUpArrowFunctionKey:
    case NSDownArrowFunctionKey:
    case NSLeftArrowFunctionKey:
    case NSRightArrowFunctionKey:
      return true;
    default:
      return false;
  }
}

bool isToBeHandled(NSEvent* event) {
  if ([event type] != NSEventTypeKeyDown && [event type] != NSEventTypeKeyUp) return true;
  const KeyPress key{.key = [event keyCode],
                     .time = [event timestamp],
                     .isRepeat = qm::appkit::isRepeat(event),
                     .walks = walksFromControlToControl(event)};
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
