#!/usr/bin/env python3
"""Runs kestrova-cli with Muxman (the native profile's kestrova-author in
its place) over each fixture disc with menus (every one but
pal-titles-only-lpcm), every menu ticked, in three ways, and checks the
scripts and what the authoring engine made of them against the source disc
with outside tools:

  multiple      SingleMXP 0: a small script per VOB, each authored by itself
  full-scenaid  SingleMXP 1, ScenaidMode 1: Muxman.MXP and Scenaid.dat, no run
  full          SingleMXP 1, ScenaidMode 0: Muxman.MXP run, which fails, and
                the retry with small scripts

1. small scripts (multiple): the job ends in the Muxman stage's failure
   branch; per VOB of the source one script,
   OutputDir\\MUXMAN\\MuxmanVVV.MXP, run by the logged command line,
   linting clean (kestrova-inspect --script --json); its one segment is
   Muxman.MXP's segment of that VOB.
   small results: each -d folder opens in libdvdread (dvdread-dump); every
   NAV pack of its VTS_01_1.VOB (dvdread-dump --title-nav: navRead_DSI) has
   the one VOB id, the cells run 1 to n in scene order and each starts at
   its scene's time within one frame; ffprobe finds the segment's video
   frames and its audio streams with frames to the video's end.
2. full scenaid: Muxman.MXP lints clean, no Muxman run (run log, no
   Muxman.log) and one Scenaid.dat line per authored domain.
   full retry: the FULL run fails, the retry question is answered yes, the
   small scripts are then written (as the multiple run wrote them) and run.
3. structure: Muxman.MXP against libdvdread (dvdread-dump) on the source:
   per language unit and PGC the names, counts, menu entries, next and
   go-up PGCs, stills, UOP masks, commands per list and programs; per cell
   its scene (VOB id, cell id, start in its VOB, UOP mask), still time and
   cell command; the titles' programs against the PTT map.
   targets: each link or jump in libdvdread's raw command bytes (PGC lists,
   and the buttons of dvdread-dump --nav) against the object its translated
   text names; dvdunauthor's listing, cut to its jumps, PGC by PGC; the
   walk (dvdnav-walk): each plain button link or jump lands on the object
   the menu line names.
4. highlights: each highlight play against its NAV pack's PCI (areas per
   group, colour index, auto action, neighbours, colours + 1, contrasts,
   offset, numeric count, forced buttons, button modes); subpictures:
   spuunmux's SPUs per used stream against the sub-picture plays.

Prints one line per disc and check ("ok", or "FAILED" after its faults),
FAULT lines for what is wrong, KNOWN lines where the writer's own rule
(named) makes the script differ from the disc, NOTE lines where a tool
cannot show what is compared, and the number of faults at the end; exits 1
on any fault.
  check-muxman.py [--reuse] BUILD_DIR FIXTURES_DIR WORK
With --reuse a job whose run log already stands under WORK is not run
again.
"""
import json
import os
import re
import subprocess
from concurrent.futures import ThreadPoolExecutor

import disc_checks as dc
from disc_checks import (BUTTON_MODES, cell_frames, decode_jump, fault, four, global_title, known,
                         landing_matches, local_path, nav_buttons, nibbles, note, plain_jump, read_dvdread, read_nav,
                         read_unauthor, read_walk, summary, title_pgc_program)

build, fixtures, work, reuse = dc.arguments(__doc__)

MODES = {  # the job's folder under WORK/<disc>: its settings
    "multiple": {"SingleMXP": 0, "ScenaidMode": 0},
    "full-scenaid": {"SingleMXP": 1, "ScenaidMode": 1},
    "full": {"SingleMXP": 1, "ScenaidMode": 0},
}
# The writer's rules (docs/decisions.md) that make a script or a run differ
# from the disc.
NO_MERGE = "until the merge of the small results is built, NewUpdateVOBs logs itself as passed over and sets " \
           "MuxmanFailed, so a Muxman job ends in the Muxman stage's failure branch"
FULL_NOT_AUTHORED = "kestrova-author lints a FULL script and does not author it in this version"
DUMMY_PGC = "GenerateDummyPGC in a FULL script: one \"DummyCell0\" linked to the domain's dummy menu scene where " \
            "the domain has video"
DUMMY_BUTTON = "a Dummy button leaves the highlight play but keeps its \"Nop\" line in the menu"
VMG_TITLE_MENU = "the VMG's first PGC is written \"Menu ID=Title Menu\""
NO_PREV = "GenerateVTS writes no \"Prev PGC=\" for a menu PGC"
VTS_0 = "\"JumpSS vts_0, vts_ttn_t : menu\" stands untranslated: vts_0 names no title set"
NO_BITMAP = "a NAV pack's buttons are taken only by a highlight bitmap of its cell that has none yet"
EMPTY_FP = "the First PGC is written without commands (GenerateFP)"
# Menu ID of an entry PGC of a menu type, as ConvertMenuId writes it with Muxman 1.
MENU_IDS = {3: "Root Menu", 4: "Sub-Picture Menu", 5: "Audio Menu", 6: "Angle Menu", 7: "PTT Menu"}
SCRIPT_JUMP = re.compile(r"LinkPGCN|LinkPGN|LinkCN|LinkPTT|JumpTT|JumpVTS_TT|JumpVTS_PTT|JumpSS|CallSS|LinkTopC")


# ------------------------------------------------------------- names


def domain_text(n):
    return "VMG" if n == 0 else f"VTS{n:03d}"


def pgc_name(n, language, p):
    return f"{language}TitleMenu" if n == 0 and p == 1 else f"{domain_text(n)}{language}PGC{p}"


def segment_name(n, vob):
    return f"VMG_VOBID{vob}" if n == 0 else f"VTS{n}_VOBID{vob}"


def scene_name(n, vob, cell):
    return f"VMG_{vob:03d}_Scene_{cell:03d}" if n == 0 else f"VTS{n}_{vob:03d}_Scene_{cell:03d}"


def dummy_scene(n):
    return "DummyVIDEOScene" if n == 0 else f"DummyVTS{n}Scene"


def domain_folder(n):
    return "D_VIDEO_TS" if n == 0 else f"D_VTS_{n:02d}_0"


def frame_rate(track):
    return 25 if track.get("standard") == "PAL" else 30


def time_frames(time, rate):
    """Frames of an MXP time HH:MM:SS:FF at its whole rate (non-drop)."""
    h, m, s, f = (int(x) for x in re.split("[:;]", time))
    return ((h * 60 + m) * 60 + s) * rate + f


# ------------------------------------------------------------- the jobs


class Job:
    def __init__(self, disc, mode):
        self.disc, self.mode = disc, mode
        self.folder = os.path.join(work, disc, mode)
        self.out = os.path.join(self.folder, "out")
        self.status = None
        self.log = ""

    def run(self):
        log = os.path.join(self.out, "Kestrova.LOG")
        status_file = os.path.join(self.folder, "exit-status")
        if not (reuse and os.path.exists(log) and os.path.exists(status_file)):
            settings = "[HKEY_CURRENT_USER\\software\\Kestrova\\settings]\n\"Muxman\"=dword:00000001\n" + "".join(
                f"\"{key}\"=dword:{value:08x}\n" for key, value in MODES[self.mode].items())
            status = dc.run_job(fixtures, self.folder, self.disc, settings)
            with open(status_file, "w") as f:
                f.write(f"{status}\n")
        with open(status_file) as f:
            self.status = int(f.read())
        if os.path.exists(log):
            with open(log, encoding="latin-1") as f:
                self.log = f.read()
        return self

    def lines(self):
        """The run log's texts, without their time stamps."""
        return [line.split("\t", 1)[1] if "\t" in line else line for line in self.log.splitlines()]

    def tail(self):
        with open(os.path.join(self.folder, "cli.out"), encoding="latin-1") as f:
            lines = f.read().strip().splitlines()
        return lines[-1] if lines else "no output"

    def path(self, *parts):
        return os.path.join(self.out, *parts)


def run_jobs(discs):
    """Every disc's three jobs, two at a time (the machine's two cores); the
    first alone, as it may write the program folder's EclCCE.ini."""
    jobs = [Job(disc, mode) for disc in discs for mode in MODES]
    if jobs:
        jobs[0].run()
    with ThreadPoolExecutor(max_workers=2) as pool:
        list(pool.map(Job.run, jobs[1:]))
    return {(job.disc, job.mode): job for job in jobs}


def menu_vobs(source):
    """Per title set with menu cells its VOB ids in order, with the cells
    (C_ADT) of each."""
    vobs = {}
    for number, domain in sorted(source["domains"].items()):
        for vob, cell in sorted(domain["cadt"]):
            vobs.setdefault(number, {}).setdefault(vob, []).append(cell)
    return vobs


# ------------------------------------------------------------- the script


class Mxp:
    """The JSON model of kestrova-inspect for an MXP script, with look-ups."""

    def __init__(self, model):
        self.model = model
        self.segments = {}
        self.scenes = {}  # name: (segment, scene, its index from 0)
        for folder in model["track_folder"]:
            for track in folder["track"]:
                self.segments[track["name"]] = track
                for i, scene in enumerate(track["scene"]):
                    self.scenes[scene["name"]] = (track, scene, i)
        self.domains = {}
        for domain in model["scenario"]["domain"]:
            number = 0 if domain["kind"] == "video manager" else int(domain["name"][3:])
            self.domains[number] = domain


def language_name(number, language):
    """L of a language unit: its Name= less the domain text."""
    return language["label"][len(domain_text(number)):]


def cells_of(pgc):
    return [cell for program in pgc["program"] for cell in program["cell"]]


def menu_pgcs(language):
    """The language's PGCs less the dummy PGC behind them."""
    pgcs = language["pgc"]
    return pgcs[:-1] if pgcs and pgcs[-1]["name"] == "DummyPGC" else pgcs


def without_lines(value):
    """A JSON value without its line numbers, to compare two scripts' objects."""
    if isinstance(value, dict):
        return {k: without_lines(v) for k, v in value.items() if k != "line"}
    if isinstance(value, list):
        return [without_lines(v) for v in value]
    return value


# --------------------------------------------- 1. multiple mode: small scripts


def small_script_run(number, vob):
    """The end of the run log's command line of a small script's run (behind
    the program folder), as written."""
    folder = f"K:\\out\\{domain_folder(number)}\\MUXMAN"
    return f"\\Muxman.exe {folder}\\Muxman{vob:03d}.MXP -d {folder}\\{vob:03d} -l {folder}\\{vob:03d}\\Muxman.log  -run"


def reached_muxman(lines):
    return "|           STARTING MUXMAN PROCEDURES             |" in lines


def check_small_run_log(disc, job, vobs, check, after=0):
    """The small scripts are written and run in order, VOB by VOB, from line
    `after` of the run log on, each run by its command line."""
    lines = job.lines()[after:]
    wanted = [(number, vob) for number in sorted(vobs) for vob in sorted(vobs[number])]
    written = [(int(m.group(1)), int(m.group(2))) for line in lines
               for m in [re.match(r"Generating Muxman Script for VTS=(\d+) VOBID=(\d+)$", line)] if m]
    if written != wanted:
        fault(disc, check, f"the run log writes the small scripts of {written}, the disc's menu VOBs are {wanted}")
    runs = [line for line in lines if line.startswith("ShellandWait commandline:") and "\\Muxman.exe " in line]
    expected = [small_script_run(number, vob) for number, vob in wanted]
    if len(runs) != len(expected) or any(not run.endswith(want) for run, want in zip(runs, expected)):
        fault(disc, check, f"Muxman.exe runs {[run.split('Muxman.exe', 1)[-1] for run in runs]}, "
                           f"expected {[want.split('Muxman.exe', 1)[1] for want in expected]}")


def check_multiple_job(disc, job, vobs):
    """The multiple job runs every small script and ends in the failure
    branch the missing merge leaves it in."""
    before = dc.count()
    lines = job.lines()
    if not reached_muxman(lines):
        fault(disc, "multiple job", f"no Muxman stage in the run log (exit {job.status}: {job.tail()})")
    elif "MUXMAN ERROR - SINGLE SCRIPTS FAILED" in lines and job.status == 1 and \
            "NewUpdateVOBs is not yet available in this version - stage passed over" in lines:
        known(disc, "multiple job", "\"MUXMAN ERROR - SINGLE SCRIPTS FAILED\", exit 1", NO_MERGE)
    else:
        fault(disc, "multiple job", f"exit {job.status}, not the single scripts' failure branch: {job.tail()}")
    check_small_run_log(disc, job, vobs, "multiple job")
    summary(disc, "multiple job", before, f"{sum(map(len, vobs.values()))} small scripts written and run")


def check_small_scripts(disc, job, source, vobs, full):
    """Each small script lints clean and holds its VOB's segment as
    Muxman.MXP holds it (its sub-pictures "Language=en" by rule)."""
    before = dc.count()
    counts = {"scripts": 0, "warnings": 0, "notes": 0}
    models = {}
    for number, domain_vobs in sorted(vobs.items()):
        for vob, cells in sorted(domain_vobs.items()):
            path = job.path(domain_folder(number), "MUXMAN", f"Muxman{vob:03d}.MXP")
            label = f"{domain_folder(number)}\\MUXMAN\\Muxman{vob:03d}.MXP"
            if not os.path.exists(path):
                fault(disc, "small scripts", f"{label} was not written")
                continue
            counts["scripts"] += 1
            model, errors, warnings, status, stderr = dc.lint(path, job.folder)
            counts["warnings"] += len(warnings)
            counts["notes"] += stderr.count(": note: ")
            for line in errors:
                fault(disc, "small scripts", line.split(": ", 1)[1])
            if model is None or (status != 0 and not errors):
                fault(disc, "small scripts", f"{label}: kestrova-inspect exit {status}: {stderr.strip()[-300:]}")
                continue
            script = models[(number, vob)] = Mxp(model)
            segments = list(script.segments.values())
            if len(segments) != 1 or segments[0]["name"] != segment_name(number, vob):
                fault(disc, "small scripts", f"{label}: segments {[s['name'] for s in segments]}, expected the one "
                                             f"{segment_name(number, vob)}")
                continue
            scenes = [scene["name"] for scene in segments[0]["scene"]]
            if scenes != [scene_name(number, vob, c) for c in cells]:
                fault(disc, "small scripts", f"{label}: scenes {scenes}, the disc's VOB {vob} has cells {cells}")
            mine = without_lines(segments[0])
            theirs = without_lines(full.segments.get(segment_name(number, vob), {})) if full else None
            for stream in (theirs or {}).get("sub_picture_stream", []):
                stream["language"] = "en"  # "Language=en" in multiple mode
            if full and mine != theirs:
                fault(disc, "small scripts", f"{label}: its segment differs from Muxman.MXP's "
                                             f"{segment_name(number, vob)}")
    summary(disc, "small scripts", before, f"{counts['scripts']} scripts lint clean ({counts['warnings']} warnings, "
                                           f"{counts['notes']} notes), each its VOB's segment")
    return models


def audio_streams_played(track):
    """The segment's audio streams with a play: the mux makes a stream of each."""
    return [stream for stream in track["audio_stream"] if stream["play"]]


def expected_video_frames(job, track):
    """The frames the mux makes of a segment's video plays: a "Default" still
    12 (PAL) or 15, a still with a Duration that many, a moving file all its
    frames."""
    rate = frame_rate(track)
    total = 0
    for play in track["video_play"]:
        if play["duration"] == "Default":
            total += 12 if rate == 25 else 15
            continue
        path = local_path(job.folder, play["file"])
        frames = int(dc.probe(path, "mpegvideo", "nb_read_frames").get("nb_read_frames", 0)) if path else 0
        if play["duration"] != "Actual" and frames == 1:
            frames = time_frames(play["duration"], rate)
        total += frames
    return total


def probe_vob(path):
    """ffprobe's streams of a VOB with their frame counts."""
    out = dc.run(["ffprobe", "-v", "error", "-count_frames", "-show_entries",
                  "stream=codec_type,codec_name,nb_read_frames,sample_rate", "-of", "json", path])
    return json.loads(out.stdout or "{}").get("streams", [])


def check_small_results(disc, job, models):
    """Each -d folder: libdvdread opens it; its VOB holds one VOB id and the
    cells 1 to n at their scenes' times; ffprobe finds the video and audio."""
    before = dc.count()
    counts = {"folders": 0, "packs": 0, "cells": 0, "audio streams": 0}
    for (number, vob), script in sorted(models.items()):
        track = next(iter(script.segments.values()))
        label = f"{domain_folder(number)}\\MUXMAN\\{vob:03d}"
        folder = job.path(domain_folder(number), "MUXMAN", f"{vob:03d}")
        log = os.path.join(folder, "Muxman.log")
        text = open(log, encoding="latin-1").read() if os.path.exists(log) else ""
        if "Authored the segment" not in text:
            fault(disc, "small results", f"{label}: not authored: {text.strip().splitlines()[-1:] or 'no log'}")
            continue
        for line in text.splitlines():
            if ": warning: " in line:
                note(disc, "small results", f"{label}: kestrova-author: {line.split(': ', 1)[1]}")
        counts["folders"] += 1
        result = dc.run([dc.tool("tests/dvdread-dump"), folder])
        if result.returncode != 0:
            fault(disc, "small results", f"{label}: libdvdread cannot read it: {result.stderr.strip()[-300:]}")
            continue
        packs = sorted((pack for packs in read_nav(folder, titles=True).values() for pack in packs),
                       key=lambda pack: int(pack["LBN"]))
        counts["packs"] += len(packs)
        ids = sorted({int(pack["VOB"]) for pack in packs})
        if len(ids) != 1:
            fault(disc, "small results", f"{label}: VTS_01_1.VOB's NAV packs carry the VOB ids {ids}, not one")
        rate = frame_rate(track)
        tick = 90000 // 25 if rate == 25 else 3003
        starts = []  # (cell id, first pack's start)
        for pack in packs:
            cell = int(pack["CELL"])
            if not starts or starts[-1][0] != cell:
                starts.append((cell, int(pack["SPTM"])))
        scenes = track["scene"]
        if [cell for cell, _ in starts] != list(range(1, len(scenes) + 1)):
            fault(disc, "small results", f"{label}: the NAV packs run through cells {[c for c, _ in starts]}, the "
                                         f"segment has {len(scenes)} scenes")
        for (cell, ptm), scene in zip(starts, scenes):
            counts["cells"] += 1
            frames = (ptm - starts[0][1]) / tick
            if abs(frames - time_frames(scene["time"], rate)) > 1:
                fault(disc, "small results", f"{label}: cell {cell} starts {frames:.1f} frames in, its scene "
                                             f"{scene['name']} at {scene['time']}")
        streams = probe_vob(os.path.join(folder, "VTS_01_1.VOB"))
        video = [s for s in streams if s.get("codec_type") == "video"]
        audio = [s for s in streams if s.get("codec_type") == "audio"]
        frames = int(video[0].get("nb_read_frames", 0)) if video else 0
        want = expected_video_frames(job, track)
        if frames != want:
            fault(disc, "small results", f"{label}: ffprobe {frames} video frames, the segment's plays {want}")
        if len(audio) != len(audio_streams_played(track)):
            fault(disc, "small results", f"{label}: ffprobe {len(audio)} audio streams, the segment "
                                         f"{len(audio_streams_played(track))} with plays")
        for s in audio:
            counts["audio streams"] += 1
            # Each audio stream is cut or padded in whole AC3 frames to the video's end.
            seconds = int(s.get("nb_read_frames", 0)) * 1536 / 48000
            video_seconds = want / (25 if rate == 25 else 30000 / 1001)
            if s.get("codec_name") != "ac3" or abs(seconds - video_seconds) > 0.032:
                fault(disc, "small results", f"{label}: ffprobe's {s.get('codec_name')} stream lasts {seconds:.3f} "
                                             f"s in {s.get('nb_read_frames')} frames, the video {video_seconds:.3f} s")
    summary(disc, "small results", before, ", ".join(f"{n} {what}" for what, n in counts.items()) +
            " (libdvdread, ffprobe)")


# --------------------------------------------------- 2. FULL mode: the runs


def check_full_scenaid(disc, job, vobs):
    """With ScenaidMode 1 no Muxman run, and Scenaid.dat's sizes."""
    before = dc.count()
    lines = job.lines()
    runs = [line for line in lines if "\\Muxman.exe " in line]
    if not reached_muxman(lines):
        fault(disc, "full scenaid", f"no Muxman stage in the run log (exit {job.status}: {job.tail()})")
    if runs or "Starting Muxman.exe" in lines or os.path.exists(job.path("Muxman.log")):
        fault(disc, "full scenaid", f"Muxman ran: {runs[:1]}, Muxman.log "
                                    f"{'is there' if os.path.exists(job.path('Muxman.log')) else 'missing'}")
    if job.status != 0:
        fault(disc, "full scenaid", f"exit {job.status}: {job.tail()}")
    path = job.path("Scenaid.dat")
    sizes = []
    if not os.path.exists(path):
        fault(disc, "full scenaid", "no Scenaid.dat")
    else:
        raw = open(path, "rb").read()
        if raw and not raw.endswith(b"\r\n"):
            fault(disc, "full scenaid", "Scenaid.dat's lines do not end in CR LF")
        sizes = [line for line in raw.decode("latin-1").split("\r\n") if line]
    want = ["VMG" if number == 0 else f"VTS{number:03d}" for number in sorted(vobs)]
    got = [line.split(";")[0] for line in sizes]
    if got != want:
        fault(disc, "full scenaid", f"Scenaid.dat names {got}, the domains with menus are {want}")
    for line in sizes:
        m = re.fullmatch(r"(VMG|VTS\d{3});(\d+)", line)
        if m is None or int(m.group(2)) <= 0 or int(m.group(2)) % 2048:
            fault(disc, "full scenaid", f"Scenaid.dat line \"{line}\" is no domain and size in whole sectors")
    summary(disc, "full scenaid", before, f"no Muxman run; Scenaid.dat: {', '.join(sizes)}")


def check_full_retry(disc, job, vobs, multiple, scenaid):
    """With ScenaidMode 0 the FULL run fails, the retry question is answered
    yes and the small scripts are written as the multiple job writes them;
    Muxman.MXP is the ScenaidMode 1 job's."""
    before = dc.count()
    lines = job.lines()
    full_run = "\\Muxman.exe K:\\out\\Muxman.MXP -l K:\\out\\Muxman.log  -run"
    question = "Question \"Muxman Compile Error\": FULL script seems to have failed - retry using multiple scripts? " \
               "- answered Yes (unattended)"
    at_run = next((i for i, line in enumerate(lines) if line.endswith(full_run)), None)
    at_question = lines.index(question) if question in lines else None
    if at_run is None:
        fault(disc, "full retry", f"no FULL run \"...{full_run}\" in the run log (exit {job.status}: {job.tail()})")
    elif at_question is None or at_question < at_run:
        fault(disc, "full retry", "the run log asks no retry question after the FULL run")
    else:
        log = open(job.path("Muxman.log"), encoding="latin-1").read() if os.path.exists(job.path("Muxman.log")) \
            else ""
        if "Not authored: a FULL script" in log:
            known(disc, "full retry", "Muxman.log: \"Not authored: a FULL script\"", FULL_NOT_AUTHORED)
        else:
            fault(disc, "full retry", f"the FULL run failed otherwise: Muxman.log {log.strip()[-200:] or 'missing'}")
        check_small_run_log(disc, job, vobs, "full retry", at_question)
        if "MUXMAN ERROR - RETRIED WITH SINGLE SCRIPTS ALSO" in lines and job.status == 1:
            known(disc, "full retry", "\"MUXMAN ERROR - RETRIED WITH SINGLE SCRIPTS ALSO\", exit 1", NO_MERGE)
        else:
            fault(disc, "full retry", f"exit {job.status}, not the retry's failure branch: {job.tail()}")
    same = 0
    for number, domain_vobs in sorted(vobs.items()):
        for vob in sorted(domain_vobs):
            name = os.path.join(domain_folder(number), "MUXMAN", f"Muxman{vob:03d}.MXP")
            mine, theirs = job.path(name), multiple.path(name)
            if not os.path.exists(mine):
                fault(disc, "full retry", f"the retry wrote no {name}")
            elif not os.path.exists(theirs) or open(mine, "rb").read() != open(theirs, "rb").read():
                fault(disc, "full retry", f"{name} differs from the multiple job's")
            else:
                same += 1
    mine, theirs = job.path("Muxman.MXP"), scenaid.path("Muxman.MXP")
    if not os.path.exists(mine) or not os.path.exists(theirs) or open(mine, "rb").read() != open(theirs, "rb").read():
        fault(disc, "full retry", "Muxman.MXP differs from the ScenaidMode 1 job's")
    summary(disc, "full retry", before, f"the FULL run failed, the retry wrote {same} small scripts as the multiple "
                                        f"job did")


# ----------------------------------------------- 3. Muxman.MXP: structure


def check_structure(disc, script, source, nav):
    """Domains, languages, PGCs and cells against libdvdread's reading."""
    before = dc.count()
    counts = {"units": 0, "pgcs": 0, "cells": 0, "dummy cells": 0, "titles": 0}
    for number, domain in sorted(source["domains"].items()):
        where = domain_text(number)
        sdomain = script.domains.get(number)
        if sdomain is None:
            fault(disc, "structure", f"{where}: no domain in the script")
            continue
        units = [unit for unit in domain["units"] if unit[1]]
        languages = sdomain["language"]
        if [lang["name"] for lang in languages] != [code for code, _ in units]:
            fault(disc, "structure", f"{where}: languages {[lang['name'] for lang in languages]}, "
                                     f"the disc's units {[code for code, _ in units]}")
            continue
        for language, (code, pgcs) in zip(languages, units):
            counts["units"] += 1
            spgcs = menu_pgcs(language)
            if len(spgcs) < len(language["pgc"]):
                known(disc, "structure", f"{language['label']}: a DummyPGC past the disc's {len(pgcs)} PGCs",
                      DUMMY_PGC)
            if len(spgcs) != len(pgcs):
                fault(disc, "structure", f"{language['label']}: {len(spgcs)} PGCs, the disc {len(pgcs)}")
                continue
            for p, (spgc, pgc) in enumerate(zip(spgcs, pgcs), 1):
                counts["pgcs"] += 1
                compare_pgc(disc, script, source, nav, number, language_name(number, language), p, spgc, pgc, counts)
        if number > 0:
            compare_titles(disc, script, source, number, sdomain, counts)
    summary(disc, "structure", before, ", ".join(f"{n} {what}" for what, n in counts.items()))


def compare_pgc(disc, script, source, nav, number, language, p, spgc, pgc, counts):
    where = spgc["name"]
    if where != pgc_name(number, language, p):
        fault(disc, "structure", f"{where}: expected the name {pgc_name(number, language, p)}")
    if number == 0 and p == 1:
        entry = "Title Menu" if pgc.cat == 0x82 else "No Menu" if pgc.cat & 0x80 == 0 else f"entry {pgc.cat}"
        if entry != "Title Menu":
            known(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id')}, the disc's PGC category {pgc.cat}",
                  VMG_TITLE_MENU)
        elif spgc.get("menu_id") != "Title Menu":
            fault(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id')}, the disc's entry is the title menu")
    else:
        entry = MENU_IDS.get(pgc.cat & 0x0F, f"entry {pgc.cat}") if pgc.cat & 0x80 else "No Menu"
        if spgc.get("menu_id", "") != entry:
            fault(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id', '')}, the disc's category {pgc.cat} "
                                     f"is {entry}")
    for key in ("next", "goup"):
        n = pgc.links[key]
        want = "resume" if key == "goup" and n == 65535 else pgc_name(number, language, n) if n else ""
        if spgc.get(key, "") != want:
            fault(disc, "structure", f"{where}: {key} PGC {spgc.get(key, '')}, the disc's {n}")
    if pgc.links["prev"] and not spgc.get("prev"):
        known(disc, "structure", f"{where}: no previous PGC, the disc's {pgc.links['prev']}", NO_PREV)
    if spgc["still_time"] != pgc.still:
        fault(disc, "structure", f"{where}: PGC Still Time={spgc['still_time']}, the disc {pgc.still}")
    if int(spgc.get("uop") or "0", 16) != pgc.uop:
        fault(disc, "structure", f"{where}: Uop={spgc.get('uop')}, the disc's mask {pgc.uop:08X}")
    for key, list_name in (("pre_command", "PRE"), ("post_command", "POST"), ("cell_command", "CELL")):
        if len(spgc[key]) != len(pgc.commands[list_name]):
            fault(disc, "structure", f"{where}: {len(spgc[key])} {key.replace('_', ' ')}s, "
                                     f"the disc {len(pgc.commands[list_name])}")
    starts = [sum(len(prog["cell"]) for prog in spgc["program"][:g]) + 1 for g in range(len(spgc["program"]))]
    if starts != pgc.program_starts:
        fault(disc, "structure", f"{where}: programs start at cells {starts}, the disc's at {pgc.program_starts}")
    names = [prog["name"] for prog in spgc["program"]]
    if names != [f"{domain_text(number)}{language}PGC{p}PG{g}" for g in range(1, len(names) + 1)]:
        fault(disc, "structure", f"{where}: programs named {names}")
    cells = cells_of(spgc)
    if len(cells) != len(pgc.cells):
        fault(disc, "structure", f"{where}: {len(cells)} cells, the disc {len(pgc.cells)}")
        return
    for n, (cell, dcell) in enumerate(zip(cells, pgc.cells), 1):
        counts["cells"] += 1
        if cell["name"] != f"{domain_text(number)}{language}PGC{p}C{n:03d}":
            fault(disc, "structure", f"{where} cell {n}: named {cell['name']}")
        compare_cell(disc, script, source, nav, number, f"{where} cell {n}", cell, dcell, counts)


def compare_cell(disc, script, source, nav, number, label, cell, dcell, counts):
    """A script cell against the disc's: the scene it links (VOB and cell,
    start in the VOB, UOP mask), still time and cell command."""
    linked = cell["linked_scene"]
    if linked == dummy_scene(number):
        counts["dummy cells"] += 1
        note(disc, "structure", f"{label}: plays the domain's dummy still ({linked}) for the disc's VOB "
                                f"{dcell['vob']} cell {dcell['cell']}, judged a dummy")
        if dcell["still"]:
            known(disc, "structure", f"{label}: Cell Still Time={cell['still_time']}, the disc {dcell['still']}",
                  "a dummy cell is written \"Cell Still Time=0\"")
    else:
        want = scene_name(number, dcell["vob"], dcell["cell"])
        if linked != want:
            fault(disc, "structure", f"{label}: Linked Scene={linked}, the disc's VOB {dcell['vob']} cell "
                                     f"{dcell['cell']} is {want}")
        elif linked not in script.scenes or script.scenes[linked][0]["name"] != segment_name(number, dcell["vob"]):
            fault(disc, "structure", f"{label}: the scene {linked} is not in the segment "
                                     f"{segment_name(number, dcell['vob'])}")
        else:
            track, scene, index = script.scenes[linked]
            if index + 1 != dcell["cell"]:
                fault(disc, "structure", f"{label}: {linked} is scene {index + 1} of {track['name']}")
            # A moving segment's scene starts where the VOB's cells before it end.
            moving = [play["duration"] for play in track["video_play"]] == ["Actual"]
            before = [cell_frames(source, number, dcell["vob"], c) for c in range(1, dcell["cell"])]
            if moving and None not in before:
                at = time_frames(scene["time"], frame_rate(track))
                if abs(at - sum(before)) > 1:
                    fault(disc, "structure", f"{label}: Scene Time={scene['time']}, the disc's cells before it in "
                                             f"the VOB last {sum(before)} frames")
            packs = nav.get((number, dcell["vob"], dcell["cell"]), [])
            if packs and int(scene.get("uop") or "0", 16) != int(packs[0]["UOP"], 16):
                fault(disc, "structure", f"{label}: scene Uop={scene.get('uop')}, the NAV pack's {packs[0]['UOP']}")
        if cell["still_time"] != dcell["still"]:
            fault(disc, "structure", f"{label}: Cell Still Time={cell['still_time']}, the disc {dcell['still']}")
    if cell["cell_command"] != dcell["cmd"]:
        fault(disc, "structure", f"{label}: Command=Cell{cell['cell_command']}, the disc {dcell['cmd']}")


def compare_titles(disc, script, source, number, sdomain, counts):
    """The titles of a title set: each of the disc's titles is there, none
    else, and each program of a title is a PG of a PGC its PTT map names."""
    titles = {title["name"]: title for title in sdomain.get("title", [])}
    ttns = sorted({ttn for (ttn, _) in source["domains"][number]["ptt"]})
    for ttn in ttns:
        name = f"VTS{number}T{ttn}"
        if name not in titles:
            fault(disc, "structure", f"title {ttn} of VTS {number}: no {name} in the script")
            continue
        counts["titles"] += 1
        pgcs = {pgc for (t, _), (pgc, _) in source["domains"][number]["ptt"].items() if t == ttn}
        for spgc in titles[name]["pgc"]:
            m = re.fullmatch(rf"{name}PGC(\d+)", spgc["name"])
            pgc = source["domains"][number]["titles"].get(int(m.group(1))) if m else None
            if m is None or pgc is None or int(m.group(1)) not in pgcs:
                fault(disc, "structure", f"{spgc['name']}: names no PGC of title {ttn}")
                continue
            for g, program in enumerate(spgc["program"], 1):
                if program["name"] != f"{spgc['name']}PG{g}" or g > len(pgc.program_starts):
                    fault(disc, "structure", f"{program['name']}: the disc's PGC {m.group(1)} has "
                                             f"{len(pgc.program_starts)} programs")
    for extra in sorted(set(titles) - {f"VTS{number}T{t}" for t in ttns}):
        fault(disc, "structure", f"{extra}: no such title in VTS {number}")


# ----------------------------------------------- 3. Muxman.MXP: targets


def vmg_units(source):
    return [unit for unit in source["domains"][0]["units"] if unit[1]]


def expected_target(jump, source, script, number, language, p, cells):
    """What the translated text should name for a jump from PGC p of a
    language (L) of title set `number`: (the object the disc reaches, "" for
    a jump whose text names it; the name the writer's rule gives when it
    differs; that rule)."""
    kind = jump[0]
    d = domain_text(number)
    if kind == "LinkPGCN":
        return pgc_name(number, language, jump[1]), None, None
    if kind == "LinkPGN":
        return f"{d}{language}PGC{p}PG{jump[1]}", None, None
    if kind == "LinkCN":
        n = jump[1]
        return (f"{d}{language}PGC{p}C{n:03d}" if 0 < n <= len(cells) else "ERROR"), None, None
    if kind == "JumpTT":
        vts, ttn = source["titles"].get(jump[1], (0, 0))
        return f"VTS{vts}T{ttn}", None, None
    if kind == "JumpVTS_TT":
        return f"VTS{number}T{jump[1]}", None, None
    if kind == "JumpVTS_PTT":
        place = title_pgc_program(source, number, jump[1], jump[2])
        if place is None:
            return "ERROR", None, None
        return f"VTS{number}T{jump[1]}PGC{place[0]}PG{place[1]}", None, None
    if kind in ("JumpSS VMGM PGC", "CallSS VMGM PGC"):
        units = vmg_units(source)
        sdomain = script.domains.get(0)
        if not units or sdomain is None or not sdomain["language"]:
            return "", None, None
        disc_object = pgc_name(0, language_name(0, sdomain["language"][0]), jump[1])
        if kind == "CallSS VMGM PGC" and jump[2] == 0:
            return disc_object, "", "CallSS with RSM 0 is decoded \"pgc=\" n, which names no object"
        n, as_written = jump[1], ""
        for slanguage, (_, pgcs) in zip(sdomain["language"], units):  # numbered over the VMG's languages
            if n <= len(pgcs):
                as_written = pgc_name(0, language_name(0, slanguage), n)
                break
            n -= len(pgcs)
        return disc_object, as_written, "\"pgc_\" n numbers the PGCs over the VMG's languages in order"
    return "", None, None


def command_pairs(source, script, nav):
    """Every command of the script with its raw bytes on the disc: (label,
    command, raw hex, title set, L, PGC number, script cells, whether a
    button)."""
    for number, domain in sorted(source["domains"].items()):
        sdomain = script.domains.get(number)
        units = [unit for unit in domain["units"] if unit[1]]
        if sdomain is None or len(sdomain["language"]) != len(units):
            continue
        for language, (code, pgcs) in zip(sdomain["language"], units):
            name = language_name(number, language)
            for p, (spgc, pgc) in enumerate(zip(menu_pgcs(language), pgcs), 1):
                cells = cells_of(spgc)
                for key, list_name in (("pre_command", "PRE"), ("post_command", "POST"), ("cell_command", "CELL")):
                    if len(spgc[key]) == len(pgc.commands[list_name]):
                        for command, raw in zip(spgc[key], pgc.commands[list_name]):
                            yield f"{spgc['name']} {command['name']}", command, raw, number, name, p, cells, False
                if len(cells) != len(pgc.cells):
                    continue
                for n, (cell, dcell) in enumerate(zip(cells, pgc.cells), 1):
                    packs = nav.get((number, dcell["vob"], dcell["cell"]), [])
                    for m, (menu, pack) in enumerate(zip(cell.get("menu", []), packs), 1):
                        for b, (command, button) in enumerate(zip(menu["command"], nav_buttons(pack)), 1):
                            if button is not None:
                                yield f"{cell['name']} menu {m} button {b}", command, button["cmd"], number, name, \
                                    p, cells, True


def judge_target(disc, check, label, command, raw, jump, want, as_written, rule):
    """One command's target against the disc's: a fault, a KNOWN line, or
    nothing; True when it was compared."""
    got = command["to_action"]
    text = command["command"]
    if text == "LinkTopC, button=1":
        known(disc, check, f"{label}: {raw} ({jump[0]}) written \"{text}\"",
              "RemoveLink replaces a link to a removed menu by \"LinkTopC, button=1\"")
    elif want == "ERROR" and text in ("ERROR", "Nop"):
        known(disc, check, f"{label}: {raw} ({jump[0]}) reaches nothing on the disc: \"{text}\"",
              "an unresolved chapter or cell is written \"ERROR\"")
    elif got == want:
        if want == "" and re.search(r"JumpSS vts_0,", text):
            known(disc, check, f"{label}: \"{text}\"", VTS_0)
    elif rule is not None and got == as_written:
        known(disc, check, f"{label}: \"{text}\" reaches {want}, target {got or 'none'}", rule)
    else:
        fault(disc, check, f"{label}: \"{text}\" ({raw}) reaches {want or 'what its text names'}, target "
                           f"{got or 'none'}")


def check_targets(disc, source, script, nav):
    """Each link or jump of the raw bytes against its translated text."""
    before = dc.count()
    checked = 0
    for label, command, raw, number, language, p, cells, button in command_pairs(source, script, nav):
        jump = decode_jump(raw)
        if jump is None:
            if command["to_action"]:
                fault(disc, "targets", f"{label}: \"{command['command']}\" ({raw}) reaches no object, target "
                                       f"{command['to_action']}")
            continue
        checked += 1
        want, as_written, rule = expected_target(jump, source, script, number, language, p, cells)
        judge_target(disc, "targets", label, command, raw, jump, want, as_written, rule)
    summary(disc, "targets", before, f"{checked} links and jumps of the raw commands")


def button_lists(disc, spgc, cells, dcells, vobs):
    """The script's menus of a PGC beside dvdunauthor's jumps: per VOB of
    the PGC, its cells' menus in order against the VOB's highlights."""
    runs = []  # script menus per run of cells of one VOB
    for cell, dcell in zip(cells, dcells):
        if not runs or runs[-1][0] != dcell["vob"]:
            runs.append((dcell["vob"], []))
        runs[-1][1].extend(cell.get("menu", []))
    if len(runs) != len(vobs):
        fault(disc, "dvdunauthor", f"{spgc['name']}: {len(vobs)} VOBs listed, the script's cells play {len(runs)}")
        return []
    lists = []
    for (vob, menus), highlights in zip(runs, vobs):
        if not menus and any(highlights):
            known(disc, "dvdunauthor", f"{spgc['name']} VOB {vob}: {sum(map(len, highlights))} button jumps listed, "
                                       f"no menu in the script", NO_BITMAP)
            continue
        for i, menu in enumerate(menus):
            jumps = highlights[min(i, len(highlights) - 1)] if highlights else []
            lists.append((f"menu {i + 1} of VOB {vob}", menu["command"], jumps))
    return lists


def check_unauthor(disc, source, script, listing):
    """dvdunauthor's jumps, PGC by PGC, against the script's targets."""
    before = dc.count()
    compared = 0
    for statement in listing["unparsed"]:
        note(disc, "dvdunauthor", f"a statement this check does not read: \"{statement}\"")
    if listing["cell_commands"]:
        note(disc, "dvdunauthor", f"{listing['cell_commands']} cells with commands: dvdunauthor lists them by "
                                  f"cell, not as the PGC's table, so cell commands are left to the raw bytes")
    first = script.model["scenario"]["first_pgc"]
    if listing["first_play"] and not first["pre_command"]:
        known(disc, "dvdunauthor", f"First PGC without commands, the disc's first play {listing['first_play']}",
              EMPTY_FP)
    for number, languages in sorted(listing["domains"].items()):
        sdomain = script.domains.get(number)
        languages = [(code, pgcs) for code, pgcs in languages if pgcs]
        if sdomain is None or [lang["name"] for lang in sdomain["language"]] != [code for code, _ in languages]:
            fault(disc, "dvdunauthor", f"title set {number}: languages {[code for code, _ in languages]} against "
                                       f"the script's")
            continue
        for language, (code, pgcs) in zip(sdomain["language"], languages):
            dpgcs = dict(source["domains"][number]["units"]).get(code, [])
            name = language_name(number, language)
            for p, (spgc, sections) in enumerate(zip(menu_pgcs(language), pgcs), 1):
                cells = cells_of(spgc)
                lists = [("pre", spgc["pre_command"], sections["PRE"]),
                         ("post", spgc["post_command"], sections["POST"])]
                dcells = dpgcs[p - 1].cells if p <= len(dpgcs) else []
                lists += button_lists(disc, spgc, cells, dcells, sections["VOBS"])
                for what, commands, jumps in lists:
                    targets = [c for c in commands if SCRIPT_JUMP.search(c["command"])]
                    if len(targets) != len(jumps):
                        fault(disc, "dvdunauthor", f"{spgc['name']} {what}: {len(jumps)} jumps listed, "
                                                   f"{len(targets)} in the script")
                        continue
                    for k, (command, jump) in enumerate(zip(targets, jumps), 1):
                        compared += 1
                        want, as_written, rule = expected_target(jump, source, script, number, name, p, cells)
                        label = f"{spgc['name']} {what} jump {k}"
                        judge_target(disc, "dvdunauthor", label, command, f"listed as {jump}", jump, want,
                                     as_written, rule)
    summary(disc, "dvdunauthor", before, f"{compared} jumps compared PGC by PGC")


def named_landing(command, source):
    """Where a menu line says it lands: (domain, title set, "pgc" n |
    "entry" menu type | "title" global number, cell or None)."""
    target, text = command["to_action"], command["command"]
    m = re.fullmatch(r"VTS(\d+)T(\d+)PGC(\d+)PG(\d+)", target)
    if m:
        vts, ttn, pgc, pg = (int(g) for g in m.groups())
        title = source["domains"].get(vts, {}).get("titles", {}).get(pgc)
        cell = title.program_starts[pg - 1] if title and pg <= len(title.program_starts) else None
        return "VTS", vts, "title", global_title(source, vts, ttn), cell
    m = re.fullmatch(r"VTS(\d+)T(\d+)", target)
    if m:
        return "VTS", int(m.group(1)), "title", global_title(source, int(m.group(1)), int(m.group(2))), None
    m = re.fullmatch(r"VTS(\d{3})\w*?PGC(\d+)", target)
    if m:
        return "VTSM", int(m.group(1)), "pgc", int(m.group(2)), None
    m = re.fullmatch(r"VMG\w*?PGC(\d+)", target)
    if m:
        return "VMGM", 0, "pgc", int(m.group(1)), None
    if re.fullmatch(r"\w+TitleMenu", target):
        return "VMGM", 0, "pgc", 1, None
    if target:
        return None
    m = re.search(r"JumpSS vts_(\d+), vts_ttn_\d+ : (\w+)$", text)
    if m:
        types = {v: k for k, v in dc.JUMPSS_MENUS.items()}
        return "VTSM", int(m.group(1)), "entry", types.get(m.group(2)), None
    if re.search(r"JumpSS TitleMenu$", text):
        return "VMGM", 0, "entry", 2, None
    return None


def walk_candidates(menu, button, rect, raw, source, script, nav):
    """The menu lines the walk's button is: the same PGC and cell in a
    language unit whose NAV pack has this command and rectangle; and whether
    such a cell's script cell has no menu."""
    domain, vts, pgc, cell = menu
    number = 0 if domain == "VMGM" else vts
    sdomain = script.domains.get(number)
    units = [unit for unit in source["domains"].get(number, {}).get("units", []) if unit[1]]
    found, bare = [], False
    for k, (code, pgcs) in enumerate(units):
        if sdomain is None or k >= len(sdomain["language"]) or pgc > len(pgcs) or cell > len(pgcs[pgc - 1].cells):
            continue
        dcell = pgcs[pgc - 1].cells[cell - 1]
        packs = [p for p in nav.get((number, dcell["vob"], dcell["cell"]), []) if int(p.get("BUTTONS", 0))]
        if not packs:
            continue
        nbutton = nav_buttons(packs[0])[button - 1] if button <= len(nav_buttons(packs[0])) else None
        if nbutton is None or nbutton["cmd"] != raw or (nbutton["x"][0], nbutton["y"][0], nbutton["x"][1],
                                                         nbutton["y"][1]) != rect:
            continue
        spgcs = menu_pgcs(sdomain["language"][k])
        scells = cells_of(spgcs[pgc - 1]) if pgc <= len(spgcs) else []
        menus = scells[cell - 1].get("menu", []) if cell <= len(scells) else []
        if menus and button <= len(menus[0]["command"]):
            found.append((f"{scells[cell - 1]['name']} menu 1 button {button}", menus[0]["command"][button - 1]))
        bare = bare or not menus
    return found, bare


def check_walk(disc, source, script, nav, walk):
    """Each plain button link or jump lands where its menu line says."""
    before = dc.count()
    checked = pressed = 0
    for menu, buttons in walk:
        for button, rect, raw, landing in buttons:
            pressed += 1
            jump = plain_jump(raw)
            if jump is None:
                continue
            label = f"{menu[0]} vts {menu[1]} pgc {menu[2]} cell {menu[3]} button {button}"
            commands, bare = walk_candidates(menu, button, rect, raw, source, script, nav)
            if not commands and bare:
                known(disc, "walk", f"{label} ({raw}) lands on {landing}; the script's cell has no menu", NO_BITMAP)
            elif not commands:
                fault(disc, "walk", f"{label} ({raw}): no menu line found for it")
                continue
            for where, command in commands:
                checked += 1
                named = named_landing(command, source)
                if named is None and re.search(r"JumpSS vts_0,", command["command"]):
                    known(disc, "walk", f"{where} \"{command['command']}\": the disc lands on {landing}", VTS_0)
                elif not landing_matches(named, landing, source):
                    fault(disc, "walk", f"{where} \"{command['command']}\" names {named}, the disc lands on "
                                        f"{landing}")
    if any(len([u for u in d["units"] if u[1]]) > 1 for d in source["domains"].values()):
        note(disc, "walk", "libdvdnav does not tell which language unit a menu PGC is in: a landing is compared "
                           "by domain, title set and PGC number, the pressed button found by its NAV bytes")
    summary(disc, "walk", before, f"{len(walk)} menus walked, {pressed} buttons pressed, {checked} plain links "
                                  f"and jumps compared with their landing")


# -------------------------------------- 4. Muxman.MXP: highlights, sub-pictures


def cell_menus(script, number, vob, cell):
    """The menus of the first script cell that shows the scene of (VOB, cell)."""
    name = scene_name(number, vob, cell)
    for language in script.domains.get(number, {}).get("language", []):
        for spgc in menu_pgcs(language):
            for scell in cells_of(spgc):
                if scell["linked_scene"] == name:
                    return scell.get("menu", [])
    return None


def bitmaps_by_cell(track):
    """Per (stream ordinal from 1, cell id) the segment's sub-picture plays
    (bitmaps) of that cell; their file names give the cell."""
    counts = {}
    for i, stream in enumerate(track["sub_picture_stream"], 1):
        for play in stream["play"]:
            m = re.search(r"_V\d+_C(\d+)\.bmp$", play["file"], re.I)
            if m:
                counts[(i, int(m.group(1)))] = counts.get((i, int(m.group(1))), 0) + 1
    return counts


def pair_highlights(script, number, vob, cells, track):
    """The highlight plays of a segment with the menus they belong to, as
    (cell, k, menu): a cell's menus stand stream by stream, a menu per
    bitmap of a cell with menus, and the k-th menu of the cell took the k-th
    NAV pack's buttons; the plays are those of one stream (the last that
    fits), one a bitmap, less the menus without a line. None when no stream
    fits."""
    bitmaps = bitmaps_by_cell(track)
    streams = len(track["sub_picture_stream"])
    menus = {cell: cell_menus(script, number, vob, cell) or [] for cell in cells}
    if not track["highlight"] and not any(menu["command"] for cell in cells for menu in menus[cell]):
        return []
    found = None
    for used in range(1, streams + 1):
        pairs = []
        for cell in cells:
            if not menus[cell]:
                continue  # subtitles, or no bitmap: no highlight
            per_stream = [bitmaps.get((i, cell), 0) for i in range(1, streams + 1)]
            if sum(per_stream) != len(menus[cell]):
                pairs = None
                break
            first = sum(per_stream[:used - 1])
            pairs += [(cell, first + k, menus[cell][first + k - 1]) for k in range(1, per_stream[used - 1] + 1)]
        pairs = [pair for pair in pairs or [] if pair[2]["command"]] if pairs is not None else None
        if pairs is not None and len(pairs) == len(track["highlight"]):
            found = pairs
    return found


def check_highlights(disc, script, source, nav):
    """Each highlight play against the PCI of the NAV pack whose buttons its
    menu took."""
    before = dc.count()
    plays = buttons_checked = 0
    for number, domain_vobs in sorted(menu_vobs(source).items()):
        for vob, cells in sorted(domain_vobs.items()):
            track = script.segments.get(segment_name(number, vob))
            if track is None:
                fault(disc, "highlights", f"no segment {segment_name(number, vob)}")
                continue
            pairs = pair_highlights(script, number, vob, cells, track)
            if pairs is None:
                fault(disc, "highlights", f"{track['name']}: its {len(track['highlight'])} highlight plays fit the "
                                          f"menus of no one sub-picture stream of its cells")
                continue
            for play, (cell, k, menu) in zip(track["highlight"], pairs):
                packs = nav.get((number, vob, cell), [])
                label = f"{track['name']} play at line {play['line']} (VOB {vob} cell {cell} menu {k})"
                if len(packs) < k:
                    fault(disc, "highlights", f"{label}: the cell has {len(packs)} NAV packs")
                    continue
                plays += 1
                buttons_checked += compare_highlight(disc, label, play, packs[k - 1], menu)
    summary(disc, "highlights", before, f"{plays} highlight plays, {buttons_checked} buttons against the NAV "
                                        f"packs' PCI")


def compare_highlight(disc, label, play, pack, menu):
    """The fields of one highlight play against one PCI; returns the buttons
    compared."""
    if int(pack["HLI"]) == 0:
        fault(disc, "highlights", f"{label}: its NAV pack has no highlight information")
        return 0
    groups = int(pack["GROUPS"])
    count = int(pack["BUTTONS"])
    forced = lambda n: f"Button{n}" if n else "Nonexistent"
    expect = {"offset": int(pack["OFFSET"]), "numerical": int(pack["NUMERIC"]),
              "forced_selected": forced(int(pack["FOSL"])), "forced_activated": forced(int(pack["FOAC"])),
              "button_modes": "/".join(BUTTON_MODES[d] for d in pack["modes"])}
    for key in expect:
        if str(expect[key]) != str(play[key]):
            fault(disc, "highlights", f"{label}: {key} {play[key]}, the PCI {expect[key]}")
    for g, group in enumerate(play["colour_group"]):
        if g >= 3:
            fault(disc, "highlights", f"{label}: Button Color {g + 1}, the PCI has three")
            break
        for state, word in (("selection", pack["colit"][2 * g]), ("action", pack["colit"][2 * g + 1])):
            n = nibbles(word)
            colours, contrasts = four(v + 1 for v in n[:4]), four(n[4:])
            if group[state + "_colour"] != colours or group[state + "_contrast"] != contrasts:
                fault(disc, "highlights", f"{label}: Button Color {g + 1} {state} {group[state + '_colour']} / "
                                          f"{group[state + '_contrast']}, the PCI {colours} / {contrasts}")
    numbers = [button["number"] for button in play["button"]]
    lines = [command["command"] for command in menu["command"]]
    if len(lines) != count:
        fault(disc, "highlights", f"{label}: its menu has {len(lines)} lines, the PCI {count} buttons")
    for b in range(1, count + 1):
        if b not in numbers and b <= len(lines) and lines[b - 1] == "Nop":
            known(disc, "highlights", f"{label}: Button{b} is left out, its menu line \"Nop\"", DUMMY_BUTTON)
        elif b not in numbers:
            fault(disc, "highlights", f"{label}: no Button{b} of the PCI's {count}")
    compared = 0
    for button in play["button"]:
        b = button["number"]
        nav_button = pack["buttons"].get((1, b))
        if nav_button is None or b > count:
            fault(disc, "highlights", f"{label} {button['name']}: the PCI has {count} buttons")
            continue
        compared += 1
        areas = " ".join(f"{a['x'][0]},{a['y'][0]}-{a['x'][1]},{a['y'][1]}"
                         for a in (pack["buttons"].get((g, b)) for g in range(1, groups + 1)) if a)
        number = lambda name: int(name[6:]) if re.fullmatch(r"Button\d+", name or "") else 0
        want = {"colour": nav_button["colour"], "auto": "yes" if nav_button["auto"] == 1 else "no", "areas": areas,
                "left": nav_button["left"], "right": nav_button["right"], "up": nav_button["up"],
                "down": nav_button["down"]}
        have = {"colour": button["colour"], "auto": button["auto"], "areas": button["areas"],
                "left": number(button["left"]), "right": number(button["right"]), "up": number(button["up"]),
                "down": number(button["down"])}
        for key in want:
            if want[key] != have[key]:
                fault(disc, "highlights", f"{label} {button['name']}: {key} {have[key]}, the PCI {want[key]}")
    return compared


def played_cells(source, script):
    """The disc's (title set, VOB id, cell id) that script cells play, and
    those for which they play the domain's dummy still."""
    played, dummies = set(), set()
    for number, domain in source["domains"].items():
        sdomain = script.domains.get(number)
        units = [unit for unit in domain["units"] if unit[1]]
        if sdomain is None or len(sdomain["language"]) != len(units):
            continue
        for language, (_, pgcs) in zip(sdomain["language"], units):
            for spgc, pgc in zip(menu_pgcs(language), pgcs):
                for cell, dcell in zip(cells_of(spgc), pgc.cells):
                    (dummies if cell["linked_scene"] == dummy_scene(number) else played).add(
                        (number, dcell["vob"], dcell["cell"]))
    return played, dummies


def check_subpictures(disc, source, script, video_ts):
    """spuunmux's SPUs per played cell and stream against the sub-picture
    plays (the bitmap's name gives its VOB, cell and source stream)."""
    plays = {}
    for track in script.segments.values():
        for stream in track["sub_picture_stream"]:
            for play in stream["play"]:
                m = re.search(r"\\(D_VIDEO_TS|D_VTS_(\d\d)_0)\\SUBTITLES\\P\d+_S(\d+)_\d+_V(\d+)_C(\d+)\.bmp$",
                              play["file"], re.I)
                if m is None:
                    fault(disc, "subpictures", f"{track['name']}: a play of {play['file']}, no bitmap of a cell")
                    continue
                key = (int(m.group(2) or 0), int(m.group(4)), int(m.group(5)), int(m.group(3)))
                plays[key] = plays.get(key, 0) + 1
    played, dummies = played_cells(source, script)
    dc.compare_spus(disc, source, video_ts, plays, played, dummies, "plays")


# ------------------------------------------------------------------ main


def check_disc(disc, jobs):
    video_ts = os.path.join(fixtures, disc, "VIDEO_TS")
    try:
        source, nav = read_dvdread(video_ts), read_nav(video_ts)
    except subprocess.CalledProcessError as error:
        fault(disc, "dvdread", f"dvdread-dump failed: {error.stderr.strip()}")
        return
    vobs = menu_vobs(source)
    multiple, scenaid, full = jobs[(disc, "multiple")], jobs[(disc, "full-scenaid")], jobs[(disc, "full")]
    mxp = scenaid.path("Muxman.MXP")
    script = None
    if os.path.exists(mxp):
        model = dc.check_lint(disc, scenaid.folder, mxp, "full lint")
        script = Mxp(model) if model is not None else None
    else:
        fault(disc, "full lint", f"no Muxman.MXP (exit {scenaid.status}: {scenaid.tail()})")
    checks = [
        ("multiple job", lambda: check_multiple_job(disc, multiple, vobs)),
        ("small", lambda: check_small_results(disc, multiple,
                                              check_small_scripts(disc, multiple, source, vobs, script))),
        ("full scenaid", lambda: check_full_scenaid(disc, scenaid, vobs)),
        ("full retry", lambda: check_full_retry(disc, full, vobs, multiple, scenaid)),
    ]
    if script is not None:
        checks += [
            ("structure", lambda: check_structure(disc, script, source, nav)),
            ("targets", lambda: check_targets(disc, source, script, nav)),
            ("dvdunauthor", lambda: check_unauthor(disc, source, script, read_unauthor(video_ts))),
            ("walk", lambda: check_walk(disc, source, script, nav, read_walk(video_ts))),
            ("highlights", lambda: check_highlights(disc, script, source, nav)),
            ("subpictures", lambda: check_subpictures(disc, source, script, video_ts)),
        ]
    for name, check in checks:
        try:
            check()
        except (KeyError, IndexError, ValueError, OSError, subprocess.SubprocessError) as error:
            fault(disc, name, f"the check could not be made: {type(error).__name__} {error}")


def main():
    discs = dc.menu_discs(fixtures)
    jobs = run_jobs(discs)
    for disc in discs:
        check_disc(disc, jobs)
    dc.finish()


if __name__ == "__main__":
    main()
