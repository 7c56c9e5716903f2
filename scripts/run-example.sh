#!/usr/bin/env bash
# Installs what is missing, builds the library, the demo application and the vexil tool, then runs the
# example test script against the demo application on the offscreen platform (no display needed).
# Arguments go to "vexil run": --verbose for a line per step, --visible to watch it on a display.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${VEXIL_BUILD_DIR:-build}
scripts/install-deps.sh
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF -DVEXIL_BUILD_EXAMPLES=ON >/dev/null
echo "Building the library, the demo application and vexil in $build/ (a few minutes the first time)..."
cmake --build "$build" -j2 --target vexil minimalwrapper >/dev/null
"$build"/tools/vexil/vexil run examples/scripts/demo.vxs --objectmap examples/scripts/demo.objectmap "$@"
