"""What the disc checks share (check-scripts.py, check-muxman.py): their
command line, the FAULT/KNOWN/NOTE/summary lines and the fault count, and
the readings of a disc by outside tools: libdvdread (dvdread-dump, its
--nav and --title-nav listings of NAV packs), dvdunauthor, libdvdnav's walk
from First Play (dvdnav-walk), ffprobe and spuunmux; and the raw VM command
bytes' links and jumps.
"""
import json
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

faults = 0
BUILD = None  # the build folder, set by arguments()

PERCENT = [0, 7, 13, 20, 27, 33, 40, 47, 53, 60, 67, 73, 80, 87, 93, 100]
MENU_TYPES = {2: "Title Menu", 3: "Root Menu", 4: "Subpicture Menu", 5: "Audio Menu", 6: "Angle Menu",
              7: "PTT Menu"}
# The text of a menu type in a JumpSS command, by the low digit of its byte 5.
JUMPSS_MENUS = {3: "RootMenu", 4: "Sub-pictureMenu", 5: "AudioMenu", 6: "AngleMenu", 7: "PTT_Menu"}
BUTTON_MODES = ["Normal", "Wide", "Letter", "Wide/Letter", "Pan", "Wide/Pan", "Letter/Pan", "Wide/Letter/Pan"]


def arguments(doc):
    """[--reuse] BUILD_DIR FIXTURES_DIR WORK as absolute paths and whether to
    reuse the jobs under WORK; exits with `doc` on another command line."""
    global BUILD
    words = [a for a in sys.argv[1:] if a != "--reuse"]
    if len(words) != 3:
        sys.exit(doc)
    BUILD, fixtures, work = (os.path.abspath(a) for a in words)
    os.makedirs(work, exist_ok=True)
    return BUILD, fixtures, work, "--reuse" in sys.argv[1:]


def tool(name):
    """A program of the build folder ("kestrova-inspect", "tests/dvdread-dump")."""
    return os.path.join(BUILD, name)


def menu_discs(fixtures):
    """The fixture discs with menus: every one but pal-titles-only-lpcm."""
    return sorted(d for d in os.listdir(fixtures)
                  if d != "pal-titles-only-lpcm" and os.path.isdir(os.path.join(fixtures, d, "VIDEO_TS")))


def count():
    """The faults found so far; a check's summary compares with it."""
    return faults


def finish():
    """Prints the number of faults and exits, 1 on any fault."""
    print(f"{faults} faults")
    sys.exit(1 if faults else 0)


def fault(disc, check, text):
    global faults
    faults += 1
    print(f"FAULT: {disc} {check}: {text}")


def known(disc, check, text, rule):
    print(f"KNOWN: {disc} {check}: {text} (rule: {rule})")


def note(disc, check, text):
    print(f"NOTE: {disc} {check}: {text}")


def summary(disc, check, before, text):
    """The check's line: "ok" when it found no fault since `before`."""
    print(f"{'ok' if faults == before else 'FAILED'} {disc} {check}: {text}")


def run(command, **kw):
    return subprocess.run(command, capture_output=True, text=True, **kw)


def run_job(fixtures, folder, disc, settings=""):
    """Runs kestrova-cli over a fixture disc in `folder` (made anew) through
    run-sample-job.sh, with `settings` (registry lines) over the sample's
    own; its output goes to folder/cli.out. Returns its exit status."""
    subprocess.run(["rm", "-rf", folder], check=True)
    os.makedirs(folder)
    env = dict(os.environ)
    if settings:
        env["KESTROVA_SAMPLE_SETTINGS"] = os.path.join(folder, "settings.reg")
        with open(env["KESTROVA_SAMPLE_SETTINGS"], "w") as f:
            f.write(settings)
    here = os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(folder, "cli.out"), "w") as out:
        return subprocess.run(["bash", os.path.join(here, "run-sample-job.sh"), BUILD, fixtures, folder, disc],
                              stdout=out, stderr=subprocess.STDOUT, env=env).returncode


def lint(path, folder):
    """kestrova-inspect --script --json over a script whose K: drive is
    `folder`: (the JSON model or None, error lines, warning lines, exit
    status, stderr)."""
    env = dict(os.environ, KESTROVA_DRIVES="K:=" + folder)
    result = run([tool("kestrova-inspect"), "--script", path, "--json"], env=env)
    errors = [line for line in result.stderr.splitlines() if ": error: " in line]
    warnings = [line for line in result.stderr.splitlines() if ": warning: " in line]
    try:
        model = json.loads(result.stdout)
    except json.JSONDecodeError:
        model = None
    return model, errors, warnings, result.returncode, result.stderr


def check_lint(disc, folder, path, check="lint"):
    """The script reads and lints with no error; returns its JSON model."""
    before = faults
    model, errors, warnings, status, stderr = lint(path, folder)
    for line in errors:
        fault(disc, check, line.split(": ", 1)[1])
    if status != 0 and not errors:
        fault(disc, check, f"kestrova-inspect exit {status}: {stderr.strip()[-300:]}")
    if model is None:
        fault(disc, check, "no JSON model")
        return None
    summary(disc, check, before, f"{len(errors)} errors, {len(warnings)} warnings (the writer's oddities, each "
                                 f"by its rule)")
    return model


def local_path(folder, path):
    """A path of the script (K:\\out\\...) on this machine, looked up without
    regard to case as the drive map does; None when it is not there."""
    if not path.upper().startswith("K:\\"):
        return None
    current = folder
    for part in path[3:].split("\\"):
        if not part:
            continue
        try:
            names = os.listdir(current)
        except OSError:
            return None
        match = [n for n in names if n.lower() == part.lower()]
        if not match:
            return None
        current = os.path.join(current, match[0])
    return current


# ------------------------------------------------------ the source, by tool


class Pgc:
    def __init__(self, fields):
        self.cat = int(fields["CAT"])
        self.still = int(fields["STILL"])
        self.uop = int(fields["UOP"], 16)
        self.links = {"next": int(fields["NEXT"]), "prev": int(fields["PREV"]), "goup": int(fields["GOUP"])}
        self.commands = {"PRE": [], "POST": [], "CELL": []}
        self.program_starts = []  # first cell of each program
        self.cells = []  # dicts: vob, cell, still, cmd


def read_dvdread(video_ts):
    """dvdread-dump's listing: per title set (0 the VMG) its language units
    [(code, [Pgc])], title PGCs by number, PTT map and C_ADT rows; the VMG's
    titles as (title set, VTS title)."""
    text = run([tool("tests/dvdread-dump"), video_ts], check=True).stdout
    disc = {"folder": video_ts, "titles": {}, "domains": {}, "cell_frames": {}}
    domain = None
    pgcs = {}
    for line in text.splitlines():
        words = line.split()
        kind = words[0]
        if kind == "IFO":
            number = 0 if words[1] == "VIDEO_TS.IFO" else int(words[1][4:6])
            domain = disc["domains"][number] = {"units": [], "titles": {}, "ptt": {}, "cadt": {}}
            pgcs = {}
        elif kind == "TITLE":
            disc["titles"][int(words[1])] = (int(words[3]), int(words[5]))
        elif kind == "PTT":
            domain["ptt"][(int(words[1]), int(words[2]))] = (int(words[4]), int(words[6]))
        elif kind == "UNIT":
            domain["units"].append((words[3], []))
        elif kind == "PGC":
            pgc = pgcs[words[1]] = Pgc(dict(zip(words[2::2], words[3::2])))
            if words[1].startswith("T"):
                domain["titles"][int(words[1][1:])] = pgc
            elif words[1] != "FP":
                domain["units"][-1][1].append(pgc)
        elif kind == "CMD":
            pgcs[words[1]].commands[words[2]].append(words[4])
        elif kind == "PROG":
            pgcs[words[1]].program_starts.append(int(words[3]))
        elif kind == "CELL":
            pgcs[words[1]].cells.append({"vob": int(words[4]), "cell": int(words[6]), "still": int(words[10]),
                                         "cmd": int(words[12]), "time": words[14]})
            if not words[1].startswith(("T", "FP")):
                disc["cell_frames"][(number, int(words[4]), int(words[6]))] = bcd_frames(words[14])
        elif kind == "CADT":
            domain["cadt"][(int(words[1]), int(words[2]))] = (int(words[3]), int(words[4]))
    return disc


def bcd_frames(time):
    """Frames of an IFO playback time: BCD hours, minutes, seconds, then the
    frame rate in the top two bits (1 for 25, 3 for 30) and BCD frames."""
    digits = [int(time[i:i + 2], 10) if i < 6 else 0 for i in range(0, 8, 2)]
    rate = 25 if int(time[6], 16) >> 2 == 1 else 30
    frame = int(time[6], 16) & 3
    return ((digits[0] * 60 + digits[1]) * 60 + digits[2]) * rate + frame * 10 + int(time[7], 16)


def read_nav(video_ts, titles=False):
    """dvdread-dump --nav (--title-nav with `titles`): per (title set, VOB id,
    cell id), its NAV packs of the menu (title) VOBs in file order, each with
    its fields (LBN, SPTM, UOP, HLI...), highlight fields and buttons by
    (group, number)."""
    listing = "--title-nav" if titles else "--nav"
    text = run([tool("tests/dvdread-dump"), listing, video_ts], check=True).stdout
    packs = {}
    current = {}
    for line in text.splitlines():
        words = line.split()
        if words[0] == "NAV":
            fields = dict(zip(words[3::2], words[4::2]))
            current = {key: fields[key] for key in fields if key != "COLIT"}
            current["colit"] = [int(w, 16) for w in words[words.index("COLIT") + 1:]] if "COLIT" in words else []
            current["modes"] = [int(w) for w in words[words.index("MODES") + 1:words.index("MODES") + 4]] \
                if "MODES" in words else []
            current["buttons"] = {}
            key = (int(words[1]), int(fields["VOB"]), int(fields["CELL"]))
            packs.setdefault(key, []).append(current)
        elif words[0] == "BTN":
            fields = dict(zip(words[5::2], words[6::2]))
            current["buttons"][(int(words[3]), int(words[4]))] = {
                "colour": int(fields["COLOUR"]), "x": (int(words[8]), int(words[9])),
                "y": (int(words[11]), int(words[12])), "auto": int(fields["AUTO"]), "up": int(fields["UP"]),
                "down": int(fields["DOWN"]), "left": int(fields["LEFT"]), "right": int(fields["RIGHT"]),
                "cmd": fields["CMD"]}
    return packs


def nav_buttons(pack):
    """The buttons of a NAV pack in group 1, by number."""
    count = int(pack.get("BUTTONS", 0))
    return [pack["buttons"].get((1, b)) for b in range(1, count + 1)]


def uop_bits(mask):
    return {bit for bit in range(25) if mask >> bit & 1}


def cell_frames(source, number, vob, cell):
    """The frames of a menu cell: its IFO playback time, or for a cell the IFO
    gives no time, the pictures ffprobe counts in its sectors."""
    frames = source["cell_frames"].get((number, vob, cell))
    if frames != 0 or (vob, cell) not in source["domains"][number]["cadt"]:
        return frames
    first, last = source["domains"][number]["cadt"][(vob, cell)]
    name = "VIDEO_TS.VOB" if number == 0 else f"VTS_{number:02d}_0.VOB"
    with open(os.path.join(source["folder"], name), "rb") as f:
        f.seek(first * 2048)
        piece = f.read((last + 1 - first) * 2048)
    with tempfile.TemporaryDirectory() as tmp:
        with open(os.path.join(tmp, "cell.vob"), "wb") as f:
            f.write(piece)
        return int(probe(os.path.join(tmp, "cell.vob"), "mpeg", "nb_read_frames").get("nb_read_frames", 0))


# ------------------------------------------------ the raw commands' jumps


def decode_jump(hexcmd):
    """The link or jump of a raw command with the object it reaches, from the
    DVD-Video command layout: a tuple (kind, numbers...) or None."""
    b = bytes.fromhex(hexcmd)
    sub = b[1] & 0x0F
    link = (b[6] << 8 | b[7])
    if b[0] == 0x20 or 0x40 <= b[0] <= 0x7F:  # a link, alone or behind a set command
        if sub == 4:
            return ("LinkPGCN", link & 0x7FFF)
        if sub == 5:
            return ("LinkPTTN", link & 0x3FF)
        if sub == 6:
            return ("LinkPGN", b[7] & 0x7F)
        if sub == 7:
            return ("LinkCN", b[7])
        return None
    if b[0] != 0x30:
        return None
    if sub == 2:
        return ("JumpTT", b[5] & 0x7F)
    if sub == 3:
        return ("JumpVTS_TT", b[5] & 0x7F)
    if sub == 5:
        return ("JumpVTS_PTT", b[5] & 0x7F, (b[2] & 0x03) << 8 | b[3])
    if sub in (6, 8):
        verb = "JumpSS" if sub == 6 else "CallSS"
        space = b[5] >> 6
        if space == 0:
            return (verb + " FP",)
        if space == 1:
            return (verb + " VMGM", b[5] & 0x0F)
        if space == 2:
            return (verb + " VTSM", b[4] if sub == 6 else 0, b[3], b[5] & 0x0F)
        return (verb + " VMGM PGC", (b[2] << 8 | b[3]) & 0x7FFF, b[4] if sub == 8 else 0)
    return None


def title_pgc_program(source, vts, ttn, chapter):
    return source["domains"].get(vts, {}).get("ptt", {}).get((ttn, chapter))


def global_title(source, vts, ttn):
    for number, place in source["titles"].items():
        if place == (vts, ttn):
            return number
    return None


# ------------------------------------------------- dvdunauthor, libdvdnav


UNAUTHOR_JUMPS = [  # dvdunauthor's statement, the jump it stands for (VMG, VTS)
    (r"jump pgc tail$", None, None),
    (r"jump pgc (\d+)$", "LinkPGCN", "LinkPGCN"),
    (r"jump cell (\d+)$", "LinkCN", "LinkCN"),
    (r"jump program (\d+)$", "LinkPGN", "LinkPGN"),
    (r"jump chapter (\d+)$", "LinkPTTN", "LinkPTTN"),
    (r"jump title (\d+) chapter (\d+)$", None, "JumpVTS_PTT"),
    (r"jump title (\d+)$", "JumpTT", "JumpVTS_TT"),
    (r"jump vmgm menu (\d+)$", "JumpSS VMGM PGC", "JumpSS VMGM PGC"),
    (r"jump vmgm menu entry (\w+)$", "JumpSS VMGM", "JumpSS VMGM"),
    (r"jump titleset (\d+) menu entry (\w+)$", "JumpSS VTSM", "JumpSS VTSM"),
    (r"jump menu entry (\w+)$", "JumpSS VTSM", "JumpSS VTSM"),
    (r"jump (?:vmgm )?fpc$", "JumpSS FP", "JumpSS FP"),
    (r"call vmgm menu (\d+) resume (\d+)$", "CallSS VMGM PGC", "CallSS VMGM PGC"),
    (r"call vmgm menu entry (\w+)(?: resume (\d+))?$", "CallSS VMGM", "CallSS VMGM"),
    (r"call menu entry (\w+)(?: resume (\d+))?$", "CallSS VTSM", "CallSS VTSM"),
]
# dvdunauthor's menu entry words as menu types.
ENTRIES = {"title": 2, "root": 3, "subtitle": 4, "audio": 5, "angle": 6, "ptt": 7}


def unauthor_jumps(text, vmg, unparsed):
    """The jumps of a dvdunauthor command text that reach an object, in order,
    as decode_jump's tuples; statements it cannot read go to `unparsed`."""
    jumps = []
    text = re.sub(r"<!--.*?-->", "", text or "", flags=re.S)
    for statement in re.split(r"[;{}\n]", text):
        statement = re.sub(r"^(?:if \(.*?\)|else)\s*", "", statement.strip())
        if not re.match(r"(jump|call) ", statement):
            continue
        for pattern, at_vmg, at_vts in UNAUTHOR_JUMPS:
            m = re.match(pattern, statement)
            if m:
                kind = at_vmg if vmg else at_vts
                if kind is None and pattern != r"jump pgc tail$":
                    unparsed.append(statement)
                if kind is not None:
                    numbers = (int(g) if g and g.isdigit() else ENTRIES.get(g, 0) for g in m.groups())
                    jumps.append((kind, *numbers))
                break
        else:
            unparsed.append(statement)
    return jumps


def read_unauthor(video_ts):
    """dvdunauthor's listing: per title set, per language, per PGC the jumps of
    its pre and post commands and, per VOB and highlight, of its buttons;
    also the first-play jumps and the cells that carry commands."""
    with tempfile.TemporaryDirectory() as tmp:
        run(["dvdunauthor", video_ts], cwd=tmp, check=True)
        root = ET.parse(os.path.join(tmp, "dvdauthor.xml")).getroot()
    listing = {"domains": {}, "unparsed": [], "first_play": [], "cell_commands": 0}
    parts = [(0, root.find("vmgm"))] + [(n, ts) for n, ts in enumerate(root.findall("titleset"), 1)]
    for number, part in parts:
        if part is None:
            continue
        vmg = number == 0
        if vmg and part.find("fpc") is not None:
            listing["first_play"] = unauthor_jumps(part.find("fpc").text, True, listing["unparsed"])
        languages = listing["domains"][number] = []
        for menus in part.findall("menus"):
            pgcs = []
            for pgc in menus.findall("pgc"):
                sections = {"PRE": [], "VOBS": [], "POST": []}
                if pgc.find("pre") is not None:
                    sections["PRE"] = unauthor_jumps(pgc.find("pre").text, vmg, listing["unparsed"])
                if pgc.find("post") is not None:
                    sections["POST"] = unauthor_jumps(pgc.find("post").text, vmg, listing["unparsed"])
                for vob in pgc.findall("vob"):  # per VOB, per highlight its buttons' jumps
                    sections["VOBS"].append([[jump for button in buttons.findall("button")
                                              for jump in unauthor_jumps(button.text, vmg, listing["unparsed"])]
                                             for buttons in vob.findall("buttons")])
                listing["cell_commands"] += sum(1 for cell in pgc.iter("cell") if (cell.text or "").strip())
                pgcs.append(sections)
            languages.append((menus.get("lang"), pgcs))
    return listing


def read_walk(video_ts):
    """dvdnav-walk: [(menu place, [(button, rectangle, command, landing)])]."""
    result = run([tool("tests/dvdnav-walk"), video_ts], timeout=1800)
    menus = []
    for line in result.stdout.splitlines():
        m = re.match(r"menu (\w+) vts (\d+) pgc (\d+) cell (\d+)$", line)
        if m:
            menus.append(((m.group(1), int(m.group(2)), int(m.group(3)), int(m.group(4))), []))
            continue
        m = re.match(r"\s+button (\d+): (\d+),(\d+)-(\d+),(\d+) cmd (\w+) -> (.*)$", line)
        if m and menus:
            rect = tuple(int(m.group(i)) for i in range(2, 6))
            menus[-1][1].append((int(m.group(1)), rect, m.group(6), m.group(7)))
    return menus


def plain_jump(raw):
    """The jump of a button command that lands without a condition on an object
    the walk can tell, else None."""
    jump = decode_jump(raw)
    if jump is None or bytes.fromhex(raw)[1] >> 4 != 0:
        return None
    return jump if jump[0] in ("LinkPGCN", "JumpTT", "JumpVTS_TT", "JumpVTS_PTT", "JumpSS VMGM", "JumpSS VTSM",
                               "JumpSS VMGM PGC") else None


def landing_matches(named, landing, source):
    words = landing.split()
    if named is None or len(words) < 7:
        return False
    domain, vts, how, number, cell = named
    if words[0] != domain or int(words[2]) != vts:
        return False
    if cell is not None and int(words[6]) != cell:
        return False
    if how == "title":
        return words[3] == "title" and int(words[4]) == number
    if how == "pgc":
        return words[3] == "pgc" and int(words[4]) == number
    pgc = int(words[4])  # an entry PGC of the menu type, in any language unit
    units = source["domains"].get(vts, {}).get("units", [])
    return any(pgc <= len(pgcs) and pgcs[pgc - 1].cat == 0x80 | (number or 0) for _, pgcs in units)


def nibbles(word):
    return [word >> (28 - 4 * i) & 0xF for i in range(8)]


def four(values):
    return " ".join(str(v) for v in values)


# ----------------------------------------------------- ffprobe, spuunmux


def probe(path, form, entries):
    """ffprobe's first stream of a file read as `form` (a lone still is too
    short for ffprobe to guess its format)."""
    streams = "a:0" if form == "ac3" else "v:0"
    out = run(["ffprobe", "-v", "error", "-f", form, "-select_streams", streams, "-count_frames", "-show_entries",
               "stream=" + entries, "-of", "json", path])
    streams = json.loads(out.stdout or "{}").get("streams", [])
    return streams[0] if streams else {}


def timecode_frames(code, ntsc):
    h, m, s, f = (int(x) for x in re.split("[:;]", code))
    if not ntsc:
        return ((h * 60 + m) * 60 + s) * 25 + f
    minutes = h * 60 + m
    return (minutes * 60 + s) * 30 + f - 2 * (minutes - minutes // 10)


def compare_spus(disc, source, video_ts, made_by_cell, played, dummies, word):
    """spuunmux's SPUs per played cell and subpicture stream the cell carries
    against what a script made of them: `made_by_cell` counts its subpicture
    `word` (items, plays) by (title set, VOB id, cell id, stream); cells
    judged dummies, and those no PGC plays, are noted aside."""
    before = faults
    items = made_by_cell
    totals = {}  # (title set, stream): [SPUs, what the script made]
    for number, domain in sorted(source["domains"].items()):
        vob_file = os.path.join(video_ts, "VIDEO_TS.VOB" if number == 0 else f"VTS_{number:02d}_0.VOB")
        if not domain["cadt"] or not os.path.exists(vob_file):
            continue
        with open(vob_file, "rb") as f:
            data = f.read()
        for (vob, cell), (first, last) in sorted(domain["cadt"].items()):
            piece = data[first * 2048:(last + 1) * 2048]
            streams = subpicture_streams(piece) | {s for (n, v, c, s) in items if (n, v, c) == (number, vob, cell)}
            for stream in sorted(streams):
                spus, made = count_spus(piece, stream), items.get((number, vob, cell, stream), 0)
                where = f"title set {number} VOB {vob} cell {cell} stream {stream}"
                if (number, vob, cell) not in played:
                    why = "judged a dummy" if (number, vob, cell) in dummies else "that no PGC plays"
                    note(disc, "subpictures", f"{where}: {spus} SPUs in a cell {why}, {made} {word}")
                    continue
                total = totals.setdefault((number, stream), [0, 0])
                total[0] += spus
                total[1] += made
                if spus != made:
                    fault(disc, "subpictures", f"{where}: spuunmux {spus} SPUs, {made} subpicture {word}")
    summary(disc, "subpictures", before, "; ".join(f"title set {n} stream {s}: {t[0]} SPUs, {t[1]} {word}"
                                                  for (n, s), t in sorted(totals.items())) or "no subpictures")


def subpicture_streams(piece):
    """The subpicture streams (0 to 31) whose packs stand in a piece of a VOB:
    private stream 1 packets with substream ids 0x20 to 0x3F."""
    found = set()
    for offset in range(0, len(piece) - 2047, 2048):
        pack = piece[offset:offset + 2048]
        if pack[:4] != b"\x00\x00\x01\xba":
            continue
        pes = 14 + (pack[13] & 7)
        if pack[pes:pes + 4] == b"\x00\x00\x01\xbd" and 0x20 <= pack[pes + 9 + pack[pes + 8]] <= 0x3F:
            found.add(pack[pes + 9 + pack[pes + 8]] - 0x20)
    return found


def count_spus(piece, stream):
    with tempfile.TemporaryDirectory() as tmp:
        with open(os.path.join(tmp, "piece.vob"), "wb") as f:
            f.write(piece)
        run(["spuunmux", "-o", "s", "-s", str(stream), "piece.vob"], cwd=tmp)
        xml_path = os.path.join(tmp, "s.xml")
        return open(xml_path).read().count("<spu ") if os.path.exists(xml_path) else 0
