#!/usr/bin/env bash
# kestrova-cli writing where it cannot: a read-only output folder, and one
# whose disk fills in the middle of a stage (small tmpfs mounts). Each run
# ends with a message naming the folder. The full disk leaves the journal at
# the last whole stage, so that --resume, once space is freed, leaves the
# same files, byte for byte, as a run that had room (the run log, whose
# lines carry the time, apart). The source disc is never written.
# Mounting needs root: where it is not permitted the test is skipped (77).
#   cli_disk_test.sh BUILD_DIR FIXTURES_DIR
set -uo pipefail
build=$1 fixtures=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
mounts=()
cleanup() {
  for m in "${mounts[@]}"; do umount "$m"; done
  rm -rf "$work"
}
trap cleanup EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

mkdir -p "$work/ro"
if ! mount -t tmpfs -o ro,size=64k tmpfs "$work/ro" 2> "$work/mount.out"; then
  echo "SKIP: cannot mount a tmpfs here: $(cat "$work/mount.out")"
  exit 77
fi
mounts+=("$work/ro")

disc=$fixtures/pal-vmg-buttons
source_sum() { (cd "$disc" && find . -type f -exec md5sum {} + | sort | md5sum); }
before=$(source_sum)

# The reference: a run with room. It also writes the settings under WORK
# that the runs below share.
bash "$here/../../scripts/run-sample-job.sh" "$build" "$fixtures" "$work" pal-vmg-buttons > "$work/ref.out" 2>&1
ref_status=$?
mv "$work/out" "$work/ref"
export KESTROVA_DRIVES="D:=$disc@cdrom;K:=$work"
export KESTROVA_REGISTRY="$work/registry.reg" XDG_STATE_HOME="$work/state"

status=0
cli() {  # output folder under K:, then options; the exit status lands in $status
  "$build/kestrova-cli" /STAR /DRIV=D "/PATH=K:\\$1" /THRE=1000 /AVEB=6000 "${@:2}" > "$work/last.out" 2>&1
  status=$?
}

# 1. A read-only output folder.
cli ro
[ "$status" = 1 ] || fail "read-only: exit status $status"
grep -qF "$work/ro" "$work/last.out" || { fail "read-only: the message names no folder"; cat "$work/last.out"; }

# 2. The disk fills during a stage: the run stops, naming the folder, with a
#    journal that is the beginning of the full run's. The small disk is
#    mounted where the run with room wrote, so the two name the same paths;
#    it holds nine tenths of the pages that run's files take, so it fills
#    late in the run.
pages=$(find "$work/ref" -type f -printf '%s\n' | awk '{ p += int(($1 + 4095) / 4096) } END { print p }')
mkdir -p "$work/out"
mount -t tmpfs -o "size=$((pages * 4 * 9 / 10))k" tmpfs "$work/out" && mounts+=("$work/out")
cli out
[ "$status" = 1 ] || fail "full disk: exit status $status"
grep -qF "$work/out" "$work/last.out" || { fail "full disk: the message names no folder"; cat "$work/last.out"; }
[[ $(cmp "$work/out/Kestrova_Recovery.LOG" "$work/ref/Kestrova_Recovery.LOG" 2>&1) == *EOF* ]] ||
  fail "full disk: the journal is not the beginning of the full run's"

# Space freed, the job resumed.
mount -o remount,size=4m "$work/out"
cli out --resume
diff -r --exclude=Kestrova.LOG "$work/ref" "$work/out" > "$work/diff.out" ||
  { fail "full disk: the resumed job differs from the run with room"; head -20 "$work/diff.out"; }
[ "$status" = "$ref_status" ] || fail "full disk: resumed with exit status $status, the run with room $ref_status"

[ "$(source_sum)" = "$before" ] || fail "the source disc was written"

echo "$failures failed"
[ "$failures" -eq 0 ]
