// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

namespace qm::appkit {

/// What an alert shows below its message when there are details: "Details" with a triangle, which shows and hides the
/// text. Closed at first.
NSView* makeDetails(NSString* text);

}  // namespace qm::appkit
