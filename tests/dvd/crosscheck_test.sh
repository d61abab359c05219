#!/usr/bin/env bash
# crosscheck_test.sh INSPECT DVDREAD_DUMP FIXTURE_ROOT
#
# Reads the menu, first-play and title PGCs of every fixture disc twice, with
# Kestrova's own IFO reader (INSPECT --crosscheck) and with libdvdread
# (DVDREAD_DUMP), and fails with a unified diff wherever the two print
# differently. $KESTROVA_FIXTURES overrides FIXTURE_ROOT, as it does for the
# test suites.
set -uo pipefail

if [[ $# -ne 3 ]]; then
  echo "usage: crosscheck_test.sh INSPECT DVDREAD_DUMP FIXTURE_ROOT" >&2
  exit 2
fi
inspect=$1
dump=$2
root=${KESTROVA_FIXTURES:-$3}

shopt -s nullglob
discs=("$root"/*/VIDEO_TS)
shopt -u nullglob
if ((${#discs[@]} == 0)); then
  echo "no fixture discs in $root: run the dvd_fixtures test first" >&2
  exit 1
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

failed=0
for disc in "${discs[@]}"; do
  name=$(basename "$(dirname "$disc")")
  if ! "$dump" "$disc" >"$scratch/libdvdread" 2>"$scratch/libdvdread.err"; then
    echo "FAIL $name: dvdread-dump failed:"
    cat "$scratch/libdvdread.err"
    failed=1
    continue
  fi
  # An empty or truncated reference would make the comparison meaningless.
  if [[ $(head -n1 "$scratch/libdvdread") != "IFO VIDEO_TS.IFO" ]] ||
    ! grep -q '^PGC FP ' "$scratch/libdvdread" || ! grep -q '^PGC T1 ' "$scratch/libdvdread"; then
    echo "FAIL $name: dvdread-dump printed no VIDEO_TS.IFO section, first-play PGC or title PGC"
    failed=1
    continue
  fi
  if ! "$inspect" --crosscheck "$disc" >"$scratch/kestrova" 2>"$scratch/kestrova.err"; then
    echo "FAIL $name: kestrova-inspect --crosscheck failed:"
    cat "$scratch/kestrova.err"
    failed=1
    continue
  fi
  if diff -u --label "libdvdread/$name" --label "kestrova/$name" "$scratch/libdvdread" "$scratch/kestrova"; then
    echo "ok   $name ($(wc -l <"$scratch/libdvdread") lines)"
  else
    echo "FAIL $name: the readers differ (diff above: - libdvdread, + kestrova)"
    failed=1
  fi
done

# A title set's IFO that is missing or cut short is read from its backup, as
# libdvdread does, with a line saying so; with neither, the run fails naming
# the file. The copy sits in a folder with a UTF-8 name, which --json keeps.
disc=${discs[0]}
copy="$scratch/Été/VIDEO_TS"
mkdir -p "$copy" && cp "$disc"/* "$copy"/
"$inspect" --crosscheck "$disc" >"$scratch/whole"
rm "$copy/VTS_01_0.IFO"
head -c 1000 "$disc/VIDEO_TS.IFO" >"$copy/VIDEO_TS.IFO"
if ! "$inspect" --crosscheck "$copy" >"$scratch/backup" 2>"$scratch/backup.err" ||
   ! cmp -s "$scratch/whole" "$scratch/backup" || [[ $(grep -c 'instead' "$scratch/backup.err") != 2 ]]; then
  echo "FAIL backups: the .BUP files were not read in place of the missing and the cut IFO"
  cat "$scratch/backup.err"
  failed=1
fi
"$inspect" --json "$copy" >"$scratch/json" 2>/dev/null
if ! grep -q 'Été' "$scratch/json"; then
  echo "FAIL json: the folder's UTF-8 name was not written as UTF-8"
  failed=1
fi
rm "$copy/VTS_01_0.BUP"
if "$inspect" "$copy" >/dev/null 2>"$scratch/none.err" || ! grep -q 'VTS_01_0.IFO' "$scratch/none.err"; then
  echo "FAIL backups: a title set without IFO and BUP did not fail naming VTS_01_0.IFO"
  failed=1
fi
exit "$failed"
