#!/usr/bin/env bash
# Runs kestrova-cli over one fixture disc with settings of its own, all
# under WORK: the disc is drive D:, WORK is drive K:, and the result lands
# in K:\out (WORK/out). The outside tools run as their native equivalents,
# as on any Linux machine. Exits with kestrova-cli's status (see
# kestrova-cli --help).
#   run-sample-job.sh BUILD_DIR FIXTURES_DIR WORK [DISC] [-- EXTRA CLI ARGUMENTS]
set -euo pipefail

build=$1 fixtures=$2 work=$3 disc=${4:-pal-vmg-buttons}
shift $(( $# < 4 ? $# : 4 ))
[ "${1:-}" = "--" ] && shift

mkdir -p "$work"
work=$(cd "$work" && pwd)

# The settings: saved settings in use, the run log on, the assets processed,
# and every asset re-encoded (a threshold of one frame, stills too) by CCE
# 2.7, whose native equivalent encodes with ffmpeg.
cat > "$work/registry.reg" <<'HIVE'
REGEDIT4

[HKEY_CURRENT_USER\software\Kestrova\settings]
"Save_Settings"=dword:00000002
"LOG_File"=dword:00000001
"Compile_Option"=dword:00000003
"ProcessAssets"=dword:00000001
"UseCCE"=dword:00000001
"CCEPath"="C:\\CCE\\cctspt.exe"
"VobCell_Threshold"=dword:00000000
"EncodeStills"=dword:00000001
HIVE
# KESTROVA_SAMPLE_SETTINGS names a file of further setting lines (as above),
# which take the place of those of the same name.
if [ -n "${KESTROVA_SAMPLE_SETTINGS:-}" ]; then
  tr -d '\r' < "$KESTROVA_SAMPLE_SETTINGS" >> "$work/registry.reg"
fi

export KESTROVA_DRIVES="D:=$fixtures/$disc@cdrom;K:=$work"
export KESTROVA_REGISTRY="$work/registry.reg"
export XDG_STATE_HOME="$work/state"
# A command-line start takes the encoder's average bitrate from /AVEB.
if [ $# -eq 0 ]; then
  set -- /STAR /DRIV=D '/PATH=K:\out' /THRE=1000 /AVEB=6000
fi
exec "$build/kestrova-cli" "$@"
