// SPDX-License-Identifier: MIT
#import <AppKit/AppKit.h>

#include <cmath>

/// The size of a text that is broken into lines. GNUstep's own method returns the size of a single line.
@implementation NSTextFieldCell (QMTextSize)

- (NSSize)cellSizeForBounds:(NSRect)bounds {
  const NSRect area = [self titleRectForBounds:bounds];
  const NSRect text = [[self attributedStringValue] boundingRectWithSize:area.size
                                                                 options:NSStringDrawingUsesLineFragmentOrigin];
  return NSMakeSize(std::ceil(NSWidth(text)) + NSWidth(bounds) - NSWidth(area),
                    std::ceil(NSHeight(text)) + NSHeight(bounds) - NSHeight(area));
}

@end
