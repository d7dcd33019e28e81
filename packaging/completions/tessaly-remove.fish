# SPDX-License-Identifier: MIT
# Completion of tessaly-remove for fish.
complete -c tessaly-remove -f
complete -c tessaly-remove -l plan -d 'Show what would be moved'
complete -c tessaly-remove -l yes -d 'Do it'
complete -c tessaly-remove -l preferences -d 'Move the preferences as well'
complete -c tessaly-remove -l user -x -a '(__fish_complete_users)' -d 'For this user'
complete -c tessaly-remove -l all-users -d 'For every ordinary account'
complete -c tessaly-remove -l system-only -d 'Only what belongs to the computer'
complete -c tessaly-remove -l restore -d 'Put back what the last run moved'
complete -c tessaly-remove -l if-running -x -a 'refuse ask-to-quit end' -d 'What to do if Tessaly is running'
complete -c tessaly-remove -l time-limit -x -d 'Begin no further item after these seconds'
complete -c tessaly-remove -l report -x -a 'table json' -d 'The form of the report'
complete -c tessaly-remove -l help -d 'Show the help'
complete -c tessaly-remove -l version -d 'Show the version'
