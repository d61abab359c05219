#!/usr/bin/env bash
# Runs the job over every sample disc with menus and checks, for each menu
# domain, what the subpicture stand-ins left in D_*/SUBTITLES with outside
# tools only: per subpicture stream, the SPUs of the rip (.idx timestamp
# lines over all PGCs) are as many as spuunmux finds in the disc's menu VOB;
# ffprobe (ffmpeg's VobSub reader) reads each PGC_<i>.idx back with the
# same packets at the same times; each stream's .sst has one event per SPU
# and every event's bitmap is there. Prints one line per domain and stream
# and a count of faults at the end.
#   check-subpictures.sh BUILD_DIR FIXTURES_DIR WORK
set -uo pipefail
build=$1 fixtures=$2 work=$3
here=$(cd "$(dirname "$0")" && pwd)
faults=0
fault() { echo "FAULT: $*"; faults=$((faults + 1)); }

# SPUs of one subpicture stream id of a VOB, as spuunmux counts them.
spuunmux_count() {  # vob id
  local dir
  dir=$(mktemp -d)
  (cd "$dir" && spuunmux -s "$2" -o s "$1" > /dev/null 2>&1)
  grep -c '<spu ' "$dir/s.xml" 2> /dev/null || echo 0
  rm -rf "$dir"
}

for disc in "$fixtures"/*/; do
  disc=$(basename "$disc")
  compgen -G "$fixtures/$disc/VIDEO_TS/*_0.VOB" > /dev/null || [ -e "$fixtures/$disc/VIDEO_TS/VIDEO_TS.VOB" ] ||
    continue
  run="$work/$disc"
  rm -rf "$run" && mkdir -p "$run"
  bash "$here/run-sample-job.sh" "$build" "$fixtures" "$run" "$disc" > "$run/console.out" 2>&1
  status=$?
  [ "$status" = 3 ] || { fault "$disc: exit status $status"; grep 'fell short\|failed' "$run/console.out"; }
  for domain in "$run"/out/D_*; do
    name=$(basename "$domain")
    vob="$fixtures/$disc/VIDEO_TS/${name#D_}.VOB"
    [ -e "$vob" ] || continue
    subtitles="$domain/SUBTITLES"
    # The stream ids the disc's VOB carries (ffprobe names them 0x20-0x3f).
    ids=$(ffprobe -v error -select_streams s -show_entries stream=id -of csv=p=0 "$vob" | sort -u)
    [ -n "$ids" ] || { echo "$disc $name: no subpicture streams"; continue; }
    for hex in $ids; do
      id=$((hex - 0x20))
      expected=$(spuunmux_count "$vob" "$id")
      ripped=$(cat "$subtitles"/PGC_*.idx 2> /dev/null | tr -d '\r' |
        awk -v id="$id" '/^id: /{ on = ($4 == id) } on && /^timestamp:/{ n++ } END { print n + 0 }')
      events=0
      for sst in "$subtitles"/PGC_*0x$((id + 20)).sst; do
        [ -e "$sst" ] || continue
        while IFS=$'\t' read -r number start end bitmap rest; do
          events=$((events + 1))
          [ -e "$subtitles/$bitmap" ] || fault "$disc $name stream $id: $(basename "$sst") names $bitmap, not there"
        done < <(tr -d '\r' < "$sst" | tail -n +17 | grep -E '^[0-9]{4}'$'\t')
      done
      echo "$disc $name stream $id: spuunmux $expected, rip $ripped, list events $events"
      [ "$ripped" = "$expected" ] || fault "$disc $name stream $id: the rip has $ripped SPUs, spuunmux finds $expected"
      [ "$events" = "$ripped" ] || fault "$disc $name stream $id: $events list events for $ripped SPUs"
    done
    # ffprobe reads each rip back: per stream, the idx's times in order.
    for idx in "$subtitles"/PGC_*.idx; do
      [ -e "$idx" ] || continue
      python3 - "$idx" << 'EOF' || fault "$disc $name: ffprobe reads $(basename "$idx") otherwise (above)"
import subprocess, sys
idx = sys.argv[1]
wanted, stream = {}, None
for line in open(idx, encoding="latin-1"):
    line = line.strip()
    if line.startswith("id: "):
        stream = len(wanted)
        wanted[stream] = []
    elif line.startswith("timestamp:") and stream is not None:
        h, m, s, ms = line.split(",")[0].split(": ")[1].split(":")
        wanted[stream].append(((int(h) * 60 + int(m)) * 60 + int(s)) + int(ms) / 1000)
out = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "packet=stream_index,pts_time", "-of", "csv=p=0", idx],
                     capture_output=True, text=True, check=True).stdout
found = {}
for row in out.split():
    index, time = row.split(",")
    found.setdefault(int(index), []).append(float(time))
ok = all(sorted(found.get(k, [])) == sorted(v) or
         all(abs(a - b) < 0.0015 for a, b in zip(sorted(found.get(k, [])), sorted(v))) and len(found.get(k, [])) == len(v)
         for k, v in wanted.items())
if not ok:
    print("idx:", wanted, "ffprobe:", found)
sys.exit(0 if ok else 1)
EOF
    done
  done
done
echo "$faults faults"
[ "$faults" -eq 0 ]
