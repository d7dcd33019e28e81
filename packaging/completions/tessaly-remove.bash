# SPDX-License-Identifier: MIT
# Completion of tessaly-remove for bash.

_tessaly_remove() {
  local word=$2 option=$3
  # Bash treats an equals sign as a separate word.
  if [ "$word" = '=' ]; then
    word=''
  elif [ "$option" = '=' ]; then
    option=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local choices
  case $option in
    --user)
      mapfile -t COMPREPLY < <(compgen -u -- "$word")
      return
      ;;
    --if-running) choices='refuse ask-to-quit end' ;;
    --report) choices='table json' ;;
    --time-limit) choices='' ;;
    *) choices='--plan --yes --preferences --user --all-users --system-only --restore --if-running --time-limit --report --help --version' ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}
complete -F _tessaly_remove tessaly-remove
