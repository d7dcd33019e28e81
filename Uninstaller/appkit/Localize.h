// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

/// Translates windows and menus that were loaded from the interface file. Their English texts are the keys of the
/// catalogue. Main thread only, before the window or menu is shown.
namespace qm::appkit {

/// Translates titles, texts, tool tips, column headers and the texts for screen readers. A button at the window's right
/// edge grows to the left if its title gets longer. If a text needs more lines, the window gets higher.
void localize(NSWindow* window);
/// Translates a menu with its submenus.
void localize(NSMenu* menu);

}  // namespace qm::appkit
