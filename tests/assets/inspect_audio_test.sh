#!/usr/bin/env bash
# inspect_audio_test.sh INSPECT
#
# kestrova-inspect --audio end to end: on an AC3 file from ffmpeg it prints
# the frames ffprobe counts, on a copy cut inside its last frame the bad spot
# at that frame's offset; with a missing file among others it still prints
# the others and fails.
set -uo pipefail

if [[ $# -ne 1 ]]; then
  echo "usage: inspect_audio_test.sh INSPECT" >&2
  exit 2
fi
inspect=$1
command -v ffmpeg >/dev/null && command -v ffprobe >/dev/null || exit 77

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "inspect_audio_test: $*" >&2; exit 1; }

ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=frequency=440:sample_rate=48000:duration=1 -ac 6 -c:a ac3 \
  -b:a 448k "$scratch/menu.ac3" || fail "ffmpeg failed"
probed=$(ffprobe -v error -count_packets -show_entries stream=nb_read_packets -of csv=p=0 "$scratch/menu.ac3")
size=$(stat -c %s "$scratch/menu.ac3")
# 448 kbit/s at 48 kHz: 1792-byte frames; keep 100 bytes of the last one.
head -c $((size - 1692)) "$scratch/menu.ac3" >"$scratch/cut.ac3"

json=$("$inspect" --audio --json "$scratch/menu.ac3" "$scratch/cut.ac3") || fail "exit status $? on two good files"
grep -q "\"frames\": $probed," <<<"$json" || fail "ffprobe counts $probed frames, kestrova-inspect printed: $json"
grep -q '"channels": 6,' <<<"$json" || fail "no 6 channels in: $json"
grep -q "\"offset\": $((size - 1792))," <<<"$json" || fail "no bad spot at the last frame in: $json"
grep -q '"what": "frame cut short at the end: 100 of its 1792 bytes are there"' <<<"$json" ||
  fail "the cut is not named in: $json"

text=$("$inspect" --audio "$scratch/missing.ac3" "$scratch/menu.ac3" 2>"$scratch/errors")
status=$?
((status == 1)) || fail "exit status $status with a missing file, expected 1"
grep -q "layout 3/2+LFE" <<<"$text" || fail "the readable file is not printed: $text"
grep -q 'missing.ac3": there is no such file' "$scratch/errors" || fail "the missing file is not named"
echo "inspect_audio_test: passed"
