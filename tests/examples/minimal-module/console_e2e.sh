#!/usr/bin/env bash
# Drives the built orv_minimal_module through its console: waits for its banner, asks for the
# status, then quits. Each step waits (at most 30 s) for the line it expects before going on,
# and the program must end with 0.
set -euo pipefail
coproc APP { "$1" 2>&1; }
pid=$APP_PID
expect() {
  local line
  while IFS= read -r -t 30 line <&"${APP[0]}"; do
    echo "$line"
    [[ $line == *"$1"* ]] && return 0
  done
  echo "missing: $1" >&2
  kill "$pid"
  exit 1
}
expect "commands: status, quit"
echo status >&"${APP[1]}"
expect "status: running, "
echo quit >&"${APP[1]}"
expect "stopped"
wait "$pid"
