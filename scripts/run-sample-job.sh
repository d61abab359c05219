#!/usr/bin/env bash
# Runs kestrova-cli over one fixture disc with a program folder and settings
# of its own, all under WORK: the disc is drive D:, WORK is drive K:, and
# the result lands in K:\out (WORK/out). Exits with kestrova-cli's status
# (see kestrova-cli --help).
#   run-sample-job.sh BUILD_DIR FIXTURES_DIR WORK [DISC] [-- EXTRA CLI ARGUMENTS]
set -euo pipefail

build=$1 fixtures=$2 work=$3 disc=${4:-pal-vmg-buttons}
shift $(( $# < 4 ? $# : 4 ))
[ "${1:-}" = "--" ] && shift

mkdir -p "$work"
work=$(cd "$work" && pwd)

# The settings: saved settings in use, the run log on, Scenarist present
# (its automation value).
cat > "$work/registry.reg" <<'HIVE'
REGEDIT4

[HKEY_CURRENT_USER\software\Kestrova\settings]
"Save_Settings"=dword:00000002
"LOG_File"=dword:00000001
"Compile_Option"=dword:00000003
"ProcessAssets"=dword:00000001

[HKEY_LOCAL_MACHINE\Software\Sonic\Scenarist\Automate]
"Active"="3.0"
HIVE

export KESTROVA_DRIVES="D:=$fixtures/$disc@cdrom;K:=$work"
export KESTROVA_REGISTRY="$work/registry.reg"
export KESTROVA_PROGRAM_FOLDER="$work/program"
# The tools the checks look for, from the tool table; DVD Decrypter's
# registry value names the folder it gets there.
"$build/kestrova-standin" --tool program-folder 'K:\program'
if [ $# -eq 0 ]; then
  set -- /STAR /DRIV=D '/PATH=K:\out' /THRE=1000
fi
exec "$build/kestrova-cli" "$@"
