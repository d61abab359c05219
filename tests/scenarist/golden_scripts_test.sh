#!/usr/bin/env bash
# golden_scripts_test.sh BUILD_DIR FIXTURES_DIR GOLDEN_DIR [--update]
#
# Runs kestrova-cli over each fixture disc with menus, every menu ticked, in
# the native profile, and compares the Scenarist script it writes with the
# golden one, byte for byte (CR LF kept; the job's root is written @ROOT@):
#   <disc>.SCP             Scenarist 3.0 (the native profile's version)
#   <disc>-2.7.SCP         an NTSC disc again under 2.7
#   <disc>-to-ntsc.SCP     a PAL disc converted to NTSC
# Each script must also read and lint clean with kestrova-inspect --script.
# With --update the goldens are written from this run instead.
set -uo pipefail
build=$1 fixtures=$2 golden=$3 update=${4:-}
here=$(cd "$(dirname "$0")" && pwd)
run="$here/../../scripts/run-sample-job.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# check NAME DISC VERSION [SETTING LINE]
check() {
  local name=$1 disc=$2 version=$3 setting=${4:-}
  local dir="$work/$name"
  mkdir -p "$dir"
  {
    printf '[HKEY_LOCAL_MACHINE\\Software\\Sonic\\Scenarist\\Automate]\n"Active"="%s"\n' "$version"
    printf '[HKEY_CURRENT_USER\\software\\Kestrova\\settings]\n'
    [ -n "$setting" ] && printf '%s\n' "$setting"
  } > "$dir/settings.reg"
  KESTROVA_SAMPLE_SETTINGS="$dir/settings.reg" bash "$run" "$build" "$fixtures" "$dir" "$disc" > "$dir/cli.out" 2>&1
  local status=$?
  local digits=${version/./}
  local script
  script=$(find "$dir/out" -name "ScenaristScript${digits}_1.SCP" 2>/dev/null | head -1)
  if [ -z "$script" ]; then
    fail "$name: no script written (kestrova-cli exit $status)"; tail -20 "$dir/cli.out"; return
  fi
  # The job's root as the script names it: K:\out.
  local made="$dir/$name.SCP"
  sed 's/K:\\out/@ROOT@/g' "$script" > "$made"
  if ! KESTROVA_DRIVES="K:=$dir" "$build/kestrova-inspect" --script "$script" > "$dir/lint.out" 2>&1; then
    fail "$name: the script does not lint clean"; head -20 "$dir/lint.out"
  fi
  if [ "$update" = --update ]; then
    cp "$made" "$golden/$name.SCP"
  elif ! cmp -s "$made" "$golden/$name.SCP"; then
    fail "$name: the script differs from $golden/$name.SCP"
    diff <(tr -d '\r' < "$golden/$name.SCP") <(tr -d '\r' < "$made") | head -20
  fi
  echo "$name: checked"
}

for disc in "$fixtures"/*/; do
  disc=$(basename "$disc")
  [ "$disc" = pal-titles-only-lpcm ] && continue
  [ -d "$fixtures/$disc/VIDEO_TS" ] || continue
  check "$disc" "$disc" 3.0
done
check ntsc-vts-menus-2lang-2.7 ntsc-vts-menus-2lang 2.7
check pal-vmg-buttons-to-ntsc pal-vmg-buttons 3.0 '"Convert"=dword:00000001'
exit $((failures > 0))
