# SPDX-License-Identifier: MIT
# The building blocks of scenarios. Sourced on a throw-away machine, as root. Every failure ends the scenario through
# `fail`.

support=$(dirname "${BASH_SOURCE[0]}")/../support
verify=$(dirname "${BASH_SOURCE[0]}")/verify.py
uninstaller=/usr/local/bin/tessaly-uninstaller
catalogues=/usr/local/share/locale
work=/dev/shm # holds what the scenario itself writes: no snapshot looks there

fail() {
  printf 'failed: %s\n' "$*" >&2
  [ ! -s $work/program.log ] || sed 's/^/  program: /' $work/program.log >&2
  [ -z "${program-}" ] || grep -E '^(Name|State|Threads)' "/proc/$program/status" >&2 || :
  [ -z "${DISPLAY-}" ] || xwininfo -root -tree 2>/dev/null | grep '"' >&2 || :
  [ -z "${DISPLAY-}" ] || [ -z "${pictures-}" ] || import -window root "$pictures/failed-$scenario.png" || :
  exit 1
}

# ---- the program's texts

install_catalogues() {
  local built
  built=$(dirname "$program_file")/../share/locale
  if [ -d "$built" ]; then mkdir -p $catalogues && cp -r "$built/." $catalogues; fi
}

# text ENGLISH: prints the text in the language that LANGUAGE names, or in English.
text() {
  if [ -z "${LANGUAGE-}" ]; then echo "$1"; else TEXTDOMAINDIR=$catalogues gettext -se -d tessaly-uninstaller "$1"; fi
}
# letter ENGLISH: prints the key that chooses the control together with Alt.
letter() { text "$1" | sed 's/.*&\(.\).*/\L\1/'; }

# need PROGRAM: skips the scenario if the program is not installed, and prints that.
need() {
  command -v "$1" >/dev/null || { echo "$1 is not installed, so this is not tried: scripts/setup all installs it" && exit 77; }
}

# ---- waiting for what must come

pause() { read -rt 0.01 <$work/never || :; }

# wait_until SECONDS COMMAND...: the command succeeds within the time.
wait_until() {
  local end=$((${EPOCHREALTIME/./} + $1 * 1000000))
  shift
  until "$@"; do
    [ "${EPOCHREALTIME/./}" -lt "$end" ] || fail "waited in vain: $*"
    pause
  done
}

# holds_for MILLISECONDS COMMAND...: the command succeeds each time that it is run during this time.
holds_for() {
  local end=$((${EPOCHREALTIME/./} + $1 * 1000))
  shift
  while [ "${EPOCHREALTIME/./}" -lt "$end" ]; do
    "$@" || fail "did not last: $*"
    pause
  done
}

# ---- the machine

# install USER [OPTION...]: creates the scenario's user, with a sample installation.
install() {
  owner=$1
  home=/home/$owner
  number=$(id -u "$owner")
  runtime=/run/user/$number
  "$support/sample-installation" "$@"
  [ -z "${as_root-}" ] || chown -R root:root /Applications /Library
  mkdir -p "$runtime" /run/user/0
  chown "$owner:$owner" "$runtime"
  chmod 0700 "$runtime" /run/user/0
}

as_owner() { (become_owner "$@"); }
become_owner() {
  exec setpriv --reuid "$owner" --regid "$owner" --init-groups \
    env -i PATH="$PATH" LANG=C.UTF-8 LANGUAGE="${LANGUAGE-}" HOME="$home" USER="$owner" LOGNAME="$owner" DISPLAY="${DISPLAY-}" \
    XDG_RUNTIME_DIR="$runtime" "$@"
}

process_named() {
  local comm
  for comm in /proc/[0-9]*/comm; do
    [ "$(cat "$comm" 2>/dev/null)" != "$1" ] || return 0
  done
  return 1
}
no_process_named() { ! process_named "$1"; }

no_zombie_of() {
  ! grep -lE "^[0-9]+ \(.*\) Z $1 " /proc/[0-9]*/stat 2>/dev/null | grep -q .
}

start_product() {
  become_owner /Applications/Tessaly.app/Contents/MacOS/Tessaly -f /dev/null &
  wait_until 5 process_named Tessaly
}

# From here on, killall blocks before it ends the product, until `let_killall_go`.
hold_killall() {
  # Any root can replace root's files, but not always move them.
  cp /usr/bin/killall /usr/bin/real-killall
  rm /usr/bin/killall
  mkfifo -m 0666 /run/killall-may-go
  printf '#!/bin/bash\nread -r </run/killall-may-go\nexec /usr/bin/real-killall "$@"\n' >/usr/bin/killall
  chmod 0755 /usr/bin/killall
}
let_killall_go() { echo go >/run/killall-may-go; }

window_manager_runs() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }

# start_display [SIZE]
start_display() {
  Xvfb -displayfd 3 -screen 0 "${1-1280x800}x24" -noreset -nolisten tcp -ac 3>$work/display 2>$work/display.log &
  wait_until 10 test -s $work/display
  DISPLAY=:$(cat $work/display)
  export DISPLAY
  # The first key from xdotool changes the display's keyboard, for which Openbox drops its shortcuts for a moment. A
  # scenario's alt+F4 would be lost then.
  xdotool key Shift_L
  XDG_CACHE_HOME=$work openbox >$work/openbox.log 2>&1 &
  wait_until 10 window_manager_runs
}

# ---- the program

# become_program [NAME=VALUE...]: as the owner, or as root with `as_root=yes`. Its output is in the file `said`.
said=$work/program.log
toolkit_options=()
desktop=() # the environment of a desktop with settings of its own
become_program() {
  local sanitizers=(ASAN_OPTIONS=exitcode=23:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
    "TSAN_OPTIONS=exitcode=66:suppressions=$support/tsan.supp" "LSAN_OPTIONS=suppressions=$support/lsan.supp:print_suppressions=0")
  if [ -n "${as_root-}" ]; then
    exec env XDG_RUNTIME_DIR=/run/user/0 "${sanitizers[@]}" "$@" $uninstaller "${toolkit_options[@]}" >"$said" 2>&1
  else
    become_owner "${sanitizers[@]}" "$@" $uninstaller "${toolkit_options[@]}" >"$said" 2>&1
  fi
}

# start_program [NAME=VALUE...]: from here on its process is `program`.
start_program() {
  python3 "$support/snapshot.py" $work/before "${volumes[@]}"
  begin_program "$@"
}

# The same without a snapshot of the disk before.
begin_program() {
  become_program "$@" &
  program=$!
  wait_for_window 'Uninstall Tessaly'
  note_window
}

# start_again STATUS [NAME=VALUE...]: starts it while it is running. The second start ends with the status.
start_again() {
  local code=0 status=$1
  shift
  (said=$work/again.log && become_program "$@") || code=$?
  [ $code = "$status" ] || fail "the second start's exit code is $code: $(cat $work/again.log)"
}

find_window() { window=$(xdotool search --onlyvisible --name "^$(text "$1")\$" 2>/dev/null) && [ -n "$window" ]; }
no_window() { ! find_window "$1"; }
count_windows() { xdotool search --onlyvisible --name "^$(text "$1")\$" 2>/dev/null | wc -l; }
# The windows from the highest down, without those that the toolkit always has above the others.
stacked_windows() {
  local each
  for each in $(xprop -root _NET_CLIENT_LIST_STACKING | sed 's/.*#//; s/,/ /g' | tr ' ' '\n' | tac); do
    is_always_above "$each" || echo $((each))
  done
}
is_in_front() { [ "$(stacked_windows | head -n 1)" = "$window" ] && has_keyboard; }
# A window of another program is in front of everything and has the keyboard focus.
cover_windows() {
  local covered=$window
  xev -name Cover -geometry 900x700+50+50 >/dev/null 2>&1 &
  cover=$!
  wait_for_window Cover
  wait_until 15 is_in_front
  window=$covered
}
has_keyboard() { [ "$(xdotool getactivewindow 2>/dev/null)" = "$window" ]; }

# Whether the window has a close button. The window manager shows one if the window's set of functions (the first bit of
# the flags) contains closing. Without such a set everything is allowed.
can_be_closed() {
  local flags functions
  IFS=' ,' read -r flags functions _ < <(xprop -id "$window" -notype _MOTIF_WM_HINTS | sed 's/.*= //')
  [ $((flags & 1)) = 0 ] || [ $((functions & 33)) != 0 ]
}
cannot_be_closed() { ! can_be_closed; }

# Sets `window` to the window with the title, which then gets the keyboard input.
wait_for_window() {
  wait_until 15 find_window "$1"
  wait_until 15 has_keyboard
}

# The windows have the same title, and may both be there for a moment.
find_progress_window() {
  find_window 'Uninstall Tessaly' && [ "$window" != "$main_window" ] && [ "$(wc -l <<<"$window")" = 1 ]
}
wait_for_progress_window() {
  main_window=$1
  wait_until 15 find_progress_window
  wait_until 15 has_keyboard
}

# Clicks and keys are queued from here on, until `let_program_go_on`.
hold_program() { kill -STOP "$program"; }
let_program_go_on() { kill -CONT "$program"; }

# point RIGHT BOTTOM: moves the pointer to this distance from the window's lower right corner.
point() {
  local WIDTH HEIGHT X Y SCREEN WINDOW
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --window "$window" $((WIDTH - $1)) $((HEIGHT - $2))
}

window_height() { xdotool getwindowgeometry --shell "$window" | sed -n 's/^HEIGHT=//p'; }
is_taller_than() { [ "$(window_height)" -gt "$1" ]; }
is_as_tall_as() { [ "$(window_height)" = "$1" ]; }

# has_text_at GEOMETRY: a few pixels there are as dark as text.
has_text_at() {
  local dark
  dark=$(import -window "$window" -crop "$1" +repage png:- |
    convert png:- -colorspace gray -threshold 25% -negate -format '%[fx:round(mean*w*h)]' info:)
  [ "$dark" -ge 12 ]
}

program_ended() { [ ! -d "/proc/$program" ] || grep -q '^[0-9]* (.*) Z ' "/proc/$program/stat" 2>/dev/null; }

# The program ends by itself, without an error and leaving no child behind.
expect_end() {
  wait_until 20 program_ended
  local code=0
  wait "$program" || code=$?
  [ $code = 0 ] || fail "the program's exit code is $code"
  wait_until 5 no_zombie_of 1
}

# The alert appears, and OK ends the program.
finish_run() {
  wait_for_window 'Uninstall complete'
  no_zombie_of "$program" || fail 'the program left a zombie'
  wait_until 5 has_icon
  picture alert
  press Return
  expect_end
}

# ---- what must be left

mapfile -t items < <(sed -n 's/^always //p' "$support/product-items")
mapfile -t preferences < <(sed -n 's/^if-asked //p' "$support/product-items")
volumes=()

# expect_disk [--moved ITEM | --removed FOLDER]...: the disk has these changes and no others.
expect_disk() {
  forget_toolkit
  python3 "$support/snapshot.py" $work/after "${volumes[@]}"
  python3 "$verify" $work/before $work/after --user "$number" --home "$home" "${@//@/$home}" || fail 'the disk is not as it must be'
}

# moved ITEM...: the options for `expect_disk`, in `options`.
options=()
moved() {
  local item
  for item; do options+=(--moved "$item"); done
}
removed() { options+=(--removed "$1"); }

# ---- pictures, if a folder for them is given

is_drawn() { [ "$(import -window "$window" png:- 2>/dev/null | identify -format %k png:- 2>/dev/null || echo 0)" -gt 20 ]; }

# picture NAME: the window with its frame, cut out of the screen.
picture() {
  [ -n "${pictures-}" ] || return 0
  wait_until 10 is_drawn
  import -window root png:- | convert png:- -fuzz 2% -trim +repage "$pictures/$1${suffix-}.png"
}

# ---- how people use the windows

# shellcheck source=tests/e2e/qt.bash
. "${toolkit-$(dirname "${BASH_SOURCE[0]}")/qt.bash}"
