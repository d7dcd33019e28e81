// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

namespace qm::appkit {

/// The part of an alert that shows details below the message: the word "Details" with a triangle, which shows and hides
/// the text. The text is hidden at first.
NSView* makeDetails(NSString* text);

}  // namespace qm::appkit
