#!/usr/bin/env bash
# Runs the job over every sample disc with menu audio, with the default
# audio settings, with BeSweet's encoder off, with a PAL<->NTSC conversion
# and with delaycut's corrections on, and checks each finished AC3 file
# ("S-VV.ac3", "S-VV_CC.ac3") with ffprobe and ffmpeg alone: AC3 at 48 kHz,
# a bitrate the source, a batch line or the SoftEncode settings give, as
# long as its source and the cuts, silences and speed of its batch lines
# make it (audio-lengths.py), and decoded, a tone of the menu's audio.
# Prints one line per file and a count of faults at the end.
#   check-audio.sh BUILD_DIR FIXTURES_DIR WORK [VARIANT...]
# Variants: defaults besweet0 conversion delaycut (all by default).
set -uo pipefail
build=$1 fixtures=$2 work=$3
shift 3
variants=("$@")
[ ${#variants[@]} -eq 0 ] && variants=(defaults besweet0 conversion delaycut)
here=$(cd "$(dirname "$0")" && pwd)
faults=0
fault() { echo "FAULT: $*"; faults=$((faults + 1)); }

settings() {  # variant -> registry lines
  case $1 in
    defaults) ;;
    # With BeSweet's encoder off, SoftEncode's registry keys are cleared too:
    # both are in the hive before the run and must be gone after it.
    besweet0) printf '"BeSweet"=dword:00000000\n"DeleteRegistryKey"=dword:00000001\n\n'
      printf '[HKEY_LOCAL_MACHINE\\SOFTWARE\\Sonic Foundry\\Soft Encode]\n"Stale"="1"\n\n'
      printf '[HKEY_CURRENT_USER\\Software\\Sonic Foundry\\Soft Encode]\n"Stale"="1"\n' ;;
    conversion) printf '"Convert"=dword:00000001\n' ;;
    delaycut) printf '"AC3Correction"=dword:00000001\n"CorrectCRC"=dword:00000001\n"PadVobs"=dword:00000001\n' ;;
    *) echo "no variant is called $1" >&2; exit 2 ;;
  esac
}

# The tone of an audio file or stream: its channels mixed, the rate of
# zero crossings of the middle half (the fixtures' audio is one sine).
tone() {  # file [ffmpeg map]
  ffmpeg -v error -i "$1" ${2:+-map "$2"} -ac 1 -ar 16000 -f s16le - | python3 -c '
import sys, array
a = array.array("h", sys.stdin.buffer.read())
a = a[len(a) // 4: len(a) * 3 // 4]
c = sum(1 for i in range(1, len(a)) if (a[i - 1] < 0) != (a[i] < 0))
print(round(c / 2 / (len(a) / 16000)) if len(a) > 1600 else 0)'
}
seconds() { ffprobe -v error -show_entries format=duration -of csv=p=0 "$1"; }

for disc in "$fixtures"/*/; do
  disc=$(basename "$disc")
  # The tones of every menu's audio streams.
  tones=()
  for vob in "$fixtures/$disc"/VIDEO_TS/*_0.VOB "$fixtures/$disc"/VIDEO_TS/VIDEO_TS.VOB; do
    [ -e "$vob" ] || continue
    for index in $(ffprobe -v error -select_streams a -show_entries stream=index -of csv=p=0 "$vob"); do
      tones+=("$(tone "$vob" "0:$index")")
    done
  done
  [ ${#tones[@]} -eq 0 ] && continue
  for variant in "${variants[@]}"; do
    run="$work/$disc-$variant"
    rm -rf "$run" && mkdir -p "$run"
    settings "$variant" > "$run/settings.reg"
    KESTROVA_SAMPLE_SETTINGS="$run/settings.reg" bash "$here/run-sample-job.sh" "$build" "$fixtures" "$run" "$disc" \
      > "$run/console.out" 2>&1
    status=$?
    [ "$status" = 3 ] || { fault "$disc $variant: exit status $status"; grep 'fell short\|failed' "$run/console.out"; }
    [ "$variant" = besweet0 ] && grep -q 'SoftEncode.bat' "$run/out/Kestrova.LOG" &&
      grep -q 'Soft Encode' "$run/registry.reg" && fault "$disc $variant: SoftEncode ran, its registry keys are still there"
    # Each finished file as long as its source and its batch line make it.
    for domain in "$run"/out/D_*; do
      python3 "$here/audio-lengths.py" "$run" "$domain" | sed "s|^|$disc $variant $(basename "$domain")/|" ||
        fault "$disc $variant $(basename "$domain"): a finished file's length is off (OFF above)"
    done
    for audio in "$run"/out/D_*/DEMUXED*/[0-9]-*.ac3; do
      [ -e "$audio" ] || continue
      domain=$(dirname "$(dirname "$audio")") name=$(basename "$audio" .ac3)
      info=$(ffprobe -v error -select_streams a:0 -show_entries stream=codec_name,sample_rate,channels,bit_rate \
        -of csv=p=0 "$audio")
      length=$(seconds "$audio") heard=$(tone "$audio")
      echo "$disc $variant ${audio#"$run"/out/}: $info ${length}s ${heard}Hz"
      case $info in ac3,48000,*) ;; *) fault "$disc $variant $name: $info" ;; esac
      rates=" 192000 $(sed -n 's/^DataRate=//p' "$domain"/FRAMESERVING/SoftEncodeDVD.ini 2>/dev/null | tr -d '\r')000 "
      rates+=$(grep -ho -- '-b [0-9]*' "$domain"/FRAMESERVING/*.bat 2>/dev/null | awk '{ printf " %d000", $2 }')
      [[ "$rates " == *" ${info##*,} "* ]] || fault "$disc $variant $name: bitrate ${info##*,} not one of$rates"
      python3 -c "import sys; t = [int(x) for x in sys.argv[2:]]; sys.exit(not any(abs(int(sys.argv[1]) - x) <= x * 0.03 for x in t))" \
        "$heard" "${tones[@]}" || fault "$disc $variant $name: tone ${heard} Hz is none of the menu's (${tones[*]})"
    done
  done
done
echo "$faults faults"
[ "$faults" -eq 0 ]
