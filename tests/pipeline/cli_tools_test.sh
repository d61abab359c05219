#!/usr/bin/env bash
# kestrova-cli as a new user meets it: the README's real-disc command with
# nothing but KESTROVA_DRIVES set, the tool profiles and overrides with
# their listing and their refusals, and the Windows programs run through a
# wine found on PATH.
#   cli_tools_test.sh BUILD_DIR FIXTURES_DIR
set -uo pipefail
build=$1 fixtures=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
cli="$build/kestrova-cli"
disc="$fixtures/ntsc-vts-menus-2lang"

# 1. The recipe, word for word, from a folder of the user's, with a relative
#    output folder: the run happens, its logs are in the output folder,
#    nothing is written beside the program.
#    The program runs from a folder of its own, laid out as the build's:
#    the other tests' runs write their settings' files beside the build's.
mkdir -p "$work/home/jobs" "$work/bin" "$work/program"
for file in kestrova-cli kestrova-standin kestrova-author; do
  ln "$build/$file" "$work/program/" 2> /dev/null || cp "$build/$file" "$work/program/"
done
cp -r "$build/new.avs" "$build"/PAL.bmp "$build"/NTSC.bmp "$build"/PAL.mpv "$build"/NTSC.mpv "$work/program/"
before=$(ls "$work/program")
( cd "$work/home/jobs" && env -i HOME="$work/home" PATH=/usr/bin:/bin KESTROVA_DRIVES="D:=$disc@cdrom" \
    "$work/program/kestrova-cli" /STAR /DRIV=D /PATH="kestrova-out" /THRE=1000 /AVEB=6000 ) > "$work/recipe.out" 2>&1
status=$?
out="$work/home/jobs/kestrova-out"
[ $status = 3 ] || { fail "recipe: exit status $status (3: finished, stages passed over)"; cat "$work/recipe.out"; }
[ -s "$out/Kestrova.LOG" ] && [ -s "$out/Kestrova_Recovery.LOG" ] || fail "recipe: the logs are not in $out"
grep -q '^REGEDIT4' "$work/home/.config/kestrova/registry.reg" || fail "recipe: the settings were not saved"
ls "$out"/D_VTS_01_0/DEMUXED*/*.M2V > /dev/null 2>&1 || fail "recipe: no demultiplexed video in $out/D_VTS_01_0"
[ -s "$work/home/.local/state/kestrova/Kestrova.LOG" ] || fail "recipe: the start's log is not in the state folder"
[ "$(ls "$work/program")" = "$before" ] || fail "recipe: files were written beside the program"
grep -q 'Error in\|Z:\\' "$work/recipe.out" && { fail "recipe: trace or drive-path noise on the console"; cat "$work/recipe.out"; }

# 2. The listing in the native profile, with one override.
printf '#!/bin/sh\necho "$0 $*" >> "%s/calls"\n' "$work" > "$work/bin/recorder"
chmod +x "$work/bin/recorder"
KESTROVA_TOOL_OVERRIDES="vobtest.exe=$work/bin/recorder" "$cli" --tools > "$work/native.out" 2>&1 ||
  fail "--tools exited non-zero"
listed() {  # what runs, why
  grep -A1 -x "  $1" "$work/native.out" | grep -qF "$2" || { fail "--tools: $1"; cat "$work/native.out"; }
}
listed "PgcDemux.exe: $build/kestrova-standin --tool PgcDemux" 'native equivalent'
listed "vobtest.exe: $work/bin/recorder" KESTROVA_TOOL_OVERRIDES
listed "revpulldown.exe: $build/kestrova-standin --tool revpulldown" 'native equivalent'
listed "Muxman.exe: $build/kestrova-author" 'native equivalent'

# 3. Bad settings: a message naming the entry, exit status 2, nothing made.
bad() {  # name, message, environment...
  local name=$1 message=$2 status
  shift 2
  env "$@" KESTROVA_DRIVES="D:=$disc@cdrom" "$cli" /STAR /DRIV=D "/PATH=$work/$name" > "$work/$name.out" 2>&1
  status=$?
  [ $status = 2 ] || fail "$name: exit status $status"
  grep -qF -- "$message" "$work/$name.out" || { fail "$name: message"; cat "$work/$name.out"; }
  [ -e "$work/$name" ] && fail "$name: the output folder was made"
}
bad profile 'KESTROVA_TOOLS="dos"' KESTROVA_TOOLS=dos
bad noequals 'The entry "vobtest.exe" of KESTROVA_TOOL_OVERRIDES lacks' KESTROVA_TOOL_OVERRIDES='vobtest.exe'
bad missing "The entry \"vobtest.exe=$work/none\" of KESTROVA_TOOL_OVERRIDES names a program that is not there" \
  KESTROVA_TOOL_OVERRIDES="vobtest.exe=$work/none"
bad nowine 'apt-get install wine' KESTROVA_TOOLS=windows PATH="$work/empty-path"

# 4. The windows profile: the program folder's DVD Decrypter, a Windows
#    program, runs through the wine on PATH, which records its arguments.
export KESTROVA_REGISTRY="$work/registry.reg" KESTROVA_PROGRAM_FOLDER="$work/program"
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Sonic\\Scenarist\\Automate]\n"Active"="3.0"\n' > "$KESTROVA_REGISTRY"
KESTROVA_DRIVES="K:=$work" "$build/kestrova-standin" --tool program-folder 'K:\program'
ln -s recorder "$work/bin/wine"
PATH="$work/bin:$PATH" KESTROVA_TOOLS=windows KESTROVA_DRIVES="K:=$work" "$cli" --tools > "$work/windows.out" 2>&1
grep -qF "DVDDecrypter.exe: $work/bin/wine $work/program/DVD Decrypter/DVDDecrypter.exe" "$work/windows.out" ||
  { fail "--tools in the windows profile"; cat "$work/windows.out"; }
PATH="$work/bin:$PATH" KESTROVA_TOOLS=windows KESTROVA_DRIVES="D:=$disc@cdrom;K:=$work" \
  "$cli" /STAR /DRIV=D "/PATH=$work/viawine" /THRE=1000 > "$work/viawine.out" 2>&1
grep -q "^$work/bin/wine $work/program/DVD Decrypter/DVDDecrypter.exe /MODE FILE " "$work/calls" ||
  { fail "wine: DVD Decrypter was not run through wine"; cat "$work/calls" "$work/viawine.out"; }

echo "$failures failed"
[ "$failures" -eq 0 ]
