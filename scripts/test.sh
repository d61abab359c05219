#!/usr/bin/env bash
# Installs what is missing, builds Kestrova with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs every test suite.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

build=${KESTROVA_BUILD_DIR:-build/sanitize}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKESTROVA_SANITIZE=ON
cmake --build "$build" -j2

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$build" --output-on-failure -j2
