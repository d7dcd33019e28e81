# SPDX-License-Identifier: MIT
# How people use the windows of GNUstep. Sourced by a scenario.

bundle=/usr/local/lib/UninstallTessaly.app
uninstaller=$bundle/UninstallTessaly

# The menus are where a Mac has them.
install_program() {
  cp -r "$program_file" $bundle
  mkdir -p /etc/GNUstep
  cat >/etc/GNUstep/GlobalDefaults.plist <<'SETTINGS'
{ NSMenuInterfaceStyle = NSMacintoshInterfaceStyle; GSSuppressAppIcon = YES; }
SETTINGS
}

press() { xdotool key "$@"; }
# Return is the default button's, whichever has the focus.
press_key=space
from_box_to_cancel=(Tab)
back_to_plan=(shift+Tab)
tick_preferences() { click_at 30 152; }
press_uninstall() { click_uninstall; }
toggle_plan() { click_at 80 213; }
toggle_details() { click_at 40 137; }

# By the menu's keys. The window manager would end a program whose window does not say how it is closed.
ask_to_close() { press alt+w alt+q; }

# GNUstep does not always take the keyboard when the window manager offers it. A user would point at the window.
has_keyboard() {
  [ "$(xdotool getactivewindow 2>/dev/null)" = "$window" ] || { xdotool windowfocus "$window" 2>/dev/null && false; }
}

# Its windows do not tell the window manager which buttons they have.
expect_no_close_button() { :; }

# GNUstep loses a click whose press it handles after the release: the button is held as long as people hold it at least.
press_mouse() { xdotool sleep 0.2 mousedown 1 sleep 0.4 mouseup 1; }
click() {
  point "$@"
  press_mouse
}
# click_at LEFT TOP: at the place so far from the window's upper left corner.
click_at() {
  xdotool mousemove --window "$window" "$1" "$2"
  press_mouse
}
point_at_uninstall() { point 66 29; }
click_uninstall() { click 66 29; }
click_cancel() { click 176 29; }

# A Mac's windows have no icon of their own.
has_icon() { :; }

note_window() { :; }
# The box has its mark.
preferences_are_ticked() {
  local dark
  dark=$(import -window "$window" -crop 11x11+20+146 +repage png:- |
    convert png:- -colorspace gray -threshold 25% -negate -format '%[fx:round(mean*w*h)]' info:)
  [ "$dark" -ge 8 ]
}

# Sockets and settings of its own.
forget_toolkit() { rm -rf /tmp/GNUstepSecure* /home/*/GNUstep /root/GNUstep; }
# The menus, as a window of their own.
is_always_above() { xprop -id "$1" WM_NAME | grep -q '"UninstallTessaly"'; }

# ---- what a Mac has more

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
