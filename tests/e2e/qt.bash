# How people use the windows of Qt. Sourced by a scenario.

install_program() { cp "$program_file" $uninstaller; }

press() { xdotool key "$@"; }
# The button that has the focus is pressed by this.
press_key=Return
# Each control has a letter.
tick_preferences() { press alt+p; }
press_uninstall() { press alt+u; }
toggle_plan() { press alt+w; }
toggle_details() { press alt+d; }

# As the window manager does when somebody wants it.
ask_to_close() { press alt+F4; }

click() {
  point "$@"
  xdotool mousedown 1 mouseup 1
}
point_at_uninstall() { point 74 31; }
click_uninstall() { click 74 31; }
click_cancel() { click 184 31; }

# The box has its mark: a few pixels as dark as text.
preferences_are_ticked() {
  local dark
  dark=$(import -window "$window" -crop 16x18+24+139 +repage png:- |
    convert png:- -colorspace gray -threshold 25% -negate -format '%[fx:round(mean*w*h)]' info:)
  [ "$dark" -ge 12 ]
}

# Nothing of the toolkit's is in the way of the comparison.
forget_toolkit() { :; }
# Nor has it windows in front of others.
is_always_above() { false; }
