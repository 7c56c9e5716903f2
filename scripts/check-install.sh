#!/usr/bin/env bash
# Installs the library from a build tree into a temporary prefix and builds a find_package consumer against it.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build}
prefix=$(mktemp -d)
consumer=$(mktemp -d)
trap 'rm -rf "$prefix" "$consumer"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S examples/consumer -B "$consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$consumer" -j2 >/dev/null
LD_LIBRARY_PATH="$prefix/lib:$prefix/lib/$(gcc -dumpmachine 2>/dev/null || echo .)${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
    "$consumer/consumer"
echo "consumer built and ran against the installed package"
