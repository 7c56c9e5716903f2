#!/usr/bin/env bash
# with-launch.sh: starts PROGRAM with "vexil launch --listen tcp:127.0.0.1:0", runs "vexil ARG... --attach
# ADDRESS --token TOKEN" against it (TOKEN replaced by the launcher's when given as @TOKEN@), then ends the
# launcher. Exits with the run's exit code.
#
# Usage: with-launch.sh VEXIL PROGRAM ARG...
set -u
vexil=$1 program=$2
shift 2
info=$(mktemp)
"$vexil" launch --listen tcp:127.0.0.1:0 -- "$program" >"$info" &
launcher=$!
trap 'kill $launcher 2>/dev/null; wait $launcher 2>/dev/null; rm -f "$info"' EXIT
for _ in $(seq 100); do
    grep -q '^pid:' "$info" && break
    sleep 0.1
done
address=$(sed -n 's/^address: //p' "$info")
token=$(sed -n 's/^token: //p' "$info")
[ -n "$address" ] || { echo "with-launch.sh: the launcher printed no address" >&2; exit 3; }
args=()
for a in "$@"; do args+=("${a//@TOKEN@/$token}"); done
"$vexil" "${args[@]}" --attach "$address"
