# SPDX-License-Identifier: MIT
# How people use the windows of Qt. Sourced by a scenario.

install_program() {
  cp "$program_file" $uninstaller
  local built
  built=$(dirname "$program_file")/../share/locale
  if [ -d "$built" ]; then mkdir -p $catalogues && cp -r "$built/." $catalogues; fi
}

press() { xdotool key "$@"; }
# The button that has the focus is pressed by this.
press_key=Return
# The order of Tab is that of the screen. The box that stays ticked is in it.
from_box_to_cancel=(Tab Tab Tab)
back_to_plan=(shift+Tab shift+Tab)
# Each control has a letter.
tick_preferences() { press "alt+$(letter 'Also move my Tessaly &preferences to the Trash')"; }
press_uninstall() { press "alt+$(letter '&Uninstall')"; }
toggle_plan() { press "alt+$(letter '&What will be moved')"; }
toggle_details() { press "alt+$(letter '&Details')"; }

# As the window manager does when somebody wants it.
ask_to_close() { press alt+F4; }

# What the window manager is told: a set of functions (the first bit), with closing among them.
can_be_closed() {
  local flags functions
  IFS=' ,' read -r flags functions _ < <(xprop -id "$window" -notype _MOTIF_WM_HINTS | sed 's/.*= //')
  [ $((flags & 1)) = 0 ] || [ $((functions & 33)) != 0 ]
}
expect_no_close_button() { ! can_be_closed || fail 'the window manager is told that the window can be closed'; }

click() {
  point "$@"
  xdotool mousedown 1 mouseup 1
}
point_at_uninstall() { point 74 31; }
click_uninstall() { click 74 31; }
click_cancel() { click 184 31; }

# What is above the box is higher in some languages, and what is below it is not.
note_window() { box_top=$(($(window_height) - 149)); }
preferences_are_ticked() { has_text_at "16x18+24+$box_top"; }
# "What will be moved" has its first line.
plan_is_filled() { has_text_at "200x10+30+$((box_top + 120))"; }

# Nothing of the toolkit's is in the way of the comparison.
forget_toolkit() { :; }
# Nor has it windows in front of others.
is_always_above() { false; }
