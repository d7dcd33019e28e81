# SPDX-License-Identifier: MIT
# The user's actions in windows of GNUstep. A scenario sources this file.

bundle=/usr/local/lib/UninstallTessaly.app
uninstaller=$bundle/UninstallTessaly

# Puts the menu at the top of the screen, as on a Mac.
install_program() {
  cp -r "$program_file" $bundle
  mkdir -p /etc/GNUstep
  cat >/etc/GNUstep/GlobalDefaults.plist <<'SETTINGS'
{ NSMenuInterfaceStyle = NSMacintoshInterfaceStyle; GSSuppressAppIcon = YES; }
SETTINGS
}

press() { xdotool key "$@"; }
# Return presses the default button, whichever button has the focus. So the focused button is pressed with the space
# bar.
press_key=space
from_box_to_cancel=(Tab)
back_to_plan=(shift+Tab)
tick_preferences() { click_at 30 152; }
press_uninstall() { click_uninstall; }
toggle_plan() { click_at 80 213; }
toggle_details() { click_at 40 137; }

# Uses the keys of the menu. On a close request the window manager would end the program, because its windows do not
# announce that they handle one.
ask_to_close() { press alt+w alt+q; }

# GNUstep does not always take the keyboard focus when the window manager offers it. A user would then click the window.
has_keyboard() {
  [ "$(xdotool getactivewindow 2>/dev/null)" = "$window" ] || { xdotool windowfocus "$window" 2>/dev/null && false; }
}

# Checks nothing: windows of GNUstep do not tell the window manager which buttons they have.
expect_no_close_button() { :; }

# GNUstep loses a click if it handles the press after the release. So the button is held down about as long as a user
# holds it.
press_mouse() { xdotool sleep 0.2 mousedown 1 sleep 0.4 mouseup 1; }
click() {
  point "$@"
  press_mouse
}
# click_at LEFT TOP: clicks at this distance from the window's upper left corner.
click_at() {
  xdotool mousemove --window "$window" "$1" "$2"
  press_mouse
}
point_at_uninstall() { point 66 29; }
click_uninstall() { click 66 29; }
click_cancel() { click 176 29; }

# Checks nothing: on a Mac windows have no icon of their own.
has_icon() { :; }

note_window() { :; }
# Looks for the tick in the picture of the box.
preferences_are_ticked() {
  local dark
  dark=$(import -window "$window" -crop 11x11+20+146 +repage png:- |
    convert png:- -colorspace gray -threshold 25% -negate -format '%[fx:round(mean*w*h)]' info:)
  [ "$dark" -ge 8 ]
}

# Removes GNUstep's own sockets and settings.
forget_toolkit() { rm -rf /tmp/GNUstepSecure* /home/*/GNUstep /root/GNUstep; }
# The menu is a window of its own, which is always above.
is_always_above() { xprop -id "$1" WM_NAME | grep -q '"UninstallTessaly"'; }

# ---- what only the front end of macOS has

quitting_cancels() { cancelled_by press alt+q; }

quitting_while_it_works_does_nothing() {
  install "$person" && start_product && hold_killall && start_display && start_program
  local main=$window
  press Return
  wait_for_progress_window "$main"
  press alt+q
  holds_for 400 find_progress_window
  let_killall_go
  wait_for_window 'Uninstall complete'
  press alt+q
  expect_end
  no_process_named Tessaly || fail 'the product still runs'
  moved "${items[@]}" && removed /Applications/Quillmark
  expect_disk "${options[@]}"
}
