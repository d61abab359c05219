#!/usr/bin/env python3
"""How long each finished AC3 file of a menu should last, from the batch
lines that made it, beside how long ffprobe says it lasts.

  audio-lengths.py DRIVE_K DOMAIN

DRIVE_K is the host folder of drive K: (the sample job's work folder),
DOMAIN a "D_*" folder of the job. Each finished file "S-VV.ac3" or
"S-VV_CC.ac3" is traced back to its source: through delaycut ("-start N"
and "-end M" take N and M ms off, negative values add silence), or
through SoftEncode and BeSweet ("-r A B" makes it A/B as long, "-d N" and
"-e M" add N and M ms). A file no line made was its source, renamed.
Prints one line per file; exits 1 when one is off by more than an AC3
frame and a little.
"""
import os
import re
import subprocess
import sys

TOLERANCE = 0.040  # one 32 ms AC3 frame, and the rounding of cuts to frames


def host(drive_k, path):
    """The host path of a "K:\\..." path the batch lines name."""
    if path[:2].upper() != "K:":
        return None
    return os.path.join(drive_k, *path[3:].split("\\"))


def seconds(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path],
                         capture_output=True, text=True).stdout.strip()
    return float(out) if out else None


def lines(domain, batch):
    path = os.path.join(domain, "FRAMESERVING", batch)
    if not os.path.exists(path):
        return []
    with open(path, encoding="latin-1") as f:
        return [line.strip() for line in f if line.strip()]


def number(pattern, text, default=0):
    m = re.search(pattern, text)
    return int(m.group(1)) if m else default


def besweet_lines(domain):
    """Output name (lower case) -> (input path, length factor, ms added)."""
    made = {}
    for batch in ("BeSweet.Conversion.bat", "BeSweetEncoder.bat"):
        for line in lines(domain, batch):
            m = re.search(r'-input "([^"]+)" -output "([^"]+)"', line)
            if not m:
                continue
            # Speed and silence are switches of the output group "-ota( ... )".
            ota = re.search(r"-ota\s*\(([^)]*)\)", line)
            ota = ota.group(1) if ota else ""
            rate = re.search(r"-r (\d+) (\d+)", ota)
            factor = int(rate.group(1)) / int(rate.group(2)) if rate else 1.0
            added = number(r"-d (-?\d+)", ota) + number(r"-e (-?\d+)", ota)
            made[m.group(2).split("\\")[-1].lower()] = (m.group(1), factor, added)
    return made


def main():
    drive_k, domain = sys.argv[1], sys.argv[2]
    besweet = besweet_lines(domain)
    # SoftEncode: target name -> the WAV it encodes.
    soft = {}
    for line in lines(domain, "SoftEncode.bat"):
        parts = line.split()
        if len(parts) >= 4:
            soft[parts[-1].split("\\")[-1].lower()] = parts[-2]
    cuts = {}  # finished name -> (source, ms taken off)
    for line in lines(domain, "DelayCorrector.bat"):
        m = re.search(r'"([^"]+)"\s*$', line)
        name = m.group(1).split("\\")[-1] if m else ""
        stream = re.match(r"(\d{3}(?:_\d+)?)-8(\d)-", name)
        if stream:
            finished = "%d-%s.ac3" % (int(stream.group(2)) + 1, stream.group(1))
            cuts[finished.lower()] = (m.group(1), number(r"-start (-?\d+)", line) + number(r"-end (-?\d+)", line))
    faults = 0
    for folder in ("DEMUXED", "DEMUXED_CELLID"):
        path = os.path.join(domain, folder)
        for name in sorted(os.listdir(path) if os.path.isdir(path) else []):
            m = re.match(r"(\d)-(\d{3}(?:_\d+)?)\.ac3$", name, re.IGNORECASE)
            if not m:
                continue
            s, asset = m.group(1), m.group(2)
            actual = seconds(os.path.join(path, name))
            expected, how = None, "kept as demultiplexed"
            if name.lower() in cuts:
                source, off = cuts[name.lower()]
                expected, how = seconds(host(drive_k, source)) - off / 1000, "delaycut"
            else:
                wav = soft.get(("%s_%s.ac3" % (s, asset)).lower()) or (soft.get(asset.lower() + ".ac3") if s == "1" else None)
                key = wav.split("\\")[-1].lower() if wav else None
                if key is None and name.lower() in besweet:
                    key = name.lower()
                if key is None and ("%s.conversion.wav" % asset) in besweet:
                    key = "%s.conversion.wav" % asset
                if key in besweet:
                    source, factor, added = besweet[key]
                    expected, how = seconds(host(drive_k, source)) * factor + added / 1000, "BeSweet"
                elif wav:
                    expected, how = seconds(host(drive_k, wav)), "SoftEncode"
            line = "%s/%s: %.3fs" % (folder, name, actual)
            if expected is not None:
                good = abs(actual - expected) <= TOLERANCE
                faults += 0 if good else 1
                line += " (%s: %.3fs expected)%s" % (how, expected, "" if good else " OFF")
            else:
                line += " (%s)" % how
            print(line)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
