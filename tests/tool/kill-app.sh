#!/usr/bin/env bash
# kill-app.sh: runs "vexil ARG...", and once its standard output has a line with TEXT, kills the program it
# started (its child process) with SIGKILL. Passes vexil's output and exit code on.
#
# Usage: kill-app.sh TEXT VEXIL ARG...
set -u
text=$1
shift
out=$(mktemp)
trap 'rm -f "$out"' EXIT
"$@" >"$out" &
vexil=$!
for _ in $(seq 300); do
    grep -qF -- "$text" "$out" && break
    sleep 0.1
done
for child in $(pgrep -P "$vexil"); do kill -9 "$child"; done
wait "$vexil"
status=$?
cat "$out"
exit "$status"
