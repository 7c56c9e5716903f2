#!/usr/bin/env bash
# Formats every C++ file of the repository with its .clang-format. With --check, lists the files that would
# change and fails if there are any.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-}
files=$(git ls-files '*.h' '*.cpp')
if [ "$mode" = "--check" ]; then
    changed=0
    for f in $files; do
        if ! clang-format --style=file "$f" | cmp -s - "$f"; then
            echo "$f"
            changed=1
        fi
    done
    exit $changed
fi
clang-format --style=file -i $files
