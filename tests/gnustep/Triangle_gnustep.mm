// SPDX-License-Identifier: MIT
#import <AppKit/AppKit.h>
#include <objc/runtime.h>

namespace {

constexpr CGFloat kTriangle = 9;

/// The triangle points down if it is open and to the right if it is closed, as on a Mac.
NSBezierPath* triangleIn(NSRect frame, bool isOpen, bool isFlipped) {
  const CGFloat half = kTriangle / 2;
  const NSPoint middle = NSMakePoint(NSMidX(frame), NSMidY(frame));
  const CGFloat down = isFlipped ? half : -half;
  NSBezierPath* const path = [NSBezierPath bezierPath];
  [path moveToPoint:NSMakePoint(middle.x - half, middle.y - down)];
  [path lineToPoint:isOpen ? NSMakePoint(middle.x + half, middle.y - down) : NSMakePoint(middle.x + half, middle.y)];
  [path lineToPoint:isOpen ? NSMakePoint(middle.x, middle.y + down) : NSMakePoint(middle.x - half, middle.y + down)];
  [path closePath];
  return path;
}

}  // namespace

/// Draws the triangle of a disclosure button. GNUstep has such buttons but does not draw the triangle, so pictures
/// would show the caption only.
@interface NSButtonCell (QMTriangle)
- (void)drawTriangleOrBezelWithFrame:(NSRect)frame inView:(NSView*)view;
@end

@implementation NSButtonCell (QMTriangle)

+ (void)load {
  method_exchangeImplementations(class_getInstanceMethod(self, @selector(drawBezelWithFrame:inView:)),
                                 class_getInstanceMethod(self, @selector(drawTriangleOrBezelWithFrame:inView:)));
}

/// The two methods are exchanged when the program starts, so under this name GNUstep's own method is called.
- (void)drawTriangleOrBezelWithFrame:(NSRect)frame inView:(NSView*)view {
  if ([self bezelStyle] != NSBezelStyleDisclosure) {
    [self drawTriangleOrBezelWithFrame:frame inView:view];
    return;
  }
  [[NSColor controlTextColor] set];
  [triangleIn(frame, [self state] == NSControlStateValueOn, [view isFlipped]) fill];
}

@end
