#!/usr/bin/env bash
# golden_scripts_test.sh BUILD_DIR FIXTURES_DIR GOLDEN_DIR [--update]
#
# Runs kestrova-cli over fixture discs with Muxman as the authoring engine,
# every menu ticked, in the native profile, and compares what the Muxman
# writer leaves with the goldens, byte for byte (CR LF kept; the job's root
# is written @ROOT@):
#   <name>.MXP        the FULL script (SingleMXP 1) with ScenaidMode 1, so
#                     no engine runs; Scenaid.dat is checked against the
#                     size estimate worked out here from the script and the
#                     files it names (frames counted by ffprobe)
#   <name>-multi.MXP  every small script (SingleMXP 0), one after another,
#                     each behind a line "### <its path>"
#   <name>-multi.commands  the command lines the small scripts were run
#                     with, from the run log (the program folder written
#                     @PROGRAM@); fake_muxman.sh stands in for the engine
#                     and leaves the VIDEO_TS.IFO a run would
# Every script must also read and lint without an error (kestrova-inspect
# --script); a small script's notes of targets outside it are allowed.
# With --update the goldens are written from this run instead.
set -uo pipefail
build=$1 fixtures=$2 golden=$3 update=${4:-}
here=$(cd "$(dirname "$0")" && pwd)
run="$here/../../scripts/run-sample-job.sh"
work=$(mktemp -d)
trap '[ -n "${KEEP_WORK:-}" ] || rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

compare() {
  local made=$1 name=$2
  if [ "$update" = --update ]; then
    cp "$made" "$golden/$name"
  elif ! cmp -s "$made" "$golden/$name"; then
    fail "$name differs from $golden/$name"
    diff <(tr -d '\r' < "$golden/$name") <(tr -d '\r' < "$made") | head -20
  fi
}

# lint DIR SCRIPT: the script reads back and lints without an error.
lint() {
  if ! KESTROVA_DRIVES="K:=$1" "$build/kestrova-inspect" --script "$2" > "$1/lint.out" 2>&1; then
    fail "$2 does not lint clean"; grep -v ': note: ' "$1/lint.out" | head -10
  fi
}

# job NAME DISC SETTING_LINES...: one run with Muxman chosen.
job() {
  local name=$1 disc=$2
  shift 2
  local dir="$work/$name"
  mkdir -p "$dir"
  {
    printf '[HKEY_CURRENT_USER\\software\\Kestrova\\settings]\n"Muxman"=dword:00000001\n'
    printf '%s\n' "$@"
  } > "$dir/settings.reg"
  KESTROVA_SAMPLE_SETTINGS="$dir/settings.reg" bash "$run" "$build" "$fixtures" "$dir" "$disc" > "$dir/cli.out" 2>&1
}

# The size estimate of each domain, by the writer's formula: per segment of
# a VOB, (bytes / 2012 + round(frames / GOP)) sectors, the bytes those of
# the video and audio files plus 4096 a subpicture, the frames a "Video"
# VOB's (ffprobe's count), 12 (PAL) or 15 a still, the GOP 15 frames.
expected_sizes() {
  python3 - "$1" "$2" "$3" <<'PY'
import re, subprocess, sys
script, root, gop = sys.argv[1], sys.argv[2], int(sys.argv[3])
host = lambda p: root + p.split(':', 1)[1].replace('\\', '/')
lines = [l.rstrip('\r\n') for l in open(script, encoding='latin-1')]
sizes, seg = {}, None
def close(seg):
    if seg is None or seg['name'].startswith('Dummy'):
        return
    m = re.match(r'(VMG|VTS(\d+))_VOBID', seg['name'])
    domain = 'VMG' if m.group(1) == 'VMG' else 'VTS%03d' % int(m.group(2))
    groups = round(seg['frames'] / gop)
    sizes[domain] = sizes.get(domain, 0) + (seg['bytes'] // 2012 + groups) * 2048
def length(path):
    try:
        return len(open(host(path), 'rb').read())
    except OSError:
        return 0
still = 15
for l in lines:
    body = l.strip('\t')
    depth = len(l) - len(body)
    if body == 'Section=Navigation':
        break
    if depth == 1 and body == 'Item=Segment':
        close(seg)
        seg = {'name': '', 'bytes': 0, 'frames': 0, 'file': None, 'play': ''}
    elif seg is None:
        continue
    elif depth == 2 and body.startswith('Name='):
        seg['name'] = body[5:]
    elif body == 'Standard=PAL':
        still = 12
    elif body == 'Standard=NTSC':
        still = 15
    elif depth == 3 and body.startswith('Item='):
        seg['play'] = body[5:]
        if body == 'Item=Sub-Picture Play':
            seg['bytes'] += 4096
    elif depth == 4 and body.startswith('File=') and seg['play'] in ('Video Play', 'Audio Play'):
        seg['file'] = body[5:]
        if not body.endswith('\\Dummy.m2v'):
            seg['bytes'] += length(body[5:])
    elif body == 'Duration=Default':
        seg['frames'] += still
    elif body == 'Duration=Actual' and seg['file'] and not seg['file'].endswith('\\Dummy.m2v'):
        out = subprocess.run(['ffprobe', '-v', 'error', '-count_frames', '-select_streams', 'v:0', '-show_entries',
                              'stream=nb_read_frames', '-of', 'default=nw=1:nk=1', host(seg['file'])],
                             capture_output=True, text=True)
        seg['frames'] += int(out.stdout.strip() or 0)
close(seg)
for domain in sorted(sizes, key=lambda d: (d != 'VMG', d)):
    print('%s;%d' % (domain, sizes[domain]))
PY
}

# full NAME DISC [SETTING]: the FULL script and Scenaid.dat.
full() {
  local name=$1 disc=$2
  # A GOP of M 3 by N/M 5, as set and kept by the encoder stage.
  job "$name" "$disc" '"SingleMXP"=dword:00000001' '"ScenaidMode"=dword:00000001' '"AutoGopSize"=dword:00000000' \
    '"M"=dword:00000002' '"N"=dword:00000004' "${@:3}"
  local dir="$work/$name" script
  script=$(find "$dir/out" -name Muxman.MXP 2>/dev/null | head -1)
  if [ -z "$script" ]; then
    fail "$name: no Muxman.MXP written"; tail -20 "$dir/cli.out"; return
  fi
  sed 's/K:\\out/@ROOT@/g' "$script" > "$dir/$name.MXP"
  compare "$dir/$name.MXP" "$name.MXP"
  lint "$dir" "$script"
  if grep -q 'ShellandWait commandline: .*Muxman.exe' "$(find "$dir/out" -name Kestrova.LOG | head -1)"; then
    fail "$name: ScenaidMode ran the engine"
  fi
  expected_sizes "$script" "$dir" 15 > "$dir/sizes.expected"
  if ! diff <(tr -d '\r' < "$(dirname "$script")/Scenaid.dat") "$dir/sizes.expected"; then
    fail "$name: Scenaid.dat is not the size estimate of its segments"
  fi
  echo "$name: checked"
}

# multiple NAME DISC: the small scripts and the command lines they ran with.
multiple() {
  local name=$1-multi disc=$2
  KESTROVA_TOOL_OVERRIDES="Muxman.exe=$here/fake_muxman.sh" job "$name" "$disc" '"SingleMXP"=dword:00000000'
  local dir="$work/$name" made="$work/$name/$name.MXP" log
  local scripts
  scripts=$(cd "$dir" && find out -name 'Muxman[0-9][0-9][0-9].MXP' | sort)
  if [ -z "$scripts" ]; then
    fail "$name: no small script written"; tail -20 "$dir/cli.out"; return
  fi
  : > "$made"
  for script in $scripts; do
    printf '### %s\r\n' "$(dirname "$script" | sed 's|^out/||')/$(basename "$script")" >> "$made"
    sed 's/K:\\out/@ROOT@/g' "$dir/$script" >> "$made"
    lint "$dir" "$dir/$script"
    [ -s "$dir/$(dirname "$script")/$(basename "$script" .MXP | sed 's/Muxman//')/VIDEO_TS.IFO" ] ||
      fail "$name: $script was not run"
  done
  compare "$made" "$name.MXP"
  log=$(find "$dir/out" -name Kestrova.LOG | head -1)
  # The program folder is the build's, @PROGRAM@ here.
  grep -o 'ShellandWait commandline: .*Muxman.exe.*' "$log" |
    sed 's/^ShellandWait commandline: [^ ]*\\Muxman.exe /@PROGRAM@\\Muxman.exe /; s/K:\\out/@ROOT@/g' \
    > "$dir/$name.commands"
  compare "$dir/$name.commands" "$name.commands"
  echo "$name: checked"
}

full pal-vmg-buttons pal-vmg-buttons
full ntsc-vts-menus-2lang ntsc-vts-menus-2lang
full pal-vmg-buttons-to-ntsc pal-vmg-buttons '"Convert"=dword:00000001'
multiple ntsc-vts-menus-2lang ntsc-vts-menus-2lang
multiple pal-menu-dummy-cells pal-menu-dummy-cells
exit $((failures > 0))
