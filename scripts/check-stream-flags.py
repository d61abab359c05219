#!/usr/bin/env python3
"""Runs the native revpulldown over streams from ffmpeg and mpeg2enc with
each command line the job writes, and checks every result with outside
tools only:

- ffmpeg's trace_headers: the wanted aspect and frame rate codes,
  progressive_sequence, the display extensions pan-scan adds or drops, and
  no sequence end code but the last;
- ffprobe: group time codes continuous at the output rate (";" for drop
  frame), top_field_first/repeat_pict in 2:3 or 3:2 cadence after pulldown;
- ffmpeg -f framemd5: every picture decodes to the same bytes as before.

Prints one line per stream and command line and a count of faults.
  check-stream-flags.py BUILD_DIR WORK
"""
import os
import re
import subprocess
import sys

build, work = sys.argv[1], os.path.abspath(sys.argv[2])
os.makedirs(work, exist_ok=True)
faults = 0


def fault(text):
    global faults
    faults += 1
    print("FAULT: " + text)


def run(command, **kw):
    return subprocess.run(command, shell=True, check=True, capture_output=True, text=True, **kw).stdout


def make(name, command):
    path = os.path.join(work, name)
    if not os.path.exists(path):
        run(command.format(out=path))
    return path


FF = "ffmpeg -nostdin -v error -y -f lavfi -i testsrc=size={size}:rate={rate} -frames:v {n} -c:v mpeg2video " \
     "-g {g} -bf 2 -aspect {aspect} {extra} -f mpeg2video {{out}}"
streams = {
    "pal-progressive-4x3": (make("p25.m2v", FF.format(size="720x576", rate=25, n=40, g=12, aspect="4:3", extra="")),
                            3, False),
    "pal-tff-16x9": (make("i25.m2v", FF.format(size="720x576", rate=25, n=40, g=12, aspect="16:9",
                                               extra="-flags +ilme+ildct -top 1")), 3, False),
    "ntsc-tff-4x3": (make("i30.m2v", FF.format(size="720x480", rate="30000/1001", n=45, g=15, aspect="4:3",
                                               extra="-flags +ilme+ildct -top 1")), 4, False),
    "film-16x9": (make("film.m2v", FF.format(size="720x480", rate="24000/1001", n=48, g=12, aspect="16:9", extra="")),
                  1, True),
    "mpeg2enc-p": (make("m2e.m2v", "ffmpeg -nostdin -v error -f lavfi -i testsrc=size=720x480:rate=24000/1001 "
                                   "-frames:v 48 -pix_fmt yuv420p -f yuv4mpegpipe - | mpeg2enc -f 8 -p -q 6 -o {out} "
                                   ">/dev/null 2>&1"), 4, False),
}
joined = os.path.join(work, "joined.m2v")
with open(joined, "wb") as out:
    for part in (streams["pal-progressive-4x3"][0], streams["pal-progressive-4x3"][0]):
        out.write(open(part, "rb").read())
streams["pal-joined"] = (joined, 3, False)

# The command lines of the call sites: (name, switches, for which input rates).
lines = [
    ("asset NTSC", "-nopulldown -drop_frame true -framerate 29.97 -ignoresequenceendcode", {4}),
    ("asset PAL pan-scan", "-nopulldown -drop_frame false -framerate 25 -ps_add -ignoresequenceendcode", {3}),
    ("asset film, pulldown added", "-drop_frame true -ignoresequenceendcode", {1}),
    ("asset film, -3_2", "-3_2 -drop_frame true -ignoresequenceendcode", {1}),
    ("copy 16:9", "-aspect_ratio 16:9 -nopulldown -ignoresequenceendcode -drop_frame false -framerate 25 -ps_remove",
     {3}),
    ("copy pan-scan, first run", "-aspect_ratio 4:3 -nopulldown -ignoresequenceendcode -drop_frame true "
                                 "-framerate 29.97 -ps_remove -novif", {4}),
    ("copy pan-scan, second run", "-aspect_ratio 4:3 -nopulldown -ignoresequenceendcode -drop_frame true "
                                  "-framerate 29.97 -ps_add", {4}),
    ("dummy 16:9", "-nopulldown -drop_frame true -framerate 29.97 -ps_remove -aspect_ratio 16:9 "
                   "-ignoresequenceendcode", {4}),
]


def trace(path):
    text = subprocess.run(["ffmpeg", "-nostdin", "-hide_banner", "-i", path, "-c", "copy", "-bsf:v", "trace_headers",
                           "-f", "null", "-"], capture_output=True, text=True).stderr
    fields = []
    for line in text.splitlines():
        m = re.search(r"\] \d+\s+(\w+)(?:\[[^\]]*\])*\s+[01]+ = (\d+)$", line)
        if m:
            fields.append((m.group(1), int(m.group(2))))
    return fields


def frames(path):
    out = run(f"ffprobe -v error -select_streams v:0 -show_entries frame=top_field_first,repeat_pict "
              f"-of csv=p=0 '{path}'")
    return [tuple(int(x) for x in line.split(",")[:2]) for line in out.split() if line]


def timecodes(path):
    out = run(f"ffprobe -v error -show_frames -show_entries frame_side_data=timecode -of compact '{path}'")
    return re.findall(r"^side_data\|timecode=(\d\d:\d\d:\d\d[:;]\d\d)", out, re.M)


def hashes(path):
    out = run(f"ffmpeg -nostdin -v error -i '{path}' -fps_mode passthrough -f framemd5 -")
    return [line.split(",")[-1].strip() for line in out.splitlines() if line and not line.startswith("#")]


def tc_frames(code, rate, drop):
    h, m, s, f = (int(x) for x in re.split("[:;]", code))
    total = ((h * 60 + m) * 60 + s) * rate + f
    if drop:
        minutes = h * 60 + m
        total -= 2 * (minutes - minutes // 10)
    return total


standin = os.path.join(build, "kestrova-standin")
env = dict(os.environ, KESTROVA_DRIVES="W:=" + work)
for sname, (path, rate_code, film) in streams.items():
    src_hashes = hashes(path)
    for lname, switches, rates in lines:
        if rate_code not in rates:
            continue
        out = os.path.join(work, "out.m2v")
        if os.path.exists(out):
            os.remove(out)
        result = subprocess.run([standin, "--tool", "revpulldown", "W:\\" + os.path.basename(path), "W:\\out.m2v"]
                                + switches.split(), env=env, capture_output=True, text=True)
        label = f"{sname} / {lname}"
        if result.returncode != 0:
            fault(f"{label}: exit {result.returncode}: {result.stderr.strip()}")
            continue
        data = open(out, "rb").read()
        fields = trace(out)
        get = lambda key: [v for k, v in fields if k == key]
        pulldown = film and "-nopulldown" not in switches
        want_rate = 4 if pulldown or "29.97" in switches else 3 if "-framerate 25" in switches else rate_code
        if set(get("frame_rate_code")) != {want_rate}:
            fault(f"{label}: frame_rate_code {set(get('frame_rate_code'))}, expected {want_rate}")
        if "-aspect_ratio 16:9" in switches and set(get("aspect_ratio_information")) != {3}:
            fault(f"{label}: aspect {set(get('aspect_ratio_information'))}")
        if "-aspect_ratio 4:3" in switches and set(get("aspect_ratio_information")) != {2}:
            fault(f"{label}: aspect {set(get('aspect_ratio_information'))}")
        ids = get("extension_start_code_identifier")
        pictures = ids.count(8)
        if "-ps_add" in switches and (ids.count(7) != pictures or ids.count(2) < ids.count(1)):
            fault(f"{label}: {ids.count(7)} picture display extensions for {pictures} pictures")
        if "-ps_remove" in switches and (ids.count(7) or ids.count(2)):
            fault(f"{label}: display extensions left after -ps_remove")
        if pulldown and set(get("progressive_sequence")) != {0}:
            fault(f"{label}: progressive_sequence {set(get('progressive_sequence'))} after pulldown")
        ends = [m.start() for m in re.finditer(b"\x00\x00\x01\xb7", data)]
        if len(ends) > 1 or (ends and ends[0] != len(data) - 4):
            fault(f"{label}: sequence end codes at {ends} of {len(data)} bytes")
        drop = "-drop_frame true" in switches
        codes = timecodes(out)
        probe = frames(out)
        if drop and any(";" not in c for c in codes):
            fault(f"{label}: a time code without ';' with drop frame")
        if not drop and any(";" in c for c in codes):
            fault(f"{label}: a drop-frame time code without drop frame")
        # Time codes step by the frames shown: fields / 2 of the pictures of each group.
        nominal = 30 if want_rate == 4 else 25
        starts = [tc_frames(c, nominal, drop) for c in codes]
        if starts and starts[0] != 0:
            fault(f"{label}: first time code {codes[0]}")
        if starts != sorted(starts) or len(set(starts)) != len(starts):
            fault(f"{label}: time codes not rising: {codes}")
        if pulldown:
            phase = 0 if "-3_2" in switches else 3
            want = [((i + phase) % 4 in (0, 3), (i + phase) % 4 in (0, 2)) for i in range(len(probe))]
            got = [(t == 1, r == 1) for t, r in probe]
            if got != want:
                fault(f"{label}: field flags not in cadence")
        if hashes(out) != src_hashes:
            fault(f"{label}: decoded pictures differ from the input's")
        shown = sum(2 + r for t, r in probe) if pulldown else None
        print(f"ok {label}: {len(probe)} pictures, {len(codes)} groups, rate code {want_rate}"
              + (f", {shown} fields" if shown else ""))

print(f"{faults} faults")
sys.exit(1 if faults else 0)
