// SPDX-License-Identifier: MIT
#import <AppKit/AppKit.h>

#include <cstdlib>

#include "Uninstaller/appkit/SystemCalls.h"
#include "Uninstaller/appkit/Text.h"

namespace {

constexpr const char* kVariable = "QM_WINDOW_TEXTS";
constexpr NSTimeInterval kBetweenLooks = 0.1;
constexpr CGFloat kUnlimited = 100000;
NSString* const kUnmeasured = @"-";

NSString* fitting(bool fits) { return fits ? @"fits" : @"cut"; }

/// Whether the text is no larger than the area if it is broken into lines of the area's width.
bool fits(NSAttributedString* text, NSSize area) {
  const NSRect needed = [text boundingRectWithSize:NSMakeSize(area.width, kUnlimited)
                                           options:NSStringDrawingUsesLineFragmentOrigin];
  return NSWidth(needed) <= area.width + 1 && NSHeight(needed) <= area.height + 1;
}

/// A text of several lines is written as that many texts.
void add(NSMutableString* texts, NSString* kind, NSString* fitting, NSString* text) {
  NSEnumerator* const lines = [[text componentsSeparatedByString:@"\n"] objectEnumerator];
  while (NSString* const line = [lines nextObject]) {
    if ([line length] > 0) [texts appendFormat:@"%@\t%@\t%@\n", kind, fitting, line];
  }
}

void addMenu(NSMutableString* texts, NSMenu* menu) {
  NSEnumerator* const items = [[menu itemArray] objectEnumerator];
  while (NSMenuItem* const item = [items nextObject]) {
    add(texts, @"menu", kUnmeasured, [item title]);
    if ([item hasSubmenu]) addMenu(texts, [item submenu]);
  }
}

void addColumns(NSMutableString* texts, NSTableView* list) {
  NSEnumerator* const columns = [[list tableColumns] objectEnumerator];
  while (NSTableColumn* const column = [columns nextObject]) {
    add(texts, @"column", kUnmeasured, [[column headerCell] stringValue]);
  }
}

void addButton(NSMutableString* texts, NSButton* button) {
  if ([button imagePosition] == NSImageOnly) return;  // its title is not shown
  const bool isWideEnough = [[button cell] cellSize].width <= NSWidth([button frame]) + 1;
  add(texts, @"button", fitting(isWideEnough), [button title]);
}

void addControl(NSMutableString* texts, NSView* view) {
  const id control = view;
  if ([control isKindOfClass:[NSButton class]]) {
    addButton(texts, control);
  } else if ([control isKindOfClass:[NSTextField class]]) {
    const NSSize area = [[control cell] titleRectForBounds:[view bounds]].size;
    NSAttributedString* const text = [control attributedStringValue];
    add(texts, @"text", fitting(fits(text, area)), [text string]);
  } else if ([control isKindOfClass:[NSTextView class]]) {
    add(texts, @"text", kUnmeasured, [control string]);
  } else if ([control isKindOfClass:[NSTableView class]]) {
    addColumns(texts, control);
  }
}

void addView(NSMutableString* texts, NSView* view) {
  if ([view isHidden]) return;
  addControl(texts, view);
  add(texts, @"tool tip", kUnmeasured, [view toolTip]);
  const auto [label, help] = qm::appkit::descriptionOf(view);
  if (label) add(texts, @"name", kUnmeasured, qm::appkit::textOf(*label));
  if (help) add(texts, @"help", kUnmeasured, qm::appkit::textOf(*help));
  NSEnumerator* const views = [[view subviews] objectEnumerator];
  while (NSView* const inner = [views nextObject]) addView(texts, inner);
}

void write(NSWindow* window) {
  NSMutableString* const texts = [NSMutableString string];
  add(texts, @"title", kUnmeasured, [window title]);
  addMenu(texts, [NSApp mainMenu]);
  addView(texts, [window contentView]);
  NSString* const folder = [NSString stringWithUTF8String:std::getenv(kVariable)];
  // GNUstep's `windowRef` is the X server's number of the window.
  NSString* const name = [NSString stringWithFormat:@"%lu", reinterpret_cast<unsigned long>([window windowRef])];
  [texts writeToFile:[folder stringByAppendingPathComponent:name]
          atomically:YES
            encoding:NSUTF8StringEncoding
               error:nullptr];
}

}  // namespace

/// Writes the texts of each window that is shown into the folder that the environment variable QM_WINDOW_TEXTS names,
/// so that scenarios can read them. A window's file is named by the X server's number of the window. Each line has the
/// kind of a text, whether the text fits its control ("fits" or "cut"; "-" if that is not measured), and the text.
@interface QMWindowTexts : NSObject
+ (void)start:(NSNotification*)notification;
+ (void)write:(NSTimer*)timer;
@end

@implementation QMWindowTexts

+ (void)load {
  if (std::getenv(kVariable) == nullptr) return;
  NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
  [[NSNotificationCenter defaultCenter] addObserver:self
                                           selector:@selector(start:)
                                               name:NSApplicationDidFinishLaunchingNotification
                                             object:nil];
  [pool drain];
}

+ (void)start:(NSNotification*)notification {
  NSTimer* const timer = [NSTimer timerWithTimeInterval:kBetweenLooks
                                                 target:self
                                               selector:@selector(write:)
                                               userInfo:nil
                                                repeats:YES];
  [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSDefaultRunLoopMode];
  [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
}

+ (void)write:(NSTimer*)timer {
  NSEnumerator* const windows = [[NSApp windows] objectEnumerator];
  while (NSWindow* const window = [windows nextObject]) {
    if ([window isVisible] && [[window title] length] > 0) write(window);
  }
}

@end
