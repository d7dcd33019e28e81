# SPDX-License-Identifier: MIT
# Asks for the rights that the scripts need. Sourced.

# shellcheck disable=SC2034 # used by the sourcing script
machine=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/tests/support/throwaway-machine

# Lets sudo ask for the password once, and keeps it from asking again while this script is running. Does nothing as root,
# without a terminal to ask at, or without sudo.
ask_for_sudo() {
  [ "$(id -u)" != 0 ] && command -v sudo >/dev/null || return 0
  sudo -n true 2>/dev/null || { [ -t 0 ] && [ -t 2 ] && sudo -v; } || return 0
  # The pipe ends with the script.
  exec {sudo_keeper}> >(until read -rt 50 || [ $? -le 128 ]; do sudo -n -v; done >/dev/null 2>&1)
}
