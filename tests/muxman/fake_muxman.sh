#!/bin/sh
# Stands in for the Muxman engine in the golden script test: the script it
# is given must be there, and it leaves a VIDEO_TS.IFO of one sector in the
# folder behind "-d", as a run that authored the script would. The paths
# are drive paths, mapped through KESTROVA_DRIVES ("K:=/host/folder;...").
host() {
  letter=$(printf '%s' "$1" | cut -c1)
  rest=$(printf '%s' "$1" | cut -c3- | tr '\\' '/')
  root=$(printf '%s\n' "$KESTROVA_DRIVES" | tr ';' '\n' | grep -i "^$letter:=" | head -1 | cut -d= -f2- | sed 's/@[a-z]*$//')
  printf '%s%s' "$root" "$rest"
}
script=$1
shift
dest=
while [ $# -gt 0 ]; do
  [ "$1" = -d ] && dest=$2
  shift
done
[ -f "$(host "$script")" ] && [ -n "$dest" ] || exit 1
out=$(host "$dest")
mkdir -p "$out" && head -c 2048 /dev/zero > "$out/VIDEO_TS.IFO"
