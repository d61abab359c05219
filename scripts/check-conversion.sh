#!/usr/bin/env bash
# Runs the job with a format conversion (Convert=1, the default scripts:
# audio stretched) over a PAL and an NTSC sample disc and checks each
# stream in D_*/NEW_M2V with outside tools only: the other standard's
# picture size and rate, drop_frame_flag set in every group header for NTSC
# and clear for PAL, as many pictures as the source asset, and a PSNR
# of at least 30 dB against ffmpeg's own lanczos scaling of the source.
# Prints one line per stream and a count of faults at the end.
#   check-conversion.sh BUILD_DIR FIXTURES_DIR WORK
set -uo pipefail
build=$1 fixtures=$2 work=$3
here=$(cd "$(dirname "$0")" && pwd)
faults=0
fault() { echo "FAULT: $*"; faults=$((faults + 1)); }
mkdir -p "$work"
work=$(cd "$work" && pwd)
printf '"Convert"=dword:00000001\n' > "$work/convert.reg"

frames() {
  ffprobe -v error -count_frames -select_streams v:0 -show_entries stream=nb_read_frames -of default=nw=1:nk=1 "$1" | head -1
}

for case in "pal-vmg-buttons 720x480 30000/1001 1" "ntsc-vts-menus-2lang 720x576 25/1 0"; do
  read -r disc size rate drop <<< "$case"
  run="$work/$disc"
  rm -rf "$run" && mkdir -p "$run"
  KESTROVA_SAMPLE_SETTINGS="$work/convert.reg" bash "$here/run-sample-job.sh" "$build" "$fixtures" "$run" "$disc" \
    > "$run/console.out" 2>&1
  status=$?
  [ "$status" = 3 ] || { fault "$disc: exit status $status"; tail -5 "$run/console.out"; continue; }
  count=0
  for stream in "$run"/out/D_*/NEW_M2V/*.m2v; do
    [ -e "$stream" ] || continue
    name=$(basename "$stream" .m2v) domain=$(dirname "$(dirname "$stream")")
    source=$(ls "$domain"/DEMUXED_CELLID/"$name".M2V "$domain"/DEMUXED/"$name".M2V 2> /dev/null | head -1)
    label="$disc $(basename "$domain")/$name"
    got=$(ffprobe -v error -select_streams v:0 -show_entries stream=width,height,r_frame_rate \
      -of default=nw=1:nk=1 "$stream" | paste -sd,)
    [ "$got" = "${size%x*},${size#*x},$rate" ] || fault "$label: $got, expected $size at $rate"
    # The group headers' 25-bit time codes as ffmpeg reads them; the top bit is drop_frame_flag.
    codes=$(ffmpeg -nostdin -hide_banner -i "$stream" -c copy -bsf:v trace_headers -f null - 2>&1 |
      sed -n 's/.* time_code .* = \([0-9]*\)$/\1/p')
    [ -n "$codes" ] || fault "$label: no group headers"
    for code in $codes; do
      [ $((code >> 24)) = "$drop" ] || { fault "$label: a group's drop_frame_flag is not $drop"; break; }
    done
    [ -n "$source" ] || { fault "$label: no source asset"; continue; }
    [ "$(frames "$stream")" = "$(frames "$source")" ] ||
      fault "$label: $(frames "$stream") pictures, the source $(frames "$source")"
    psnr=$(ffmpeg -nostdin -hide_banner -i "$stream" -i "$source" -filter_complex \
      "[1:v]scale=${size%x*}:${size#*x}:flags=lanczos,setpts=N[ref];[0:v]setpts=N[out];[out][ref]psnr" \
      -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([0-9.inf]*\).*/\1/p')
    awk -v p="$psnr" 'BEGIN { exit !(p == "inf" || p + 0 >= 30) }' || fault "$label: PSNR $psnr dB"
    echo "$label: $got, $(frames "$stream") pictures, PSNR $psnr dB, drop_frame_flag $drop"
    count=$((count + 1))
  done
  [ "$count" -gt 0 ] || fault "$disc: no stream in NEW_M2V"
done
echo "$faults faults"
[ "$faults" -eq 0 ]
