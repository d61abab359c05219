#!/usr/bin/env bash
# Times the Muxman side of a job over a large menu domain: makes a PAL disc
# whose title set menu domain holds VOBS menus (100 by default), each its own
# VOB id, runs kestrova-cli over it with Muxman as the authoring engine and
# one script per VOB, and sets the run's wall time beside the summed wall
# time of its outside programs and of its Muxman runs (each child's launch
# record, written out through KESTROVA_LAUNCH_TIMES).
#   time-muxman.sh BUILD_DIR WORK [VOBS]
# Prints the times and the job's own share of the Muxman stage; exits 1 when
# a per-VOB Muxman run made no IFO or that share is 2% or more.
set -euo pipefail
export LC_ALL=C

build=$(cd "$1" && pwd) vobs=${3:-100}
mkdir -p "$2"
work=$(cd "$2" && pwd)
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
disc=$work/disc
ff() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

# One still menu with a second of AC3 audio, under a name of its own for
# each menu PGC: dvdauthor gives each file a VOB id of its own.
if [ ! -f "$disc/VIDEO_TS/VIDEO_TS.IFO" ] || [ "$(cat "$work/disc.vobs" 2>/dev/null)" != "$vobs" ]; then
  rm -rf "$disc" "$work/src"
  mkdir -p "$work/src"
  ff -f lavfi -i color=c=0x203050:size=720x576:rate=25:duration=1 \
    -f lavfi -i sine=frequency=440:sample_rate=48000:duration=1 \
    -target pal-dvd -aspect 4:3 -b:v 2500k -c:a ac3 -b:a 192k -ac 2 "$work/src/menu.mpg"
  ff -f lavfi -i testsrc=size=720x576:rate=25:duration=2 -f lavfi -i sine=frequency=550:sample_rate=48000:duration=2 \
    -target pal-dvd -aspect 4:3 -c:a ac3 -b:a 192k -ac 2 "$work/src/title.mpg"
  {
    echo '<dvdauthor format="pal"><vmgm/><titleset><menus lang="en"><video format="pal" aspect="4:3"/>'
    for i in $(seq 1 "$vobs"); do
      if [ "$i" -eq 1 ]; then echo '<pgc entry="root">'; else echo '<pgc>'; fi
      ln -sf menu.mpg "$work/src/menu$i.mpg"
      echo "<vob file=\"$work/src/menu$i.mpg\" pause=\"inf\"/><post>jump title 1;</post></pgc>"
    done
    echo '</menus><titles><video format="pal" aspect="4:3"/>'
    echo "<pgc><vob file=\"$work/src/title.mpg\"/><post>call menu entry root;</post></pgc>"
    echo '</titles></titleset></dvdauthor>'
  } > "$work/src/disc.xml"
  dvdauthor -o "$disc" -x "$work/src/disc.xml" > "$work/src/dvdauthor.log" 2>&1 ||
    { tail -20 "$work/src/dvdauthor.log" >&2; exit 1; }
  echo "$vobs" > "$work/disc.vobs"
fi

# The sample job's settings (every asset re-encoded), with Muxman and one
# script per VOB.
cat > "$work/settings.reg" <<'HIVE'
[HKEY_CURRENT_USER\software\Kestrova\settings]
"Muxman"=dword:00000001
"SingleMXP"=dword:00000000
"ScenaidMode"=dword:00000000
HIVE
job=$work/job
rm -rf "$job"
mkdir -p "$job"
ln -sfn "$disc" "$work/fixtures-disc"
start=$(date +%s%N)
KESTROVA_LAUNCH_TIMES=$work/launches.tsv KESTROVA_SAMPLE_SETTINGS=$work/settings.reg \
  bash "$here/run-sample-job.sh" "$build" "$work" "$job" fixtures-disc > "$work/job.out" 2>&1 || true
end=$(date +%s%N)

made=$(find "$job/out" -path '*MUXMAN/*' -name VIDEO_TS.IFO -size +0 | wc -l)
python3 - "$work/launches.tsv" "$start" "$end" "$made" "$vobs" <<'PY'
import sys
launches, start, end, made, vobs = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4]), int(sys.argv[5])
rows = [line.rstrip("\n").split("\t", 4) for line in open(launches)]
runs = [(int(r[0]), int(r[1]), int(r[2])) for r in rows]
muxman = [(s, w, c) for (s, w, c), r in zip(runs, rows) if r[4].split(" ")[0].lower().endswith("muxman.exe")]
wall = (end - start) / 1e9
print(f"job: {wall:.1f} s wall; its outside programs: {len(runs)} runs, {sum(w for _, w, _ in runs) / 1e3:.1f} s wall")
print(f"Muxman.exe: {len(muxman)} runs, {sum(w for _, w, _ in muxman) / 1e3:.2f} s wall, "
      f"{sum(c for _, _, c in muxman) / 1e3:.2f} s processor; IFOs made: {made} of {vobs}")
if not muxman:
    sys.exit(1)
# The stage from the first Muxman start to the last one's end, by the job's
# own clock: what is not a Muxman run is the job writing the next script
# and reading the last result.
span = max(s + w for s, w, _ in muxman) - min(s for s, _, _ in muxman)
inside = sum(w for _, w, _ in muxman)
share = (span - inside) / span * 100 if span > 0 else 100
print(f"Muxman stage: {span / 1e3:.2f} s from the first run's start to the last one's end, "
      f"{inside / 1e3:.2f} s of it in the runs: the job's own share {share:.2f}%")
sys.exit(0 if made == vobs and len(muxman) == vobs and share < 2 else 1)
PY
