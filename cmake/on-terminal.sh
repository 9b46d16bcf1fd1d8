#!/bin/sh
# on-terminal.sh <log> <command> [arguments]: runs the command on a new pseudo-terminal,
# where Wine gives a Windows program a console, with the command's own output kept in
# <log> and shown afterwards (the terminal itself shows Wine's drawing of the console).
# Exits with the command's status.
log=$1
shift
quoted=
for argument in "$@"; do
  quoted="$quoted '$(printf '%s' "$argument" | sed "s/'/'\\\\''/g")'"
done
script -qec "$quoted >'$log' 2>&1" /dev/null >/dev/null </dev/null
status=$?
cat "$log"
exit $status
