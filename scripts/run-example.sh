#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the example wrapper program.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF -DVEXIL_BUILD_EXAMPLES=ON >/dev/null
cmake --build build -j2 --target minimalwrapper
./build/examples/minimalwrapper/minimalwrapper
