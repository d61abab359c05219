// What both script writers share about a disc's navigation: the names of
// its objects, the table of titles the menus reach, the target a command
// points at, and the timecodes of the authored standard.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/context.h"

namespace kestrova {

// --- Walking the model ----------------------------------------------------

// A number as decimal text.
std::string Dec(std::int64_t value);
// Whether a 1-based index lies within a list of `count` entries.
bool InRange(std::size_t count, std::int64_t index);
// The cell as played (DummyCell, CellPause, ...), under the domain's first
// video entry; null where the model has no such record.
const CellID_Properties* FindPlayedCell(const VTS_Properties& domain, std::int64_t vob, std::int64_t cell);

// The next use of a cell by a PGC, in play order: the index of the first
// unread element of its NewCellPause/NewCellCommand, marked read in Read;
// 0 when every element has been read.
std::size_t TakeCellUse(PGC_Number_Properties& pgc);

// --- Names ---------------------------------------------------------------

// The language text of a unit: its folder code, or "en" when it has none.
std::string LanguageText(const Language_Properties& language);
// "VID_" for the VMG (entry 1), "VTS_" N "_" for title set N (entry N + 1).
std::string DomainPrefix(int entry);
// "VID_en_P_3", "VTS_2_en_P_3".
std::string PgcName(int entry, std::string_view language, int pgc);
// "VID_en_P_3_G_1", "VTS_2_en_P_3_G_1".
std::string ProgramName(int entry, std::string_view language, int pgc, int pg);
// The scene a cell shows, which is also the cell's name: for a VOB of type
// "Video" "VID_" V "_t_scn_" c, for any other "VID_" V "_" C "_t_scn_1"
// (V and C in three digits). A VOB number past the entry's list is taken as
// not "Video".
std::string SceneName(const VTS_Properties& domain, int entry, int vob, int cell);

// --- Titles the menus reach --------------------------------------------

// A row per title number from 0: the title, its VTS, its VTS title number,
// the highest chapter any command reaches (at least 1), and the PGC and PG
// that hold that chapter.
struct TitleArray {
    enum Column { Title = 0, Vts = 1, Ttn = 2, MaxChapter = 3, Pgc = 4, Pg = 5 };
    std::vector<std::array<int, 6>> Rows;
};

// Fills the table from TitleMap and TitleCommands, logging it twice.
TitleArray GetTitleArray(JobContext& job);

// --- Commands ------------------------------------------------------------

// 0 "No Menu", 131 "Root Menu", 132 "Subpicture Menu" ("Sub-Picture Menu"
// for Muxman), 133 "Audio Menu", 134 "Angle Menu", 135 "PTT Menu"; any
// other code the empty text.
std::string ConvertMenuId(const JobContext& job, int code);

// The number of the first PGC of the language whose menu type is the name,
// or 0. "Subpicture Menu" and "Sub-Picture Menu" name the same menu: the
// mark of a command spells it one way, ConvertMenuId under Muxman the other.
int GetMenuType(const JobContext& job, int entry, int languageIndex, std::string_view menuName);

// A command that names a menu of the title set rather than a PGC (the
// "SPECIAL_MENU_Root Menu" mark, perhaps behind a condition) as a link to
// the first PGC of the language unit with that menu type: "LinkPGCN " and
// its number (0 when none has it), the text in front of the mark kept. Any
// other text comes back as it stands.
std::string RewriteSpecial(const JobContext& job, std::string_view command, int entry, int languageIndex);

// The name of the object a command's text points at, in the caller's
// domain (`entry` of DiscModel), language unit and PGC: the empty text for
// a command without a target, "ERROR" for a target that names nothing.
std::string CommandToAction(JobContext& job, std::string_view command, std::string_view language, int entry,
                            int pgc, int languageIndex);

// --- Highlights ----------------------------------------------------------

// A button mode value of a highlight: the model's "a, b" becomes "a/b"; a
// single mode stands as it is, an empty one stays empty.
std::string ConvertButtonMode(std::string_view mode);

// --- Timecodes -----------------------------------------------------------

// A timecode of the model as the authored standard shows it, by kind: "DT"
// a subpicture's data length, "SV" and "SD" a display stop's start and
// length, "DET" a video asset's end, "D" a track's duration, "SCN" a scene
// start, "SUB" a subpicture's start on the track, "FRAMEPAD" a
// subpicture's duration, "SUBSV" and "SUBD" a dummy highlight's start and
// length, "" an audio length. The result ends in ":" and two frame digits
// under NTSC, ";" under PAL. entry, vob and cell are for the caller's
// reference only.
std::string CorrectTime(const JobContext& job, std::string_view time, std::string_view kind, int entry, int vob,
                        int cell);

namespace authoring {
// The frame field of a timecode moved between 25 and 30 frames a second
// (flag false: by the job's standard; true: the other way), joined with ";"
// only when going to PAL. The encoder lists have a function of this name
// with the opposite separator rule.
std::string ConvertFrameTime(const JobContext& job, std::string_view time, bool flag);
}  // namespace authoring

}  // namespace kestrova
