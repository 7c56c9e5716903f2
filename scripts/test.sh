#!/usr/bin/env bash
# Installs what is missing, builds and runs the whole test suite: once plainly with GCC, once with Clang,
# once under AddressSanitizer and UndefinedBehaviorSanitizer, then checks the installed package with a consumer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang
jobs=${VEXIL_JOBS:-2}

echo "== Plain build"
cmake -S . -B build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEXIL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build build-test -j"$jobs"
(cd build-test && ctest --output-on-failure -j"$jobs" --timeout 300)

echo "== Python client and pytest plugin (Debian's python3, against real programs under the agent)"
VEXIL_AGENT_LIBRARY="$PWD/build-test/src/agent/libvexil_agent.so" \
VEXIL_DEMO_APP="$PWD/build-test/examples/demoapp/vexil-demo" \
    /usr/bin/python3 -m pytest tests/python -q -n "$jobs" -p no:cacheprovider

echo "== Clang build"
CC=clang CXX=clang++ cmake -S . -B build-clang -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-clang -j"$jobs"
(cd build-clang && ctest --output-on-failure -j"$jobs" --timeout 300)

echo "== Sanitizer build (AddressSanitizer, UndefinedBehaviorSanitizer)"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DVEXIL_SANITIZE=ON -DVEXIL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-asan -j"$jobs"
(cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --output-on-failure -j"$jobs" --timeout 600)

echo "== Installed package"
scripts/check-install.sh build-test

# Every reader of the library under libFuzzer for a short while (installs clang when missing).
scripts/fuzz.sh 30
