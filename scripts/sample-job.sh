#!/usr/bin/env bash
# The main job on a bundled sample: installs what is missing, builds
# Kestrova, makes the sample discs with dvdauthor/spumux/ffmpeg, and runs
# kestrova-cli over one of them with the stand-in tools. The result and its
# logs are in build/sample/work/out.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
build=build/sample
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKESTROVA_BUILD_TESTS=OFF
cmake --build "$build" -j2
bash tests/fixtures/make-dvd-fixtures.sh --if-changed "$build/fixtures"
rm -rf "$build/work/out"
bash scripts/run-sample-job.sh "$build" "$(pwd)/$build/fixtures" "$build/work" "${1:-pal-vmg-buttons}"
echo
echo "Run log:  $build/work/out/Kestrova.LOG"
echo "Journal:  $build/work/out/Kestrova_Recovery.LOG"
