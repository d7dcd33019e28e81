# SPDX-License-Identifier: MIT
# The user's actions in windows of Qt. Sourced by a scenario.

install_program() {
  cp "$program_file" $uninstaller
  install_catalogues
}

press() { xdotool key "$@"; }
# The key that presses the focused button.
press_key=Return
# Tab follows the order on the screen. It also reaches the box that is always ticked.
from_box_to_cancel=(Tab Tab Tab)
back_to_plan=(shift+Tab shift+Tab)
# Each control has a letter.
tick_preferences() { press "alt+$(letter 'Also move my Tessaly &preferences to the Trash')"; }
press_uninstall() { press "alt+$(letter '&Uninstall')"; }
toggle_plan() { press "alt+$(letter '&What will be moved')"; }
toggle_details() { press "alt+$(letter '&Details')"; }

# Presses the keys on which the window manager asks a window to close.
ask_to_close() { press alt+F4; }

click() {
  point "$@"
  xdotool mousedown 1 mouseup 1
}
point_at_uninstall() { point 74 31; }
click_uninstall() { click 74 31; }
click_cancel() { click 184 31; }

# Only the height of the part above the box depends on the language, so the box is found from below.
note_window() { box_top=$(($(window_height) - 149)); }
preferences_are_ticked() { has_text_at "16x18+24+$box_top"; }
# "What will be moved" has its first line.
plan_is_filled() { has_text_at "200x10+30+$((box_top + 120))"; }

has_icon() { xprop -id "$window" _NET_WM_ICON 2>/dev/null | grep -q 'Icon (128 x 128)'; }

# desktop_colors WINDOW TEXT BUTTON FIELD SELECTION: chooses a desktop whose settings Qt reads, and writes them.
desktop_colors() {
  desktop+=(XDG_CURRENT_DESKTOP=KDE KDE_FULL_SESSION=true KDE_SESSION_VERSION=5)
  as_owner mkdir /home/sam/.config
  as_owner tee /home/sam/.config/kdeglobals >/dev/null <<SETTINGS
[Colors:Button]
BackgroundNormal=$3
ForegroundNormal=$2
[Colors:Selection]
BackgroundNormal=$5
ForegroundNormal=$1
[Colors:View]
BackgroundNormal=$4
ForegroundNormal=$2
[Colors:Window]
BackgroundNormal=$1
ForegroundNormal=$2
[KDE]
widgetStyle=Fusion
SETTINGS
}

scale_by() { desktop+=("QT_SCALE_FACTOR=$1"); }
small_screen_scale=2.5

no_display_message='no window can be opened'

# Qt leaves no files that the comparison of the disks would find.
forget_toolkit() { :; }
# Qt has no window of its own above the others.
is_always_above() { false; }
