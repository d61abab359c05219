#!/usr/bin/env bash
# kestrova-cli killed (SIGKILL) at several points of a run over a real disc
# and resumed with --resume leaves the same files, byte for byte, as a run
# that was never killed, and exits as that run did. The run log is left out
# of the byte comparison (its lines carry the time, and a resumed run says
# which stages it skipped); it must be there and end with the final banner.
# A folder holding a job is refused without --resume or --fresh, and --fresh
# starts the job again from an empty folder.
#   cli_resume_test.sh BUILD_DIR FIXTURES_DIR
set -uo pipefail
build=$1 fixtures=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# kestrova-cli runs from a folder of its own, beside a kestrova-standin that
# counts the tool starts of a run and, at the start numbered $KILL_AT, kills
# kestrova-cli; with KILL_PARTIAL set the tool first leaves part of its
# files, as one cut off in the middle of its work would.
bin=$work/bin
mkdir -p "$bin"
ln "$build/kestrova-cli" "$bin/" 2>/dev/null || cp "$build/kestrova-cli" "$bin/"
cp -r "$build/new.avs" "$build"/PAL.bmp "$build"/NTSC.bmp "$build"/PAL.mpv "$build"/NTSC.mpv "$bin/"
cat > "$bin/kestrova-standin" <<EOF
#!/usr/bin/env bash
if [ "\${1:-}" = --tool ] && [ -n "\${KILL_AT:-}" ]; then
  n=\$(( \$(cat "$work/starts" 2>/dev/null || echo 0) + 1 ))
  echo \$n > "$work/starts"
  if [ \$n = "\$KILL_AT" ]; then
    [ -n "\${KILL_PARTIAL:-}" ] && KESTROVA_STANDIN_FAIL="\$2=partial" "$build/kestrova-standin" "\$@"
    kill -9 "\$(cat "$work/cli.pid")"
    exit 1
  fi
fi
exec "$build/kestrova-standin" "\$@"
EOF
chmod +x "$bin/kestrova-standin"

# The reference: a run never killed. It also writes the settings under
# WORK that the runs below share.
bash "$here/../../scripts/run-sample-job.sh" "$bin" "$fixtures" "$work" pal-vmg-buttons > "$work/ref.out" 2>&1
ref_status=$?
mv "$work/out" "$work/ref"
export KESTROVA_DRIVES="D:=$fixtures/pal-vmg-buttons@cdrom;K:=$work"
export KESTROVA_REGISTRY="$work/registry.reg" XDG_STATE_HOME="$work/state"

status=0
cli() {  # KILL_AT (empty: no kill), then options; the exit status lands in $status
  rm -f "$work/starts"
  # The subshell keeps the shell's note of the kill off the test's output.
  (KILL_AT=$1 bash -c 'echo $$ > "$0"; exec "$@"' "$work/cli.pid" \
    "$bin/kestrova-cli" /STAR /DRIV=D "/PATH=K:\\${OUT:-out}" /THRE=1000 /AVEB=6000 "${@:2}" > "$work/last.out" 2>&1 &
    wait $!) 2> /dev/null
  status=$?
}

same_as_reference() {  # case name
  diff -r --exclude=Kestrova.LOG "$work/ref" "$work/out" > "$work/diff.out" ||
    { fail "$1: the tree differs from the run never killed"; head -20 "$work/diff.out"; }
  grep -q 'RUN SUMMARY' "$work/out/Kestrova.LOG" 2>/dev/null || fail "$1: the run log has no summary"
  [ "$status" = "$ref_status" ] || fail "$1: exit status $status, the run never killed exited $ref_status"
}

killed_at() {  # case name, tool start to kill at
  cli "$2" "${@:3}"
  [ "$status" = 137 ] || { fail "$1: not killed (exit status $status)"; cat "$work/last.out"; }
}

resumed() {  # case name
  cli "" --resume
  same_as_reference "$1"
  rm -rf "$work/out"
}

# 1. As the first demultiplexing starts: no stage has ended.
killed_at first-demux 1
resumed first-demux

# 2. Between the two indexing runs of the first menu's first VOB: its
#    demultiplexing ended, and the project file of one indexer is there. A
#    start without a choice is refused first, naming both, and so is a
#    resumption from another disc.
killed_at indexing 6
cli ""
[ "$status" = 2 ] || fail "unfinished job: exit status $status"
grep -q -- '--resume.*--fresh' "$work/last.out" || { fail "unfinished job: message"; cat "$work/last.out"; }
KESTROVA_DRIVES="D:=$fixtures/ntsc-vts-menus-2lang@cdrom;K:=$work" cli "" --resume
[ "$status" = 2 ] || fail "another disc: exit status $status"
grep -q 'made from D:\\VIDEO_TS (PAL-VMG-BUTTONS)' "$work/last.out" || { fail "another disc: message"; cat "$work/last.out"; }
resumed indexing

# 3. The second menu's demultiplexer cut off after part of its files: the
#    first menu has ended. The resumption is killed too, as it starts its
#    first tool, when its new journal has not yet passed the first menu's
#    marks again; the next one still goes on from the first run's point.
KILL_PARTIAL=1 killed_at second-demux 12
cli 1 --resume
[ "$status" = 137 ] || fail "second-demux: the resumption was not killed (exit status $status)"
cli "" --resume
grep -q 'after VID - PROCESSASSETS' "$work/last.out" || { fail "second-demux: resume point"; cat "$work/last.out"; }
same_as_reference second-demux
rm -rf "$work/out"

# 4. A finished job's folder: refused, with or without --resume, and left
#    as it was; --fresh empties it (a stray file goes too) and runs the job
#    again.
cp -a "$work/ref" "$work/out"
for option in "" --resume; do
  cli "" $option
  [ "$status" = 2 ] || fail "finished job ($option): exit status $status"
  grep -q -- '--fresh' "$work/last.out" || { fail "finished job ($option): message"; cat "$work/last.out"; }
done
diff -r "$work/ref" "$work/out" > /dev/null || fail "a refused run changed the finished job's folder"
echo stray > "$work/out/D_VIDEO_TS/DEMUXED/stray.M2V"
cli "" --fresh
same_as_reference fresh

# 5. A folder of other files is never emptied.
mkdir -p "$work/other"
echo mine > "$work/other/notes.txt"
OUT=other cli "" --fresh
[ "$status" = 2 ] && [ -f "$work/other/notes.txt" ] || fail "a folder of other files: exit status $status"

echo "$failures failed"
[ "$failures" -eq 0 ]
