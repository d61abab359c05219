#!/usr/bin/env bash
# kestrova-cli from the outside: a token start and an INI start over a real
# disc, each checked by its run log's banners, its journal's marks and its
# summary; copies of the disc whose menu VOB is cut short, full of random
# bytes, or demultiplexed with a VOB id missing, or whose IFO and backup
# point outside the file, each a failed stage; then
# a missing source, with its message and exit status.
#   cli_e2e_test.sh BUILD_DIR FIXTURES_DIR
set -uo pipefail
build=$1 fixtures=$2
here=$(cd "$(dirname "$0")" && pwd)
run="$here/../../scripts/run-sample-job.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# The banner titles of a run log, trimmed, one a line.
banners() { sed -n 's/^[^\t]*\t|\(.*\)|\r\{0,1\}$/\1/p' "$1" | sed 's/^ *//; s/ *$//'; }
journal() { tr -d '\r' < "$1"; }

expected_banners='VERSION NUMBER
PREFFERED SETTINGS
SCANNING AVISYNTH SCRIPTS
VIDEO INFORMATION
AUDIO INFORMATION
PGC INFORMATION
DUMMY VOB SCAN
VIDEO INFORMATION
PGC INFORMATION
DUMMY VOB SCAN
PROCESSING VIDEO_TS.VOB
SUBSCAN
CONVERT SUBS
PROCESS SST
VOBPARSE
PROCESSING VTS_01_0.VOB
SUBSCAN
CONVERT SUBS
PROCESS SST
VOBPARSE
PREPARING SCENARIST FILES
CREATING SCENARIST SCRIPT
RUN SUMMARY'

# No line of a run log may claim what this version does not do.
no_success() {  # name, run log
  grep -E 'ENCODING APPEARS SUCCESSFUL|REAUTHORING COMPLETE' "$2" && fail "$1: a success line in the run log"
}

# The encoding ran and was found whole at once; every asset it encoded is an
# MPEG-2 stream of 720x576 in NEW_M2V, with the frames its script serves.
encoded() {  # name, output folder
  grep -q 'ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT' "$2/Kestrova.LOG" || fail "$1: no encoding verdict"
  grep -q 'REAUTHORING COMPLETE' "$2/Kestrova.LOG" && fail "$1: a re-authoring success line"
  local stream streams=0
  for stream in "$2"/D_*/NEW_M2V/*.m2v; do
    ffprobe -v error -f mpegvideo -select_streams v:0 -show_entries stream=codec_name,width,height -of csv=p=0 "$stream" |
      grep -qx 'mpeg2video,720,576,\{0,1\}' || fail "$1: $stream is no 720x576 MPEG-2 stream"
    streams=$((streams + 1))
  done
  [ "$streams" = 4 ] || fail "$1: $streams encoded streams, expected 4"
}

# A run that demultiplexed and typed every menu and passed the later stages
# over: exit status 3, the marks of what ran, and the summary on the console.
check_run() {  # name, exit status, console output, output folder
  local name=$1 status=$2 console=$3 out=$4
  [ "$status" = 3 ] || { fail "$name: exit status $status"; cat "$console"; }
  [ "$(banners "$out/Kestrova.LOG")" = "$expected_banners" ] ||
    { fail "$name: banners"; diff <(echo "$expected_banners") <(banners "$out/Kestrova.LOG"); }
  local marks stages="DEMUXED VOB ID,VOBSUB,VSCONV,DVD2AVI,PROCESSASSETS"
  marks=$(journal "$out/Kestrova_Recovery.LOG" | grep -v '^#' | tr '\n' ,)
  [ "$marks" = "-----,VID,$stages,-----,VTS1,$stages,MPV ENCODED," ] || fail "$name: journal marks were: $marks"
  journal "$out/Kestrova_Recovery.LOG" | grep -qx '#VTS_01_0.VOB' || fail "$name: journal head lacks the menus"
  encoded "$name" "$out"
  # The frame serving ran: each asset's script beside its project and log.
  grep -E '(EnableScenes|NewDVD2AVIProc|ForceD2V)[^ ]* is not yet available' "$out/Kestrova.LOG" &&
    fail "$name: a frame-serving stage passed over"
  local avs scripts=0
  for avs in "$out"/D_*/FRAMESERVING/*.avs; do
    [ -s "${avs%.avs}.d2v" ] && [ -s "${avs%.avs}.log" ] || fail "$name: $avs without its project or log"
    scripts=$((scripts + 1))
  done
  [ "$scripts" -ge 4 ] || fail "$name: $scripts scripts in FRAMESERVING"
  local line
  for line in 'demultiplexing: done' 'VOB typing: done' 'audio: done' 'encoding: done' \
      'authoring: passed over, not yet available in this version (StartAuthoring)' \
      'The run finished, but the stages passed over did not do their work' \
      "Demultiplexed assets: $out/D_VTS_01_0" "Output VIDEO_TS: $out/VIDEO_TS (empty)"; do
    grep -qF "      $line" "$console" || fail "$name: the summary lacks \"$line\""
  done
  # The outside programs' time, the encoder's among them.
  grep -qE '^.{8}      Outside programs: [0-9]+ runs, [0-9.]+ s \(processor [0-9.]+ s\)$' "$console" &&
    grep -qE '^.{8}        cctspt\.exe: [0-9]+ runs?, ' "$console" ||
    fail "$name: the summary lacks the outside programs' time"
}

# 1. Tokens, as another program starts the job, into a folder whose name
#    holds a blank and a "-", which the audio batches pass on.
bash "$run" "$build" "$fixtures" "$work/tokens" pal-vmg-buttons -- /STAR /DRIV=D '/PATH=K:\My Job-1' /THRE=1000 /AVEB=6000 \
  > "$work/tokens.out" 2>&1
check_run tokens $? "$work/tokens.out" "$work/tokens/My Job-1"

# 2. An INI file names the drive, the folder and the menus.
mkdir -p "$work/ini"
printf '*DRIVE D\r\n*WORKINGFOLDER K:\\from_ini\r\n*AVERAGEBITRATE 6000\r\n-VIDEOTS ALL\r\n-VTS_01_0 ALL\r\n' > "$work/ini/job.ini"
bash "$run" "$build" "$fixtures" "$work/ini" pal-vmg-buttons -- /INIFILE "$work/ini/job.ini" > "$work/ini.out" 2>&1
check_run ini $? "$work/ini.out" "$work/ini/from_ini"

# The encoding's retries, on lists of three assets. A CCE that dies after
# two items of a list leaves the third cut short: it alone is listed again
# and encoded at the second attempt. One that never encodes: the originals,
# byte for byte, after four attempts; in a format conversion the job ends.
retried() {  # name, fail switch, extra setting line, exit status expected
  local name=$1 status
  mkdir -p "$work/$name"
  printf '"ECLAssets"=dword:00000002\n%s\n' "$3" > "$work/$name/settings.reg"
  KESTROVA_STANDIN_FAIL=$2 KESTROVA_SAMPLE_SETTINGS="$work/$name/settings.reg" \
    bash "$run" "$build" "$fixtures" "$work/$name" > "$work/$name.out" 2>&1
  status=$?
  [ "$status" = "$4" ] || { fail "$name: exit status $status"; tail -20 "$work/$name.out"; }
}
retried dies CCE=dieafter:2 '' 3
log="$work/dies/out/Kestrova.LOG"
grep -q 'RETRY ENCODING 2ND RUN' "$log" && grep -q 'ENCODING APPEARS SUCCESSFUL AT 2ND ATTEMPT' "$log" ||
  fail "dies: no second attempt that succeeded"
[ "$(grep -c '^title=' "$work/dies/out/ECLs/CCE1.ecl")" = 3 ] || fail "dies: the first list does not hold three items"
grep -q 'ASSETS WERE NOT ENCODED - RECREATED ECL FILE TO RETRY RUN#1' "$log" || fail "dies: no repair list"
retried never CCE=fail '' 3
grep -q 'ENCODING HAS FAILED AFTER 4 ATTEMPTS - USING ORIGINALS' "$work/never/out/Kestrova.LOG" ||
  fail "never: the originals were not used"
for stream in "$work"/never/out/D_*/NEW_M2V/*.m2v; do
  original=$(ls "$(dirname "$stream")"/../DEMUXED*/"$(basename "$stream" .m2v)".M2V)
  cmp -s "$stream" "$original" || fail "never: $stream is not its original"
done
retried conversion CCE=fail '"Convert"=dword:00000001' 1
grep -q 'ENCODING HAS FAILED AFTER 4 ATTEMPTS - ABORTING DUE TO FORMAT CONVERSION' \
  "$work/conversion/out/Kestrova.LOG" || fail "conversion: the job did not end"
grep -q 'USING ORIGINALS' "$work/conversion/out/Kestrova.LOG" && fail "conversion: originals were used"

# A run that fails at a stage: exit status 1, the failure on standard error
# and in the summary, nothing typed after it and no success line.
failed_run() {  # name, fixtures folder, stage, problem text, typing lines expected in the run log
  local name=$1 out="$work/$1/out" stage=$3 status
  bash "$run" "$build" "$2" "$work/$name" > "$work/$name.out" 2> "$work/$name.err"
  status=$?
  [ "$status" = 1 ] || { fail "$name: exit status $status"; cat "$work/$name.out" "$work/$name.err"; }
  grep -F "kestrova-cli: $stage failed: " "$work/$name.err" | grep -qF "$4" ||
    { fail "$name: standard error does not name the failure"; cat "$work/$name.err"; }
  grep -qF "      $stage: FAILED - " "$work/$name.out" || fail "$name: the summary lacks the failure"
  grep -qF "      The run FAILED at $stage and ended there." "$work/$name.out" ||
    fail "$name: the summary does not say how the run ended"
  no_success "$name" "$out/Kestrova.LOG"
  local typed
  typed=$(grep -cE 'Final VOBTYPE|VobType for' "$out/Kestrova.LOG")
  [ "$typed" = "$5" ] || fail "$name: $typed VOB ids typed, expected $5"
}

# 3. The title set's menu VOB cut to half its length. 4. The same VOB filled
# with random bytes. Each fails before it is split; the VMG before it was typed.
damaged() {  # name; the rest is the command that damages the copy (VOB, IFO, BUP of the title set)
  local name=$1 disc="$work/$1-disc/pal-vmg-buttons"
  shift
  mkdir -p "$disc" && cp -r "$fixtures/pal-vmg-buttons/VIDEO_TS" "$disc/" && chmod -R u+w "$disc"
  local set="$disc/VIDEO_TS/VTS_01_0"
  VOB="$set.VOB" IFO="$set.IFO" BUP="$set.BUP" SIZE=$(stat -c %s "$set.VOB") bash -c "$*"
  echo "$work/$name-disc"
}
failed_run truncated "$(damaged truncated 'truncate -s $((SIZE / 2)) "$VOB"')" demultiplexing \
  '/VIDEO_TS/VTS_01_0.VOB (D:\VIDEO_TS\VTS_01_0.VOB) is cut short: it holds ' 2
failed_run random "$(damaged random 'head -c "$SIZE" /dev/urandom > "$VOB.new" && mv "$VOB.new" "$VOB"')" \
  demultiplexing 'Cannot read the program stream "D:\VIDEO_TS\VTS_01_0.VOB" at byte 0' 2

# 5. DVD Decrypter stops halfway through the VMG's menu VOB, so a VOB id the
# IFO names leaves no file: nothing is typed.
KESTROVA_STANDIN_FAIL=DVDDecrypter=partial failed_run missing "$fixtures" demultiplexing \
  '/VIDEO_TS/VIDEO_TS.VOB (D:\VIDEO_TS\VIDEO_TS.VOB), named in its IFO, has no demultiplexed video' 0

# 6. The title set's IFO and its backup name a table (VTS_PTT_SRPT, byte 200)
# far beyond their end: the reader's refusal is the failure of reading the disc.
failed_run ifo "$(damaged ifo 'for f in "$IFO" "$BUP"; do printf "\377\377\377\377" |
  dd of="$f" bs=1 seek=200 conv=notrunc status=none; done')" 'reading the disc' \
  'D:\VIDEO_TS\VTS_01_0.IFO: VTS_PTT_SRPT' 0

# 7. SoftEncode makes nothing: the audio stage falls short of the VMG menu's
# AC3 file, and the run goes on to its end, which it does not call complete.
KESTROVA_STANDIN_FAIL=SoftEncode=fail bash "$run" "$build" "$fixtures" "$work/nosound" > "$work/nosound.out" \
  2> "$work/nosound.err"
status=$?
[ "$status" = 1 ] || fail "nosound: exit status $status"
grep -qF "kestrova-cli: audio fell short: 1 of the 1 audio files in $work/nosound/out/D_VIDEO_TS were not made" \
  "$work/nosound.err" || { fail "nosound: standard error does not name the missing file"; cat "$work/nosound.err"; }
grep -qF '      audio: FELL SHORT - ' "$work/nosound.out" && grep -qF '      hand-over: ' "$work/nosound.out" &&
  grep -qF '      The run finished, but the stages that fell short' "$work/nosound.out" ||
  fail "nosound: the summary lacks the shortfall or the run's end"

# A refused start: exit status 1 and the message.
refused() {  # name, drive D: host folder, output folder under K:, message
  local name=$1 status
  KESTROVA_DRIVES="D:=$2@cdrom;K:=$work/tokens" KESTROVA_REGISTRY="$work/tokens/registry.reg" \
    XDG_STATE_HOME="$work/state" "$build/kestrova-cli" /STAR /DRIV=D "/PATH=K:\\$3" > "$work/$name.out" 2>&1
  status=$?
  [ "$status" = 1 ] || fail "$name: exit status $status"
  grep -qF "$4" "$work/$name.out" || { fail "$name: message"; cat "$work/$name.out"; }
}

# 3. A source drive without a disc.
mkdir -p "$work/empty"
refused nosource "$work/empty" none "The source folder $work/empty/VIDEO_TS (D:\\VIDEO_TS) does not exist"
[ -e "$work/tokens/none" ] && fail "an output folder was made for the refused start"

echo "$failures failed"
[ "$failures" -eq 0 ]
