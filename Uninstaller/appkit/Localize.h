// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

/// Shows what the interface file made in the user's language: its English texts are the keys of the catalogue. Main
/// thread, before it is shown.
namespace qm::appkit {

/// Titles, texts, tool tips, columns and what people hear who do not see the window. Buttons at its right edge grow to
/// the left with their titles.
void localize(NSWindow* window);
/// A menu with all below it.
void localize(NSMenu* menu);

}  // namespace qm::appkit
