# What the scripts ask of whoever starts them. Sourced.

# shellcheck disable=SC2034 # used there
machine=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/tests/support/throwaway-machine

# Asks for the password that sudo wants, once, and keeps sudo from asking again for as long as this script runs. Does
# nothing for root, where there is nobody to ask, or where there is no sudo.
ask_for_sudo() {
  [ "$(id -u)" != 0 ] && command -v sudo >/dev/null || return 0
  sudo -n true 2>/dev/null || { [ -t 0 ] && [ -t 2 ] && sudo -v; } || return 0
  # The pipe ends with the script.
  exec {sudo_keeper}> >(until read -rt 50 || [ $? -le 128 ]; do sudo -n -v; done >/dev/null 2>&1)
}
