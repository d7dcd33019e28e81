# SPDX-License-Identifier: MIT
# The user's actions in windows of GNUstep. A scenario sources this file.

bundle=/usr/local/lib/UninstallTessaly.app
uninstaller=$bundle/UninstallTessaly

catalogues=/usr/local/lib/share/locale

install_program() {
  cp -r "$program_file" $bundle
  install_catalogues
  mkdir -p /etc/GNUstep
  write_settings
}

# The settings of GNUstep, by name. The menu is at the top of the screen, as on a Mac.
declare -A settings=([NSMenuInterfaceStyle]=NSMacintoshInterfaceStyle [GSSuppressAppIcon]=YES)
# GNUstep takes no letters from other fonts.
if [ "${LANGUAGE-}" = ja ]; then settings+=([NSFont]=VL-Gothic-Regular [NSBoldFont]=VL-Gothic-Regular); fi
write_settings() {
  local name
  for name in "${!settings[@]}"; do printf '%s = "%s";\n' "$name" "${settings[$name]}"; done |
    { echo '{' && cat && echo '}'; } >/etc/GNUstep/GlobalDefaults.plist
}

scale_by() {
  settings[GSScaleFactor]=$1
  write_settings
}
# A Mac's screen has at least 1024 x 640 points at every scale, so a smaller one is not scaled here.
small_screen_scale=1

# desktop_colors WINDOW TEXT BUTTON FIELD SELECTION
desktop_colors() {
  local name
  for name in windowBackground scrollBar; do settings[${name}Color]=$(color "$1"); done
  for name in controlText text headerText keyboardFocusIndicator menuItemText; do settings[${name}Color]=$(color "$2"); done
  for name in control header menu controlHighlight controlLightHighlight controlShadow knob; do
    settings[${name}Color]=$(color "$3")
  done
  for name in controlBackground textBackground rowBackground alternateRowBackground; do
    settings[${name}Color]=$(color "$4")
  done
  for name in selectedControl selectedTextBackground selectedMenuItem; do settings[${name}Color]=$(color "$5"); done
  settings[disabledControlTextColor]='0.65 0.65 0.65' # readable on dark colours
  for name in selectedControlText selectedText selectedMenuItemText; do settings[${name}Color]=$(color "$1"); done
  write_settings
}
# color R,G,B: with numbers up to 255, as GNUstep has it, with numbers up to 1.
color() { awk -F, '{ printf "%.3f %.3f %.3f", $1 / 255, $2 / 255, $3 / 255 }' <<<"$1"; }

no_display_message='nable to connect to X Server'

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

# GNUstep gives each window the application's icon, which it loads from the bundle's file. The icon of this application
# has a yellow, a red and a green part.
has_icon() {
  xprop -id "$window" -notype -f _NET_WM_ICON 32c '=$0+' _NET_WM_ICON 2>/dev/null | python3 -c '
import re, sys
pixels = [int(each) for each in re.findall(r"\d+", sys.stdin.read())][2:]
def is_near(pixel, color): return all(abs((pixel >> shift & 255) - (color >> shift & 255)) < 24 for shift in (0, 8, 16))
sys.exit(not all(any(is_near(pixel, color) for pixel in pixels) for color in (0xf2b632, 0xe2664a, 0x35a58e)))'
}

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

# ---- texts

# The program writes the texts of its windows into this folder (WindowTexts_gnustep.mm).
texts=$work/texts
shows() { cut -f 3- "$texts/$window" 2>/dev/null | grep -qxF -e "$(text "$1")"; }

# expect_texts ENGLISH...: the window shows them in the user's language. It shows no other text that is not translated,
# and none that is cut off.
expect_texts() {
  local each
  for each; do wait_until 5 shows "$each"; done
  ! grep -P '^[^\t]*\tcut\t' "$texts/$window" || fail 'a text is cut off'
  while read -r each; do
    [ "$(text "$each")" = "$each" ] || fail "this is not translated: $each"
  done < <(cut -f 3- "$texts/$window")
}

# The main window, with the list and without, the progress window, and the alert, with the details and without.
every_text_is_translated_and_fits() {
  suffix=-${LANGUAGE:-en}
  install sam && hold_killall && mkdir -m 0777 $texts
  chown root:root /Applications
  start_display && start_program QM_WINDOW_TEXTS=$texts
  local main=$window
  expect_texts 'Uninstall Tessaly' 'Remove Tessaly from this computer?' \
    'Tessaly, its caches and its launch agents will be moved to your Trash. If Tessaly is running, it is stopped first, and what is not saved in it is lost.' \
    'You can put everything back from the Trash; items of the system take an administrator.' \
    'Also move my Tessaly preferences to the Trash' 'Your settings in Library/Preferences, and those of this computer' \
    'The Quillmark folder in Applications is removed if nothing is left in it' 'What will be moved' 'Cancel' 'Uninstall' \
    'About Uninstall Tessaly' 'Hide Uninstall Tessaly' 'Quit Uninstall Tessaly' 'Edit' 'Copy' 'Window' 'Minimize'
  picture main-window
  press "${back_to_plan[@]}" space
  expect_texts 'Item' 'Size'
  picture main-window-plan
  press Return
  wait_for_progress_window "$main"
  expect_texts 'Uninstall Tessaly' 'Moving Tessaly to the Trash…'
  picture progress-window
  let_killall_go
  look_at_details
  expect_texts 'Uninstall complete' 'Items have been placed in your Trash.' 'Details' \
    'Shows what stayed where it was, and why.'
  finish_run
  local item
  for item in "${items[@]}"; do
    [ "$item" = /Applications/Tessaly.app ] || moved "$item"
  done
  expect_disk "${options[@]}"
}

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
