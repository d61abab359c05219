#!/usr/bin/env bash
# inspect_nav_test.sh INSPECT FIXTURES
#
# kestrova-inspect --nav end to end on fixture discs: the buttons of the menu
# whose highlight is in subpicture stream 1 at the rectangles and neighbours
# the fixture script gave spumux; the three button groups of a 16:9 title
# as JSON; a pack whose button mode is damaged reported with its sector and
# passed over while the file is still read; a missing file fails the run.
set -uo pipefail

if [[ $# -ne 2 ]]; then
  echo "usage: inspect_nav_test.sh INSPECT FIXTURES" >&2
  exit 2
fi
inspect=$1
fixtures=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "inspect_nav_test: $*" >&2; exit 1; }

menu=$fixtures/pal-menu-buttons-stream1/VIDEO_TS/VIDEO_TS.VOB
text=$("$inspect" --nav "$menu") || fail "exit status $? on $menu"
buttons=$(grep -o 'x1=[0-9]* x2=[0-9]* y1=[0-9]* y2=[0-9]* colour=[0-9]* up=[0-9]* down=[0-9]* left=[0-9]* right=[0-9]*' <<<"$text")
expected='x1=80 x2=320 y1=100 y2=160 colour=1 up=1 down=3 left=1 right=2
x1=400 x2=640 y1=100 y2=160 colour=1 up=2 down=4 left=1 right=2
x1=80 x2=320 y1=420 y2=480 colour=1 up=1 down=3 left=3 right=4
x1=400 x2=640 y1=420 y2=480 colour=1 up=2 down=4 left=3 right=4'
[[ $buttons == "$expected" ]] || fail "buttons of $menu: $buttons"$'\n'"in: $text"
grep -q '^    status 1 (new)$' <<<"$text" || fail "no new highlight in: $text"
grep -q 'command="30 02 00 00 00 01 00 00" action="JumpTT 1"' <<<"$text" || fail "button 1's command in: $text"
grep -q '^  frame 720x576$' <<<"$text" || fail "no PAL frame in: $text"
grep -q 'warning\|fault 1' <<<"$text" && fail "warnings or faults on a good menu: $text"

json=$("$inspect" --nav --json "$fixtures/pal-menu-cells-jumppad/VIDEO_TS/VTS_01_1.VOB") || fail "exit status $? with --json"
grep -q '"groups": 3,' <<<"$json" || fail "not three groups in: $json"
tr -d ' \n' <<<"$json" | grep -q '"display":\["Wide","Letter","Pan"\]' || fail "display modes in: $json"
# dvdauthor marks the highlight of every VOBU new, so each VOBU is a block.
blocks=$(grep -c '"sector":' <<<"$json")
((blocks > 0)) && [[ $(grep -c '"x1": 480,' <<<"$json") == $((3 * blocks)) ]] ||
  fail "button 2 not in each of three groups of $blocks blocks: $json"

# Button mode byte (sector byte 155) of the first pack: four groups.
cp "$menu" "$scratch/damaged.vob"
printf '\x40' | dd of="$scratch/damaged.vob" bs=1 seek=155 conv=notrunc status=none
text=$("$inspect" --nav "$scratch/damaged.vob" "$scratch/missing.vob" 2>"$scratch/errors")
status=$?
((status == 1)) || fail "exit status $status with a missing file, expected 1"
grep -q 'damaged.vob" NAV pack at byte 0 (sector 0): its highlight (byte 155 40) names 4 button groups' <<<"$text" ||
  fail "the damaged pack is not reported: $text"
grep -q 'x1=' <<<"$text" && fail "the damaged highlight is printed: $text"
grep -q '^  packs [1-9]' <<<"$text" || fail "the damaged file is not read on: $text"
grep -q 'missing.vob' "$scratch/errors" || fail "the missing file is not named"
echo "inspect_nav_test: passed"
