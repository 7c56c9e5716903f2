#!/usr/bin/env bash
# check-tool.sh: runs one vexil command line and checks its exit code, its output and the files it writes.
#
# Usage: check-tool.sh [CHECK...] -- COMMAND [ARG...]
#   --exit N            the exit code must be N (default 0)
#   --stdout FILE       standard output must equal FILE
#   --stderr FILE       standard error must equal FILE
#   --out TEXT          a line of standard output must contain TEXT (a fixed string)
#   --err TEXT          a line of standard error must contain TEXT
#   --out-line LINE     standard output must have the whole line LINE
#   --err-line LINE     standard error must have the whole line LINE
#   --no-out TEXT       no line of standard output may contain TEXT
#   --no-err            standard error must be empty
#   --copy SRC DST      copy SRC to DST before the run
#   --remove PATH       remove PATH before the run
#   --file PATH GOLDEN  after the run, PATH must equal GOLDEN
#   --same PATH OTHER   after the run, PATH must equal OTHER (both written by tests)
set -u

expected_exit=0
checks=()
while [ $# -gt 0 ]; do
    case "$1" in
        --exit) expected_exit=$2; shift 2 ;;
        --stdout|--stderr|--out|--err|--out-line|--err-line|--no-out) checks+=("$1" "$2"); shift 2 ;;
        --no-err) checks+=("$1" ""); shift ;;
        --file|--same) checks+=("$1" "$2|$3"); shift 3 ;;
        --copy) cp -- "$2" "$3" || exit 2; shift 3 ;;
        --remove) rm -f -- "$2"; shift 2 ;;
        --) shift; break ;;
        *) echo "check-tool.sh: unknown check '$1'" >&2; exit 2 ;;
    esac
done
[ $# -gt 0 ] || { echo "check-tool.sh: no command" >&2; exit 2; }

command=("$@")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"${command[@]}" >"$scratch/stdout" 2>"$scratch/stderr"
status=$?

failed=0
fail() {
    echo "FAILED: $*"
    failed=1
}

[ "$status" -eq "$expected_exit" ] || fail "exit code $status, expected $expected_exit"
set -- "${checks[@]+"${checks[@]}"}"
while [ $# -gt 0 ]; do
    kind=$1 arg=$2
    shift 2
    case "$kind" in
        --stdout) diff -u "$arg" "$scratch/stdout" >"$scratch/diff" || { fail "standard output differs from $arg"; cat "$scratch/diff"; } ;;
        --stderr) diff -u "$arg" "$scratch/stderr" >"$scratch/diff" || { fail "standard error differs from $arg"; cat "$scratch/diff"; } ;;
        --out) grep -qF -- "$arg" "$scratch/stdout" || fail "standard output lacks: $arg" ;;
        --err) grep -qF -- "$arg" "$scratch/stderr" || fail "standard error lacks: $arg" ;;
        --out-line) grep -qxF -- "$arg" "$scratch/stdout" || fail "standard output lacks the line: $arg" ;;
        --err-line) grep -qxF -- "$arg" "$scratch/stderr" || fail "standard error lacks the line: $arg" ;;
        --no-out) ! grep -qF -- "$arg" "$scratch/stdout" || fail "standard output has: $arg" ;;
        --no-err) [ ! -s "$scratch/stderr" ] || fail "standard error is not empty" ;;
        --file|--same)
            path=${arg%%|*} other=${arg#*|}
            if [ ! -f "$path" ]; then
                fail "$path was not written"
            elif ! diff -u "$other" "$path" >"$scratch/diff"; then
                fail "$path differs from $other"
                cat "$scratch/diff"
            fi ;;
    esac
done

if [ "$failed" -ne 0 ]; then
    echo "--- command (in $PWD):"
    printf ' %q' "${command[@]}"
    echo
    echo "--- standard output:"
    cat "$scratch/stdout"
    echo "--- standard error:"
    cat "$scratch/stderr"
    exit 1
fi
exit 0
