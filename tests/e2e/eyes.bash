# SPDX-License-Identifier: MIT
# Scenarios on other desktops, and for users with contrast themes, screen readers or right-to-left languages. Sourced
# after machine.bash.

# ---- on other desktops

# uninstall_on_this_desktop: a whole run, with one picture of each window.
uninstall_on_this_desktop() {
  start_program "${desktop[@]}"
  picture main-window
  main_window_size=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: //p')
  main_window_light=$(brightness)
  local main=$window
  press Return
  wait_for_progress_window "$main"
  picture progress-window
  let_killall_go
  finish_run
  moved "${items[@]}" && removed /Applications/Quillmark
  expect_disk "${options[@]}"
}

# The average brightness of the window, in percent.
brightness() {
  wait_until 10 is_drawn
  import -window "$window" png:- | convert png:- -colorspace gray -format '%[fx:round(mean*100)]' info:
}

the_windows_are_dark_on_a_dark_desktop() {
  suffix=-dark
  install sam && hold_killall && start_display
  desktop_colors 42,46,50 252,252,252 49,54,59 27,30,32 61,174,233
  uninstall_on_this_desktop
  [ "$main_window_light" -lt 40 ] || fail "the main window is $main_window_light % bright"
}

the_windows_grow_with_the_scale() {
  suffix=-200
  install sam && hold_killall && start_display
  scale_by 2
  uninstall_on_this_desktop
  local large=$main_window_size width=${main_window_size%x*}
  [ "$main_window_light" -gt 60 ] || fail "the main window is $main_window_light % bright"
  scale_by 1
  start_program "${desktop[@]}"
  main_window_size=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: //p')
  press Escape
  expect_end
  [ "$width" = $((2 * ${main_window_size%x*})) ] || fail "the main window is $main_window_size, and at 200 % $large"
}

the_windows_are_white_on_black_in_high_contrast() {
  suffix=-contrast
  install sam && start_display
  desktop_colors 0,0,0 255,255,255 0,0,0 0,0,0 255,255,0
  start_program "${desktop[@]}"
  press Tab
  picture main-window
  main_window_light=$(brightness)
  [ "$main_window_light" -lt 20 ] || fail "the main window is $main_window_light % bright"
  press Escape
  expect_end
}

# With a right-to-left language Uninstall is on the left.
the_window_is_mirrored_where_people_read_from_the_right() {
  suffix=-mirrored
  toolkit_options=(-reverse)
  install sam && start_product && start_display && start_program
  picture main-window
  local width closed
  width=$(xdotool getwindowgeometry --shell "$window" | sed -n 's/^WIDTH=//p')
  closed=$(window_height)
  press alt+w
  wait_until 5 is_taller_than "$closed"
  picture main-window-plan
  click $((width - 74)) 31
  finish_run
  no_process_named Tessaly || fail 'the product still runs'
  moved "${items[@]}" && removed /Applications/Quillmark
  expect_disk "${options[@]}"
}

# The window with its frame is inside the screen.
is_on_screen() {
  local left top width height
  read -r left top width height < <(xwininfo -id "$window" -frame |
    sed -nE 's/^ *(Absolute upper-left [XY]|Width|Height): *//p' | xargs)
  [ "$left" -ge 0 ] && [ "$top" -ge 0 ] && [ $((left + width)) -le 1024 ] && [ $((top + height)) -le 600 ]
}

# On the smallest usual screen, with the largest display scale for it, all controls can be reached, also in the longest
# alert.
the_windows_fit_on_a_small_screen() {
  suffix=-small
  install sam && hold_killall
  chown root:root /Applications
  start_display 1024x600
  scale_by $small_screen_scale
  start_program "${desktop[@]}"
  wait_until 5 is_on_screen
  picture main-window
  local main=$window
  press Tab space
  picture main-window-preferences
  press Tab Tab space Tab Tab
  holds_for 300 is_on_screen
  picture main-window-plan
  wait_until 5 is_on_screen
  press Tab Return
  wait_for_progress_window "$main"
  wait_until 5 is_on_screen
  picture progress-window
  let_killall_go
  look_at_details
  wait_until 5 is_on_screen
  press Return
  expect_end
}

# ---- what a screen reader says

reader_log=$work/reader/log

# Starts Orca without a speech dispatcher, so it is silent, but its log has each text that it would say. It reaches the
# program over a session bus of the owner, which is `bus` in the environment.
start_screen_reader() {
  need orca
  mkdir -p $work/reader/orca && chown -R "$owner" $work/reader
  echo 'import orca.debug; orca.debug.debugFile.reconfigure(line_buffering=True)' >$work/reader/orca/orca-customizations.py
  become_owner dbus-daemon --session --nofork --print-address >$work/bus 2>$work/bus.log &
  wait_until 10 test -s $work/bus
  bus=DBUS_SESSION_BUS_ADDRESS=$(cat $work/bus)
  become_owner "$bus" XDG_DATA_HOME=$work/reader SPEECHD_ADDRESS=unix_socket:/nowhere \
    orca --debug-file=$reader_log >$work/reader.log 2>&1 &
  hear 'Screen reader on.'
}

spoken() { sed -n "s/.* - SPEECH OUTPUT: '\(.*\)'{.*/\1/p" $reader_log 2>/dev/null | tr '\n' ' '; }

# hear TEXT...: Orca says the texts in this order, after those that were heard before.
heard=0
hear() {
  local text
  for text; do wait_until 30 is_said "$text"; done
}
is_said() {
  local all rest
  all=$(spoken)
  rest=${all:heard}
  [[ $rest == *"$1"* ]] || return 1
  rest=${rest#*"$1"}
  heard=$((${#all} - ${#rest}))
}

# tab_to NAME DESCRIPTION
tab_to() {
  press Tab
  hear "$@"
}

a_screen_reader_reads_every_window() {
  install sam && hold_killall && start_display && start_screen_reader
  # Qt keeps an event that the reader has not answered by the end.
  start_program "$bus" ASAN_OPTIONS=exitcode=23:detect_leaks=0
  local main=$window
  hear 'Uninstall Tessaly dialog' 'Remove Tessaly from this computer?' \
    'Tessaly, its caches and its launch agents will be moved to your Trash.' 'what is not saved in it is lost.' \
    'You can put everything back from the Trash; items of the system take an administrator.' \
    'The Quillmark folder in Applications is removed if nothing is left in it.' \
    'Also move my Tessaly preferences to the Trash'
  [[ "$(spoken)" != *'Uninstall push button'*'Also move my Tessaly preferences'* ]] || fail 'the button comes before the texts'
  hear 'Uninstall push button.' 'Moves Tessaly to your Trash.'
  tab_to 'Also move my Tessaly preferences to the Trash check box not checked.' 'your settings stay where they are.'
  tab_to 'is removed if nothing is left in it check box checked.' 'This is always done and cannot be changed.'
  tab_to 'What will be moved' 'Shows the items that will be moved to your Trash, with their sizes.'
  press space
  wait_until 10 plan_is_filled
  tab_to 'What will be moved' 'The items that are on this computer, with their sizes.'
  tab_to 'Cancel push button.' 'Closes this window and leaves everything as it is.'
  tab_to 'Uninstall push button.' 'Moves Tessaly to your Trash.'
  press Return
  wait_for_progress_window "$main"
  hear 'Uninstall Tessaly dialog' 'Moving Tessaly to the Trash…'
  let_killall_go
  wait_for_window 'Uninstall complete'
  hear 'alert Uninstall complete.' 'Items have been placed in your Trash.' 'OK push button.' 'Closes this message and quits.'
  finish_run
  [ -z "${pictures-}" ] || spoken >"$pictures/spoken.txt"
}
