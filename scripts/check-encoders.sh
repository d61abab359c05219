#!/usr/bin/env bash
# Runs the job with every encoder choice over every sample disc that has
# menus, all assets encoded (threshold 1 frame, stills too), and checks
# each encoded stream with ffprobe: MPEG-2, 720 wide, the height and rate
# of the disc, a display aspect of 4:3 or 16:9, not the original's bytes,
# and the frames the run log says it should hold (encoders whose output
# the job does not check itself). Prints one line per stream and a count of faults at the end.
#   check-encoders.sh BUILD_DIR FIXTURES_DIR WORK [ENCODER...]
# Encoders: eclcce cce27 basic procoder quenc hc rejig (all by default).
set -uo pipefail
build=$1 fixtures=$2 work=$3
shift 3
encoders=("$@")
[ ${#encoders[@]} -eq 0 ] && encoders=(eclcce cce27 basic procoder quenc hc rejig)
here=$(cd "$(dirname "$0")" && pwd)
faults=0
fault() { echo "FAULT: $*"; faults=$((faults + 1)); }

settings() {  # encoder -> the registry lines that choose it
  case $1 in
    eclcce) printf '"UseCCE"=dword:00000001\n"CCEPath"="C:\\\\CCE\\\\cctsp.exe"\n' ;;
    cce27) printf '"UseCCE"=dword:00000001\n"CCEPath"="C:\\\\CCE\\\\cctspt.exe"\n' ;;
    basic) printf '"UseCCE"=dword:00000001\n"CCEPath"="C:\\\\CCE\\\\cct2.exe"\n' ;;
    procoder) printf '"UseProcoder"=dword:00000001\n"ProcoderPath"="C:\\\\Procoder\\\\EclPro.exe"\n' ;;
    quenc) printf '"UseQuenc"=dword:00000001\n"QuencPath"="C:\\\\QuEnc\\\\QuEnc.exe"\n' ;;
    hc) printf '"UseHC"=dword:00000001\n"HCPath"="C:\\\\HC\\\\HCbatch_015a.exe"\n' ;;
    rejig) printf '"UseRejig"=dword:00000001\n"RejigPath"="C:\\\\Rejig\\\\Rejig.exe"\n' ;;
    *) echo "no encoder is called $1" >&2; exit 2 ;;
  esac
}

probe() { ffprobe -v error -f mpegvideo -count_frames -select_streams v:0 -of csv=p=0 \
  -show_entries stream=codec_name,width,height,r_frame_rate,display_aspect_ratio,nb_read_frames "$1" | head -1; }

for disc in "$fixtures"/*/; do
  disc=$(basename "$disc")
  [ "$disc" = pal-titles-only-lpcm ] && continue
  for encoder in "${encoders[@]}"; do
    run="$work/$disc-$encoder"
    rm -rf "$run" && mkdir -p "$run"
    # The sample's settings encode every asset, stills too; these choose the encoder.
    { printf '"UseCCE"=dword:00000000\n'; settings "$encoder"; } > "$run/settings.reg"
    KESTROVA_SAMPLE_SETTINGS="$run/settings.reg" bash "$here/run-sample-job.sh" "$build" "$fixtures" "$run" "$disc" \
      -- /STAR /DRIV=D '/PATH=K:\out' /THRE=1000 /AVEB=6000 /COMP=50 > "$run/console.out" 2>&1
    status=$?
    log="$run/out/Kestrova.LOG"
    [ "$status" = 3 ] || { fault "$disc $encoder: exit status $status"; continue; }
    grep -q 'ENCODING HAS FAILED\|MakeECL is not yet available' "$log" &&
      fault "$disc $encoder: the encoding failed or was passed over"
    case $disc in ntsc*) size=720,480 rate=30000/1001 ;; *) size=720,576 rate=25/1 ;; esac
    streams=0
    for stream in "$run"/out/D_*/NEW_M2V/*.m2v; do
      [ -e "$stream" ] || continue
      name=$(basename "$stream" .m2v)
      original=$(ls "$(dirname "$stream")"/../DEMUXED*/"$name".M2V 2>/dev/null | head -1)
      [ -n "$original" ] && cmp -s "$stream" "$original" && { fault "$disc $encoder: $name is the original"; continue; }
      info=$(probe "$stream")
      echo "$disc $encoder $name: $info"
      case $info in mpeg2video,$size,4:3,$rate,* | mpeg2video,$size,16:9,$rate,*) ;;
        *) fault "$disc $encoder: $name is $info" ;; esac
      streams=$((streams + 1))
    done
    # Rejig requantises motion video only; a disc of still menus gives it nothing.
    if [ "$streams" = 0 ] && ! { [ "$encoder" = rejig ] && [ ! -s "$run/out/ECLs/Rejig.txt" ]; }; then
      fault "$disc $encoder: no encoded stream"
    fi
    # What the log says each stream should hold, where it says it.
    while read -r line; do
      fault "$disc $encoder: $line"
    done < <(grep 'frames expected, ' "$log" | grep -v ': \([0-9]*\) frames expected, \1 found')
  done
done
echo "$faults faults"
[ "$faults" -eq 0 ]
