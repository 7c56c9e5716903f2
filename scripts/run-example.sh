#!/usr/bin/env bash
# Installs what is missing, builds the agent, the demo program and the vexil tool, then drives the demo
# program in its own process: an example pytest suite through the Python client, then the example .vxs
# script through "vexil run --app". Qt's offscreen platform: no display needed.
# Arguments go to "vexil run": --verbose for a line per step, --visible to watch it on a display.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${VEXIL_BUILD_DIR:-build}
scripts/install-deps.sh
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF -DVEXIL_BUILD_EXAMPLES=ON >/dev/null
echo "Building the agent, the demo program and vexil in $build/ (a few minutes the first time)..."
cmake --build "$build" -j2 --target vexil vexil_agent vexil-demo minimalwrapper >/dev/null

export VEXIL_AGENT_LIBRARY="$PWD/$build/src/agent/libvexil_agent.so"
demo="$PWD/$build/examples/demoapp/vexil-demo"

echo "== pytest: examples/python against $demo"
PYTHONPATH=python /usr/bin/python3 -m pytest -p vexil.pytest_plugin -p no:cacheprovider \
    --vexil-app "$demo" --vexil-objectmap examples/scripts/demo.objectmap examples/python

echo "== vexil run: examples/scripts/demo.vxs against $demo"
"$build"/tools/vexil/vexil run examples/scripts/demo.vxs --objectmap examples/scripts/demo.objectmap --app "$demo" "$@"
