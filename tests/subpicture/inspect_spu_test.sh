#!/usr/bin/env bash
# inspect_spu_test.sh INSPECT
#
# kestrova-inspect --spu end to end on a VOB of make-spu-vob.sh: both
# streams listed with their SPUs, each bitmap written as a BMP file that
# ImageMagick reads at the size listed; with a missing file among others it
# still prints the others and fails; --bmp goes with --spu only.
set -uo pipefail

if [[ $# -ne 1 ]]; then
  echo "usage: inspect_spu_test.sh INSPECT" >&2
  exit 2
fi
inspect=$1
for tool in ffmpeg convert identify spumux; do command -v $tool >/dev/null || exit 77; done

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "inspect_spu_test: $*" >&2; exit 1; }

bash "$(dirname "$0")/make-spu-vob.sh" "$scratch" 3 3 || fail "make-spu-vob.sh failed"
json=$("$inspect" --spu --json "$scratch/spu.vob" --bmp "$scratch/bmp") || fail "exit status $? on a good VOB"
[[ $(grep -c '"spus": 3,' <<<"$json") == 2 ]] || fail "not two streams of 3 SPUs in: $json"
grep -q '"id": "0x21",' <<<"$json" || fail "no stream 0x21 in: $json"
listed=$(grep -o '"bitmap": "[0-9x]*"' <<<"$json" | cut -d'"' -f4)
names=$(grep -o '"bmp": "[^"]*"' <<<"$json" | cut -d'"' -f4)
[[ $names == $'20_1.bmp\n20_2.bmp\n20_3.bmp\n21_1.bmp\n21_2.bmp\n21_3.bmp' ]] || fail "BMP names: $names"
read_back=$(cd "$scratch/bmp" && identify -format '%wx%h\n' $names) || fail "identify cannot read the BMP files"
[[ $read_back == "$listed" ]] || fail "BMP sizes $read_back, listed $listed"

text=$("$inspect" --spu "$scratch/missing.vob" "$scratch/spu.vob" 2>"$scratch/errors")
status=$?
((status == 1)) || fail "exit status $status with a missing file, expected 1"
grep -q "STP_DSP stop of display" <<<"$text" || fail "the readable file is not printed: $text"
grep -q 'missing.vob' "$scratch/errors" || fail "the missing file is not named"

"$inspect" --audio "$scratch/spu.vob" --bmp "$scratch/bmp" 2>"$scratch/errors" && fail "--bmp taken with --audio"
grep -q -- "--bmp goes with --spu only" "$scratch/errors" || fail "--bmp with --audio is not refused in words"
echo "inspect_spu_test: passed"
