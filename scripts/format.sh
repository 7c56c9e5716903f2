#!/usr/bin/env bash
# Formats the library, the tool, the tests (not the Qt wrapper's), the fuzz targets and the benchmarks with
# the repository's .clang-format. With --check, lists the files that would change and fails if there are any.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-}
files=$(git ls-files 'src/objectmodel/*.h' 'src/objectmodel/*.cpp' 'tools/vexil/*.h' 'tools/vexil/*.cpp' \
    'tests/*.h' 'tests/*.cpp' 'fuzz/*.h' 'fuzz/*.cpp' 'benchmarks/*.h' 'benchmarks/*.cpp' | grep -v '^tests/qt/')
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
