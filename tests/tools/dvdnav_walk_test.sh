#!/usr/bin/env bash
# dvdnav_walk_test.sh WALK FIXTURES
# Walks every fixture disc from First Play with libdvdnav and checks what a
# walk must show: every disc with menu buttons reaches at least one menu,
# and every button whose command is a plain LinkPGCN within its menu domain
# (20 04 00 00 00 00 00 nn) lands on PGC nn of the domain it was pressed in.
set -euo pipefail
walk=$1 fixtures=$2
failures=0
for disc in "$fixtures"/*/; do
  name=$(basename "$disc")
  [[ -d $disc/VIDEO_TS ]] || continue
  out=$("$walk" "$disc/VIDEO_TS" 2>/dev/null) || { echo "$name: dvdnav-walk failed"; failures=1; continue; }
  menus=$(grep -c '^menu ' <<<"$out" || true)
  if [[ $name != pal-titles-only-lpcm && $name != ntsc-menu-captions && $menus -eq 0 ]]; then
    echo "$name: no menu reached"; failures=1
  fi
  # "menu VTSM vts 1 pgc 2 cell 1" then "  button 1: ... cmd 2004000000000001 -> VTSM vts 1 pgc 1 cell 1"
  bad=$(awk '
    function hex(text,   i, value) {
      value = 0
      for (i = 1; i <= length(text); i++) value = value * 16 + index("0123456789ABCDEF", substr(text, i, 1)) - 1
      return value
    }
    /^menu / { domain = $2; vts = $4 }
    /cmd 200400000000/ {
      for (i = 1; i <= NF; i++) if ($i == "cmd") cmd = $(i + 1)
      want = hex(substr(cmd, 15, 2))
      n = split($0, side, "-> "); split(side[2], land, " ")
      if (land[1] != domain || land[3] != vts || land[5] != want) print
    }' <<<"$out")
  if [[ -n $bad ]]; then echo "$name: LinkPGCN landed elsewhere:"; echo "$bad"; failures=1; fi
  echo "$name: $menus menus walked"
done
exit $failures
