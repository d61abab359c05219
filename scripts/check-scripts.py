#!/usr/bin/env python3
"""Runs kestrova-cli over each fixture disc with menus (every one but
pal-titles-only-lpcm) in the native profile, every menu ticked, and checks
the Scenarist script it writes, Batch_1\\ScenaristScript30_1.SCP, against the
source disc with outside tools:

1. lint: kestrova-inspect --script --json reads it with no error; its model
   serves the checks below.
2. structure: libdvdread (dvdread-dump) on the source: per domain the
   language units, PGC counts, VTS menu entry ids, next, previous and go-up
   PGCs, PGC still times, UOP masks and commands per list; per cell the
   (VOB id, cell id) its scene, track and data file carry, the scene's
   start in its VOB and UOP lines, its still time and cell command.
3. targets: each link or jump in libdvdread's raw command bytes (PGC lists,
   and the buttons of dvdread-dump --nav) against the object its To Action
   names; then dvdunauthor's listing of the source, cut to its jumps, PGC by
   PGC against the same targets.
4. walk: libdvdnav from First Play (dvdnav-walk): each plain button link or
   jump lands on the object the script's button command names.
5. highlights: each highlight play against the NAV pack's PCI (dvdread-dump
   --nav): buttons, areas, neighbours, auto action, colours, contrasts,
   offset, numeric count, forced buttons, button modes.
6. media: ffprobe on the video, still and audio items (frames, size, aspect;
   AC3 length, rate, channels, LFE); spuunmux's SPUs per cell and stream
   against the subpicture items.

Prints one line per disc and check ("ok", or "FAILED" after its faults),
FAULT lines for what is wrong, KNOWN lines where the script follows the
writer's own rule (named) but the disc navigates otherwise, NOTE lines where
a tool cannot show what is compared, and the number of faults at the end;
exits 1 on any fault.
  check-scripts.py [--reuse] BUILD_DIR FIXTURES_DIR WORK
With --reuse a disc whose script already stands under WORK is not run again.
"""
import os
import re
import subprocess

import disc_checks as dc
from disc_checks import (BUTTON_MODES, JUMPSS_MENUS, MENU_TYPES, PERCENT, cell_frames, decode_jump, fault, four,
                         global_title, known, landing_matches, local_path, nav_buttons, nibbles, note, plain_jump,
                         probe, read_dvdread, read_nav, read_unauthor, read_walk, summary, timecode_frames,
                         title_pgc_program, uop_bits)

build, fixtures, work, reuse = dc.arguments(__doc__)
# Buttons of a cell without a highlight bitmap to take them are left out.
NO_BITMAP = "a NAV pack's buttons are taken only by a highlight bitmap of its cell that has none yet"


# ---------------------------------------------------------------- the job


def run_job(disc):
    """Runs kestrova-cli over the disc under WORK/<disc>; returns the run's
    folder and its script's path (None when none was written)."""
    folder = os.path.join(work, disc)
    script = os.path.join(folder, "out", "Batch_1", "ScenaristScript30_1.SCP")
    if not (reuse and os.path.exists(script)):
        dc.run_job(fixtures, folder, disc)
    return folder, script if os.path.exists(script) else None




class Script:
    """The JSON model of kestrova-inspect with the look-ups the checks need."""

    def __init__(self, model):
        self.model = model
        self.items = {}
        for folder in model["data_folder"]:
            for item in folder["item"]:
                self.items[item["name"]] = item
        self.track_of_scene = {}
        self.scenes = {}
        self.tracks = []
        for folder in model["track_folder"]:
            for track in folder["track"]:
                self.tracks.append((folder["name"], track))
                for scene in track["scene"]:
                    self.track_of_scene[scene["name"]] = (folder["name"], track)
                    self.scenes[scene["name"]] = scene
        self.domains = {}
        for domain in model["scenario"]["domain"]:
            number = 0 if domain["kind"] == "video manager" else int(domain["name"].split("_")[1])
            self.domains[number] = domain


def cells_of(pgc):
    return [cell for program in pgc["program"] for cell in program["cell"]]


def pgc_name(domain, language, number):
    return f"VID_{language}_P_{number}" if domain == 0 else f"VTS_{domain}_{language}_P_{number}"


def domain_folder(domain):
    return "D_VIDEO_TS" if domain == 0 else f"D_VTS_{domain:02d}_0"


def script_uop_bits(text):
    return {int(n) for n in re.findall(r"UOP(\d+) ", text or "")}


def is_dummy_scene(name):
    return name.endswith("Dummy_Menu_t_scn")


def scene_source(script, folder, domain, cell):
    """The (VOB id, cell id) that a script cell's scene, its track and its
    data item's file carry, or a sentence saying where the chain breaks."""
    scene = cell["linked_scene"]
    if scene not in script.track_of_scene:
        return f"scene {scene} is in no track"
    track_folder, track = script.track_of_scene[scene]
    want_folder = "VMG Tracks" if domain == 0 else f"VTS_{domain} Tracks"
    if track_folder != want_folder:
        return f"scene {scene} is a track of {track_folder}"
    item = script.items.get(track["picture"].get("data", ""))
    if item is None:
        return f"track {track['name']} plays data {track['picture'].get('data')} that is no item"
    m = re.search(r"\\" + domain_folder(domain) + r"\\NEW_M2V\\(\d{3})(?:_(\d{3}))?\.m2v$", item["file"], re.I)
    if m is None:
        return f"item {item['name']} has file {item['file']}, no stream of {domain_folder(domain)}\\NEW_M2V"
    if m.group(2):
        return int(m.group(1)), int(m.group(2))
    number = [s["name"] for s in track["scene"]].index(scene) + 1
    return int(m.group(1)), number


# ------------------------------------------------------------- the checks


def check_lint(disc, folder, path):
    """1. The script reads and lints with no error; returns its model."""
    model = dc.check_lint(disc, folder, path)
    return Script(model) if model is not None else None


def check_structure(disc, folder, script, source, nav):
    """2. Domains, languages, PGCs and cells against libdvdread's reading."""
    before = dc.count()
    counts = {"units": 0, "pgcs": 0, "cells": 0, "dummy cells": 0}
    for number, domain in sorted(source["domains"].items()):
        where = "VMG" if number == 0 else f"VTS {number}"
        sdomain = script.domains.get(number)
        if sdomain is None:
            fault(disc, "structure", f"{where}: no domain in the script")
            continue
        languages = sdomain["language"]
        units = [unit for unit in domain["units"] if unit[1]]
        if [lang["name"] for lang in languages] != [code for code, _ in units]:
            fault(disc, "structure", f"{where}: languages {[lang['name'] for lang in languages]}, "
                                     f"the disc's units {[code for code, _ in units]}")
            continue
        for language, (code, pgcs) in zip(languages, units):
            counts["units"] += 1
            spgcs = language["pgc"]
            if len(spgcs) == len(pgcs) + 1 and any(p["name"].endswith("_Dummy_Menu") for p in spgcs[-1]["program"]):
                known(disc, "structure", f"{where} {code}: a dummy PGC {spgcs[-1]['name']} past the disc's "
                                         f"{len(pgcs)}", "a language unit when the domain wrote no program so far")
                spgcs = spgcs[:-1]
            if len(spgcs) != len(pgcs):
                fault(disc, "structure", f"{where} {code}: {len(spgcs)} PGCs, the disc {len(pgcs)}")
                continue
            for p, (spgc, pgc) in enumerate(zip(spgcs, pgcs), 1):
                counts["pgcs"] += 1
                compare_pgc(disc, folder, script, nav, source, number, code, p, spgc, pgc, counts)
    summary(disc, "structure", before, ", ".join(f"{n} {what}" for what, n in counts.items()))


def compare_pgc(disc, folder, script, nav, source, number, code, p, spgc, pgc, counts):
    where = spgc["name"]
    if spgc["name"] != pgc_name(number, code, p):
        fault(disc, "structure", f"{where}: expected the name {pgc_name(number, code, p)}")
    entry = MENU_TYPES.get(pgc.cat & 0x0F, "") if pgc.cat & 0x80 else "No Menu"
    if number == 0:
        if entry != "Title Menu":
            known(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id')}, the disc's PGC category {pgc.cat}",
                  "every VMG PGC is written \"Menu ID=Title Menu\"")
        elif spgc.get("menu_id") != entry:
            fault(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id')}, the disc's entry is {entry}")
    elif spgc.get("menu_id", "") != entry:
        fault(disc, "structure", f"{where}: Menu ID={spgc.get('menu_id', '')}, the disc's category {pgc.cat} "
                                 f"is {entry}")
    for key, n in pgc.links.items():
        want = "_Resume_" if n == 65535 else pgc_name(number, code, n) if n else ""
        if spgc.get(key, "") != want:
            fault(disc, "structure", f"{where}: {key} PGC {spgc.get(key, '')}, the disc's {n}")
    if spgc["still_time"] != pgc.still:
        fault(disc, "structure", f"{where}: PGC Still Time={spgc['still_time']}, the disc {pgc.still}")
    if script_uop_bits(spgc.get("uop")) != uop_bits(pgc.uop):
        fault(disc, "structure", f"{where}: UOP bits {sorted(script_uop_bits(spgc.get('uop')))}, the disc's mask "
                                 f"{pgc.uop:08X} {sorted(uop_bits(pgc.uop))}")
    for key, list_name in (("pre_command", "PRE"), ("post_command", "POST"), ("cell_command", "CELL")):
        if len(spgc[key]) != len(pgc.commands[list_name]):
            fault(disc, "structure", f"{where}: {len(spgc[key])} {key.replace('_', ' ')}s, "
                                     f"the disc {len(pgc.commands[list_name])}")
    starts = [sum(len(prog["cell"]) for prog in spgc["program"][:g]) + 1 for g in range(len(spgc["program"]))]
    if starts != pgc.program_starts:
        fault(disc, "structure", f"{where}: programs start at cells {starts}, the disc's at {pgc.program_starts}")
    cells = cells_of(spgc)
    if len(cells) != len(pgc.cells):
        fault(disc, "structure", f"{where}: {len(cells)} cells, the disc {len(pgc.cells)}")
        return
    for n, (cell, dcell) in enumerate(zip(cells, pgc.cells), 1):
        counts["cells"] += 1
        counts["dummy cells"] += is_dummy_scene(cell["linked_scene"])
        compare_cell(disc, folder, script, nav, source, number, f"{where} cell {n}", cell, dcell)



def compare_cell(disc, folder, script, nav, source, number, label, cell, dcell):
    """A script cell against the disc's: the VOB and cell its scene chain
    carries, the scene's start in its VOB and UOP lines, still time and cell
    command."""
    if is_dummy_scene(cell["linked_scene"]):
        note(disc, "structure", f"{label}: plays the domain's dummy still ({cell['linked_scene']}) for the disc's "
                                f"VOB {dcell['vob']} cell {dcell['cell']}, judged a dummy: no chain to follow")
    else:
        chain = scene_source(script, folder, number, cell)
        if chain != (dcell["vob"], dcell["cell"]):
            fault(disc, "structure", f"{label}: the scene chain gives {chain}, the disc VOB {dcell['vob']} "
                                     f"cell {dcell['cell']}")
        scene = script.scenes.get(cell["linked_scene"], {})
        # A scene of a whole VOB starts where the VOB's cells before it end.
        before = [cell_frames(source, number, dcell["vob"], c) for c in range(1, dcell["cell"])]
        if "time" in scene and None not in before:
            ntsc = ";" not in scene["time"]
            if abs(timecode_frames(scene["time"], ntsc) - sum(before)) > 1:
                fault(disc, "structure", f"{label}: Scene Time={scene['time']}, the disc's cells before it in the "
                                         f"VOB last {sum(before)} frames")
        # A scene's UOP lines are the prohibited operations of its cell's first NAV pack.
        packs = nav.get((number, dcell["vob"], dcell["cell"]), [])
        scene_uops = script_uop_bits(scene.get("uop"))
        if packs and scene_uops != uop_bits(int(packs[0]["UOP"], 16)):
            fault(disc, "structure", f"{label}: scene UOP bits {sorted(scene_uops)}, the NAV pack's "
                                     f"{packs[0]['UOP']}")
    if cell["still_time"] != dcell["still"]:
        fault(disc, "structure", f"{label}: Cell Still Time={cell['still_time']}, the disc {dcell['still']}")
    if cell["cell_command"] != dcell["cmd"]:
        fault(disc, "structure", f"{label}: Cell Command={cell['cell_command']}, the disc {dcell['cmd']}")


def expected_target(jump, source, script, number, code, p, cells):
    """What To Action should name for a jump from PGC p of language `code` of
    title set `number`: (the object the disc reaches, or "" for a jump whose
    command text names it; the text the writer's rule gives when it differs;
    that rule)."""
    kind = jump[0]
    vmg_units = [unit for unit in source["domains"][0]["units"] if unit[1]]
    if kind == "LinkPGCN":
        return pgc_name(number, code, jump[1]), None, None
    if kind == "LinkPGN":
        return f"{pgc_name(number, code, p)}_G_{jump[1]}", None, None
    if kind == "LinkCN":
        n = jump[1]
        return (f"{cells[n - 1]['name']}_c" if 0 < n <= len(cells) else "ERROR"), None, None
    if kind == "JumpTT":
        vts, ttn = source["titles"].get(jump[1], (0, 0))
        return f"VTS_{vts}_T_{ttn}", None, None
    if kind == "JumpVTS_TT":
        return f"VTS_{number}_T_{jump[1]}", None, None
    if kind == "JumpVTS_PTT":
        place = title_pgc_program(source, number, jump[1], jump[2])
        if place is None:
            return "ERROR", None, None
        return f"VTS_{number}_T_{jump[1]}_P_{place[0]}_G_{place[1]}", None, None
    if kind in ("JumpSS VMGM PGC", "CallSS VMGM PGC"):
        disc_object = pgc_name(0, vmg_units[0][0], jump[1]) if vmg_units else ""
        if kind == "JumpSS VMGM PGC":
            return disc_object, "", "\"JumpSS pgc_\" gets no target"
        if jump[2] == 0:
            return disc_object, "", "CallSS with RSM 0 reads \"pgc=\", so the \"pgc_\" marker misses"
        languages = script.domains[0]["language"]
        n, as_written = jump[1], ""
        for language in languages:  # PGCs numbered over the VMG's languages in order
            if n <= len(language["pgc"]):
                as_written = f"VID_{language['language_name']}_P_{n}"
                break
            n -= len(language["pgc"])
        return disc_object, as_written, "CallSS names the VMG language by its name, the PGCs by its code"
    return "", None, None


def command_pairs(source, script, nav):
    """Every script command with its raw bytes on the disc: (place, script
    command, raw hex, title set, language code, PGC number, script cells)."""
    for number, domain in sorted(source["domains"].items()):
        sdomain = script.domains.get(number)
        units = [unit for unit in domain["units"] if unit[1]]
        if sdomain is None or len(sdomain["language"]) != len(units):
            continue
        for language, (code, pgcs) in zip(sdomain["language"], units):
            for p, (spgc, pgc) in enumerate(zip(language["pgc"], pgcs), 1):
                cells = cells_of(spgc)
                for key, list_name in (("pre_command", "PRE"), ("post_command", "POST"), ("cell_command", "CELL")):
                    if len(spgc[key]) == len(pgc.commands[list_name]):
                        for command, raw in zip(spgc[key], pgc.commands[list_name]):
                            yield command["name"], command, raw, number, code, p, cells
                if len(cells) != len(pgc.cells):
                    continue
                for cell, dcell in zip(cells, pgc.cells):
                    packs = nav.get((number, dcell["vob"], dcell["cell"]), [])
                    for menu, pack in zip(cell.get("menu", []), packs):
                        buttons = nav_buttons(pack)
                        for command, button in zip(menu["command"], buttons):
                            if button is not None:
                                yield command["name"], command, button["cmd"], number, code, p, cells


def check_targets(disc, source, script, nav):
    """3a. Each link or jump of the raw bytes against its To Action."""
    before = dc.count()
    checked = 0
    for place, command, raw, number, code, p, cells in command_pairs(source, script, nav):
        jump = decode_jump(raw)
        if jump is None:
            if command["to_action"] not in ("",):
                fault(disc, "targets", f"{place}: \"{command['command']}\" ({raw}) reaches no object, "
                                       f"To Action={command['to_action']}")
            continue
        checked += 1
        want, as_written, rule = expected_target(jump, source, script, number, code, p, cells)
        got = command["to_action"]
        button = "_m_" in place  # a button command's name is its menu's and "_m_" n
        unresolved = got == "ERROR" if button else (command["command"], got) == ("Nop", "")
        if want == "ERROR" and unresolved:
            known(disc, "targets", f"{place}: {raw} ({jump[0]}) reaches nothing on the disc: \"{command['command']}\" "
                                   f"To Action={got}", "an unresolved target makes a PGC list's command Nop and "
                                                       "stays ERROR behind a button")
        elif got == want:
            if jump[0] == "LinkCN":
                known(disc, "targets", f"{place}: LinkCN {jump[1]} names {got}",
                      "a LinkCN target is the cell's scene name and \"_c\", which names nothing")
        elif rule is not None and got == as_written:
            known(disc, "targets", f"{place}: \"{command['command']}\" reaches {want}, To Action={got}", rule)
        else:
            reach = want or "what its command text names"
            fault(disc, "targets", f"{place}: \"{command['command']}\" ({raw}) reaches {reach}, To Action={got}")
    summary(disc, "targets", before, f"{checked} links and jumps of the raw commands")


SCRIPT_JUMP = re.compile(r"LinkPGCN|LinkPGN|LinkCN|LinkPTT|JumpTT|JumpVTS_TT|JumpVTS_PTT|JumpSS|CallSS|SPECIAL_MENU_")



def button_lists(disc, spgc, cells, dcells, vobs):
    """The script's button commands of a PGC beside dvdunauthor's jumps: per
    VOB of the PGC, its cells' menus in order against the VOB's highlights
    (a highlight that lasts over several cells is listed once)."""
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
            lists.append((f"buttons of {menu['name']}", menu["command"], jumps))
        if len(highlights) > len(menus):
            known(disc, "dvdunauthor", f"{spgc['name']} VOB {vob}: {len(highlights)} highlights listed, "
                                       f"{len(menus)} menus in the script", NO_BITMAP)
    return lists


def check_unauthor(disc, source, script, listing):
    """3b. dvdunauthor's jumps, PGC by PGC, against the script's targets."""
    before = dc.count()
    compared = 0
    for statement in listing["unparsed"]:
        note(disc, "dvdunauthor", f"a statement this check does not read: \"{statement}\"")
    if listing["cell_commands"]:
        note(disc, "dvdunauthor", f"{listing['cell_commands']} cells with commands: dvdunauthor lists them by "
                                  f"cell, not as the PGC's table, so cell commands are left to the raw bytes")
    first = [c["to_action"] for c in script.model["scenario"]["first_pgc"]["pre_command"]]
    first_play = [expected_target(j, source, script, 0, "", 0, [])[0] or " ".join(map(str, j))
                  for j in listing["first_play"]]
    if first != first_play:
        known(disc, "dvdunauthor", f"First PGC targets {first}, the disc's first play {first_play}",
              "the First PGC is always \"JumpTT 1\"")
    for number, languages in sorted(listing["domains"].items()):
        sdomain = script.domains.get(number)
        languages = [(code, pgcs) for code, pgcs in languages if pgcs]
        if sdomain is None or [l["name"] for l in sdomain["language"]] != [code for code, _ in languages]:
            fault(disc, "dvdunauthor", f"title set {number}: languages "
                                       f"{[code for code, _ in languages]} against the script's")
            continue
        for language, (code, pgcs) in zip(sdomain["language"], languages):
            dpgcs = dict(source["domains"][number]["units"]).get(code, [])
            for p, (spgc, sections) in enumerate(zip(language["pgc"], pgcs), 1):
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
                    for command, jump in zip(targets, jumps):
                        compared += 1
                        want, as_written, rule = expected_target(jump, source, script, number, code, p, cells)
                        got = command["to_action"]
                        if got != want and not (rule is not None and got == as_written):
                            fault(disc, "dvdunauthor", f"{command['name']}: \"{command['command']}\" listed as "
                                                       f"{jump}, reaching {want or 'no named object'}; "
                                                       f"To Action={got}")
    summary(disc, "dvdunauthor", before, f"{compared} jumps compared PGC by PGC")



def named_landing(command, source):
    """Where a script button command says it lands: (domain, title set,
    "pgc" n | "entry" menu type | "title" global number, cell or None)."""
    target, text = command["to_action"], command["command"]
    m = re.fullmatch(r"VTS_(\d+)_T_(\d+)_P_(\d+)_G_(\d+)", target)
    if m:
        vts, ttn, pgc, pg = (int(g) for g in m.groups())
        title = source["domains"].get(vts, {}).get("titles", {}).get(pgc)
        cell = title.program_starts[pg - 1] if title and pg <= len(title.program_starts) else None
        return "VTS", vts, "title", global_title(source, vts, ttn), cell
    m = re.fullmatch(r"VTS_(\d+)_T_(\d+)", target)
    if m:
        return "VTS", int(m.group(1)), "title", global_title(source, int(m.group(1)), int(m.group(2))), None
    m = re.fullmatch(r"VTS_(\d+)_(\w+?)_P_(\d+)", target)
    if m:
        return "VTSM", int(m.group(1)), "pgc", int(m.group(3)), None
    m = re.fullmatch(r"VID_(\w+?)_P_(\d+)", target)
    if m:
        return "VMGM", 0, "pgc", int(m.group(2)), None
    if target:
        return None
    m = re.search(r"JumpSS vts_(\d+), vts_ttn_\d+ : (\w+)$", text)
    if m:
        types = {v: k for k, v in JUMPSS_MENUS.items()}
        return "VTSM", int(m.group(1)), "entry", types.get(m.group(2)), None
    if re.search(r"JumpSS TitleMenu$", text):
        return "VMGM", 0, "entry", 2, None
    m = re.search(r"JumpSS pgc_(\d+)$", text)
    if m:
        return "VMGM", 0, "pgc", int(m.group(1)), None
    return None



def walk_candidates(menu, button, rect, raw, source, script, nav):
    """The script button commands that the walk's button is: the same PGC and
    cell in a language unit whose NAV pack has this command and rectangle;
    and whether such a cell's script cell has no menu."""
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
        spgcs = sdomain["language"][k]["pgc"]
        scells = cells_of(spgcs[pgc - 1]) if pgc <= len(spgcs) else []
        menus = scells[cell - 1].get("menu", []) if cell <= len(scells) else []
        if menus and button <= len(menus[0]["command"]):
            found.append(menus[0]["command"][button - 1])
        bare = bare or not menus
    return found, bare


def check_walk(disc, source, script, nav, walk):
    """4. Each plain button link or jump lands where the script says."""
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
                fault(disc, "walk", f"{label} ({raw}): no script button command found for it")
                continue
            for command in commands:
                checked += 1
                named = named_landing(command, source)
                if not landing_matches(named, landing, source):
                    fault(disc, "walk", f"{label}: {command['name']} \"{command['command']}\" To Action="
                                        f"{command['to_action']} names {named}, the disc lands on {landing}")
    if any(len([u for u in d["units"] if u[1]]) > 1 for d in source["domains"].values()):
        note(disc, "walk", "libdvdnav does not tell which language unit a menu PGC is in: a landing is compared "
                           "by domain, title set and PGC number, the pressed button found by its NAV bytes")
    summary(disc, "walk", before, f"{len(walk)} menus walked, {pressed} buttons pressed, {checked} plain links "
                                  f"and jumps compared with their landing")


def check_highlights(disc, script, nav, played):
    """5. Each highlight play against the PCI of its cell's NAV pack."""
    before = dc.count()
    plays = buttons_checked = 0
    covered = set()
    for folder_name, track in script.tracks:
        if not track["highlight"]:
            continue
        number = 0 if folder_name == "VMG Tracks" else int(folder_name.split()[0].split("_")[1])
        for play in track["highlight"]:
            names = [b["name"] for b in play["button"]]
            m = re.search(r"_(\d{3})_(\d{3})_btn_(\d+)_(\d+)$", names[0]) if names else None
            if m is None:
                note(disc, "highlights", f"{track['name']} line {play['line']}: a dummy highlight "
                                         f"({names[0] if names else 'no button'}), no NAV pack to compare")
                continue
            vob, cell, bitmap = int(m.group(1)), int(m.group(2)), int(m.group(3))
            covered.add((number, vob, cell))
            packs = nav.get((number, vob, cell), [])
            label = f"{track['name']} bitmap {bitmap} (VOB {vob} cell {cell})"
            if len(packs) < bitmap:
                fault(disc, "highlights", f"{label}: the cell has {len(packs)} NAV packs")
                continue
            plays += 1
            buttons_checked += compare_highlight(disc, label, play, packs[bitmap - 1])
    for key, packs in sorted(nav.items()):
        with_buttons = [p for p in packs if int(p.get("BUTTONS", 0))]
        if with_buttons and key not in covered and key in played:
            known(disc, "highlights", f"title set {key[0]} VOB {key[1]} cell {key[2]}: {len(with_buttons)} NAV packs "
                                      f"with {with_buttons[0]['BUTTONS']} buttons, no highlight play", NO_BITMAP)
    summary(disc, "highlights", before, f"{plays} highlight plays, {buttons_checked} buttons against the NAV "
                                        f"packs' PCI")


def compare_highlight(disc, label, play, pack):
    """The fields of one highlight play against one PCI; returns the buttons
    compared."""
    if int(pack["HLI"]) == 0:
        fault(disc, "highlights", f"{label}: its NAV pack has no highlight information")
        return 0
    groups = int(pack["GROUPS"])
    expect = {
        "buttons": int(pack["BUTTONS"]), "offset": int(pack["OFFSET"]), "numerical": int(pack["NUMERIC"]),
        "forced_selected": str(int(pack["FOSL"]) or "Nonexistent"),
        "forced_activated": str(int(pack["FOAC"]) or "Nonexistent"),
        "button_modes": "/".join(BUTTON_MODES[d] for d in pack["modes"]),
    }
    got = {"buttons": len(play["button"]), "offset": play["offset"], "numerical": play["numerical"],
           "forced_selected": play["forced_selected"], "forced_activated": play["forced_activated"],
           "button_modes": play["button_modes"]}
    for key in expect:
        if str(expect[key]) != str(got[key]):
            fault(disc, "highlights", f"{label}: {key} {got[key]}, the PCI {expect[key]}")
    for g, group in enumerate(play["colour_group"][:3]):
        for state, word in (("selection", pack["colit"][2 * g]), ("action", pack["colit"][2 * g + 1])):
            n = nibbles(word)
            colours, contrasts = four(v + 1 for v in n[:4]), four(PERCENT[v] for v in n[4:])
            if group[state + "_colour"] != colours or group[state + "_contrast"] != contrasts:
                fault(disc, "highlights", f"{label}: Button Color {g + 1} {state} {group[state + '_colour']} / "
                                          f"{group[state + '_contrast']} %, the PCI {colours} / {contrasts} %")
    compared = 0
    for b, button in enumerate(play["button"], 1):
        nav_button = pack["buttons"].get((1, b))
        if nav_button is None:
            continue
        compared += 1
        areas = []
        for n in range(1, 4):
            area = pack["buttons"].get((min(n, groups), b), nav_button)
            areas.append(f"{area['x'][0]},{area['y'][0]}-{area['x'][1]},{area['y'][1]}")
        number = lambda name: int(re.search(r"_(\d+)$", name).group(1)) if re.search(r"_(\d+)$", name) else 0
        want = {"number": b, "colour": nav_button["colour"], "auto": "yes" if nav_button["auto"] == 1 else "no",
                "areas": " ".join(areas), "left": nav_button["left"], "right": nav_button["right"],
                "up": nav_button["up"], "down": nav_button["down"]}
        have = {"number": button["number"], "colour": button["colour"], "auto": button["auto"],
                "areas": button["areas"], "left": number(button["left"]), "right": number(button["right"]),
                "up": number(button["up"]), "down": number(button["down"])}
        for key in want:
            if want[key] != have[key]:
                fault(disc, "highlights", f"{label} {button['name']}: {key} {have[key]}, the PCI {want[key]}")
    return compared


def item_domain(name):
    m = re.match(r"VTS_(\d+)_", name)
    return int(m.group(1)) if m else 0


def zero_time_vob(source, name):
    """Whether every cell of the item's VOB has a zero playback time in the
    IFO (a VOB the IFO makes a dummy)."""
    m = re.match(r"(?:VID|VTS_(\d+))_(\d{3})$", name)
    if m is None:
        return False
    number, vob = int(m.group(1) or 0), int(m.group(2))
    times = [cell["time"] for _, pgcs in source["domains"].get(number, {}).get("units", []) for pgc in pgcs
             for cell in pgc.cells if cell["vob"] == vob]
    return bool(times) and all(int(t[:6], 16) == 0 and int(t[6:], 16) & 0x3F == 0 for t in times)


def check_video_audio(disc, folder, script, source):
    """6a. ffprobe on the video, still and audio items."""
    before = dc.count()
    counts = {"motion": 0, "still": 0, "audio": 0}
    first_audio = {}
    for name, item in script.items.items():
        path = local_path(folder, item["file"])
        if item["kind"] in ("video", "still"):
            if path is None:
                note(disc, "media", f"{name}: {item['file']} is not there to probe")
                continue
            stream = probe(path, "mpegvideo", "width,height,display_aspect_ratio,nb_read_frames")
            dar = "16:9" if item.get("aspect", "").startswith("16") else "4:3"
            if (stream.get("width"), stream.get("height")) != (item.get("width"), item.get("height")):
                fault(disc, "media", f"{name}: {item.get('width')}x{item.get('height')}, ffprobe "
                                     f"{stream.get('width')}x{stream.get('height')}")
            if stream.get("display_aspect_ratio") != dar:
                fault(disc, "media", f"{name}: Aspect Ratio={item.get('aspect')}, ffprobe "
                                     f"{stream.get('display_aspect_ratio')}")
            if item["kind"] == "video":
                counts["motion"] += 1
                frames = int(stream.get("nb_read_frames", 0))
                end = timecode_frames(item["end"], ";" not in item["end"])
                if abs(frames - end) > 1 and end == 0 and zero_time_vob(source, name):
                    known(disc, "media", f"{name}: Data End Time={item['end']}, ffprobe {frames} frames: the IFO "
                                         f"gives its cells no time",
                          "a VOB whose cells the IFO gives no time is a dummy only while no real PGC uses it")
                elif abs(frames - end) > 1:
                    fault(disc, "media", f"{name}: Data End Time={item['end']} ({end} frames), ffprobe {frames}")
            else:
                counts["still"] += 1
        elif item["kind"] == "audio":
            counts["audio"] += 1
            if path is None:
                fault(disc, "media", f"{name}: {item['file']} is not there to probe")
                continue
            stream = probe(path, "ac3", "codec_name,bit_rate,channels,channel_layout,duration")
            # An audio length leaves out the file's last AC3 frame (32 ms), as a
            # video end time names the last frame rather than the one after it.
            ntsc = ";" not in item["end"]
            length = (float(stream.get("duration", 0)) - 0.032) * (30000 / 1001 if ntsc else 25)
            if abs(length - timecode_frames(item["end"], ntsc)) > 1:
                fault(disc, "media", f"{name}: Data End Time={item['end']}, ffprobe {stream.get('duration')} s")
            lfe = "LFE" in stream.get("channel_layout", "") or stream.get("channel_layout", "").endswith(".1")
            front, rear = (int(x) for x in item["channels"].split(":"))
            own = (int(stream.get("bit_rate", 0)), int(stream.get("channels", 0)), "yes" if lfe else "no")
            named = (item["bit_rate"], front + rear + (1 if item["lfe"] == "yes" else 0), item["lfe"])
            first = first_audio.setdefault(item_domain(name), (name, own))
            if stream.get("codec_name") != "ac3":
                fault(disc, "media", f"{name}: ffprobe finds {stream.get('codec_name')}, not AC3")
            elif named != own and named == first[1]:
                known(disc, "media", f"{name}: bit rate, channels, LFE {named} are those of {first[0]}; "
                                     f"its own stream has {own}",
                      "the first good AC3 stream of a domain sets them for all its audio items")
            elif named != own:
                fault(disc, "media", f"{name}: bit rate, channels, LFE {named}, ffprobe {own}")
    summary(disc, "media", before, f"{counts['motion']} motion video items, {counts['still']} stills, "
                      f"{counts['audio']} audio items probed")


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
            for spgc, pgc in zip(language["pgc"], pgcs):
                for cell, dcell in zip(cells_of(spgc), pgc.cells):
                    (dummies if is_dummy_scene(cell["linked_scene"]) else played).add(
                        (number, dcell["vob"], dcell["cell"]))
    return played, dummies


def check_subpictures(disc, source, script, video_ts):
    """6b. spuunmux's SPUs per played cell and subpicture stream the cell
    carries against the subpicture items (cells judged dummies aside)."""
    items = {}
    for item in script.items.values():
        m = re.search(r"\\(D_VIDEO_TS|D_VTS_(\d\d)_0)\\SUBTITLES\\P\d+_S(\d+)_\d+_V(\d+)_C(\d+)\.bmp$", item["file"],
                      re.I)
        if item["kind"] == "sub-picture" and m:
            key = (int(m.group(2) or 0), int(m.group(4)), int(m.group(5)), int(m.group(3)))
            items[key] = items.get(key, 0) + 1
    played, dummies = played_cells(source, script)
    dc.compare_spus(disc, source, video_ts, items, played, dummies, "items")


# ------------------------------------------------------------------ main


def main():
    for disc in dc.menu_discs(fixtures):
        video_ts = os.path.join(fixtures, disc, "VIDEO_TS")
        folder, path = run_job(disc)
        if path is None:
            fault(disc, "job", f"no Batch_1\\ScenaristScript30_1.SCP (see {folder}/cli.out)")
            continue
        script = check_lint(disc, folder, path)
        if script is None:
            continue
        try:
            source, nav = read_dvdread(video_ts), read_nav(video_ts)
        except subprocess.CalledProcessError as error:
            fault(disc, "dvdread", f"dvdread-dump failed: {error.stderr.strip()}")
            continue
        checks = [
            ("structure", lambda: check_structure(disc, folder, script, source, nav)),
            ("targets", lambda: check_targets(disc, source, script, nav)),
            ("dvdunauthor", lambda: check_unauthor(disc, source, script, read_unauthor(video_ts))),
            ("walk", lambda: check_walk(disc, source, script, nav, read_walk(video_ts))),
            ("highlights", lambda: check_highlights(disc, script, nav, played_cells(source, script)[0])),
            ("media", lambda: check_video_audio(disc, folder, script, source)),
            ("subpictures", lambda: check_subpictures(disc, source, script, video_ts)),
        ]
        for name, check in checks:
            try:
                check()
            except (KeyError, IndexError, ValueError, OSError, subprocess.SubprocessError) as error:
                fault(disc, name, f"the check could not be made: {type(error).__name__} {error}")
    dc.finish()


if __name__ == "__main__":
    main()
