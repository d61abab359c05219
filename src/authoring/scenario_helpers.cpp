// Names, titles, command targets and timecodes of the scripts: see
// scenario_helpers.h.
#include "authoring/scenario_helpers.h"

#include <cmath>

#include "assets/asset_names.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/text.h"

namespace kestrova {

std::string Dec(std::int64_t value) { return std::to_string(value); }

bool InRange(std::size_t count, std::int64_t index) { return index >= 1 && static_cast<std::size_t>(index) <= count; }

const CellID_Properties* FindPlayedCell(const VTS_Properties& domain, std::int64_t vob, std::int64_t cell) {
    if (domain.Video.Count() == 0) return nullptr;
    const auto& vobs = domain.Video.Item(1).VobId;
    if (!InRange(vobs.Count(), vob)) return nullptr;
    const auto& cells = vobs.Item(static_cast<std::size_t>(vob)).CellId;
    if (!InRange(cells.Count(), cell)) return nullptr;
    return &cells.Item(static_cast<std::size_t>(cell));
}

std::size_t TakeCellUse(PGC_Number_Properties& pgc) {
    for (std::size_t k = 1; k < pgc.Read.size(); ++k) {
        if (pgc.Read[k] == 0) {
            pgc.Read[k] = -1;
            return k;
        }
    }
    return 0;
}

namespace {

// The piece at a 0-based position of a text split at a separator; the
// empty text past the last piece.
std::string_view SplitPiece(std::string_view text, std::string_view separator, std::size_t index) {
    for (std::size_t at = 0;; --index) {
        const std::size_t next = text.find(separator, at);
        if (index == 0) return text.substr(at, next == std::string_view::npos ? std::string_view::npos : next - at);
        if (next == std::string_view::npos) return {};
        at = next + separator.size();
    }
}

// The number behind a marker, cut at the next separator (the whole rest
// without one); 0 when the marker is not in the text.
int NumberBehind(std::string_view text, std::string_view marker, std::string_view separator) {
    const std::size_t at = text.find(marker);
    if (at == std::string_view::npos) return 0;
    std::string_view rest = text.substr(at + marker.size());
    if (!separator.empty()) rest = rest.substr(0, rest.find(separator));
    return static_cast<int>(platform::LeadingWholeNumber(rest));
}

}  // namespace

std::string LanguageText(const Language_Properties& language) {
    return language.Language_Folder.empty() ? std::string("en") : language.Language_Folder;
}

std::string DomainPrefix(int entry) { return entry <= 1 ? std::string("VID_") : "VTS_" + Dec(entry - 1) + "_"; }

std::string PgcName(int entry, std::string_view language, int pgc) {
    return DomainPrefix(entry) + std::string(language) + "_P_" + Dec(pgc);
}

std::string ProgramName(int entry, std::string_view language, int pgc, int pg) {
    return PgcName(entry, language, pgc) + "_G_" + Dec(pg);
}

std::string SceneName(const VTS_Properties& domain, int entry, int vob, int cell) {
    const bool video = InRange(domain.Vob_Id.Count(), vob) &&
                       domain.Vob_Id.Item(static_cast<std::size_t>(vob)).Vob_Type == "Video";
    if (video) return DomainPrefix(entry) + CreateVOBName(vob) + "_t_scn_" + Dec(cell);
    return DomainPrefix(entry) + CreateVOBName(vob) + "_" + CreateCellName(cell) + "_t_scn_1";
}

TitleArray GetTitleArray(JobContext& job) {
    TitleArray table;
    std::size_t titles = 0;
    for (const VTS_Properties& set : job.TitleMap) titles += set.TITLES.Count();
    table.Rows.assign(titles + 1, {0, 0, 0, 0, 0, 0});

    for (const VTS_Properties& set : job.TitleMap) {
        for (const TITLES_Properties& title : set.TITLES) {
            if (title.TitleNumber < 1 || static_cast<std::size_t>(title.TitleNumber) > titles) {
                WLOG(job, "TitleArray: title number " + Dec(title.TitleNumber) + " of VTS " + Dec(title.VTS) +
                              " is outside 1 to " + Dec(static_cast<std::int64_t>(titles)) + " - left out");
                continue;
            }
            table.Rows[static_cast<std::size_t>(title.TitleNumber)] = {title.TitleNumber, title.VTS, title.VTS_TTN,
                                                                        1, 0, 0};
        }
    }
    for (const TempCommands_Properties& command : job.TitleCommands) {
        for (auto& row : table.Rows) {
            if (row[TitleArray::Vts] == command.VTS && row[TitleArray::Ttn] == command.Title &&
                command.Program > row[TitleArray::MaxChapter]) {
                row[TitleArray::MaxChapter] = command.Program;
            }
        }
    }
    const auto logRows = [&](bool withPlace) {
        for (std::size_t r = 0; r < table.Rows.size(); ++r) {
            const auto& row = table.Rows[r];
            std::string line = "Title = " + Dec(static_cast<std::int64_t>(r)) + " ; VTS# = " +
                               Dec(row[TitleArray::Vts]) + " ; TTN# = " + Dec(row[TitleArray::Ttn]) +
                               " ; MaxChapter# = " + Dec(row[TitleArray::MaxChapter]);
            if (withPlace) {
                line += " ; PGC# = " + Dec(row[TitleArray::Pgc]) + " ; PG# = " + Dec(row[TitleArray::Pg]);
            }
            WLOG(job, line);
        }
    };
    WLOG(job, "TitleArray:");
    logRows(false);

    for (auto& row : table.Rows) {
        const int vts = row[TitleArray::Vts];
        if (!InRange(job.TitleMap.Count(), vts)) continue;
        for (const TITLES_Properties& title : job.TitleMap.Item(static_cast<std::size_t>(vts)).TITLES) {
            if (title.VTS_TTN != row[TitleArray::Ttn]) continue;
            for (std::size_t p = 1; p <= title.PGC_Number.Count(); ++p) {
                const PGC_Number_Properties& pgc = title.PGC_Number.Item(p);
                if (pgc.PG.Count() == 0) continue;
                if (row[TitleArray::MaxChapter] > static_cast<int>(pgc.PG.Count())) {
                    row[TitleArray::Pgc] = static_cast<int>(p);
                    row[TitleArray::Pg] = static_cast<int>(pgc.PG.Count());
                    continue;
                }
                for (std::size_t g = 1; g <= pgc.PG.Count(); ++g) {
                    if (pgc.PG.Item(g).Chapter == row[TitleArray::MaxChapter]) {
                        row[TitleArray::Pgc] = static_cast<int>(p);
                        row[TitleArray::Pg] = static_cast<int>(g);
                    }
                }
            }
            break;
        }
    }
    WLOG(job, "TitleArray with PGC/PG");
    logRows(true);
    return table;
}

std::string ConvertMenuId(const JobContext& job, int code) {
    switch (code) {
    case 0: return "No Menu";
    case 131: return "Root Menu";
    case 132: return job.Settings.Item(1).Muxman == 1 ? "Sub-Picture Menu" : "Subpicture Menu";
    case 133: return "Audio Menu";
    case 134: return "Angle Menu";
    case 135: return "PTT Menu";
    default: return "";
    }
}

namespace {

bool SubpictureMenu(std::string_view name) { return name == "Subpicture Menu" || name == "Sub-Picture Menu"; }

bool SameMenu(std::string_view a, std::string_view b) { return a == b || (SubpictureMenu(a) && SubpictureMenu(b)); }

}  // namespace

int GetMenuType(const JobContext& job, int entry, int languageIndex, std::string_view menuName) {
    if (!InRange(job.DiscModel.Count(), entry)) return 0;
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    if (!InRange(domain.Language.Count(), languageIndex)) return 0;
    const Language_Properties& language = domain.Language.Item(static_cast<std::size_t>(languageIndex));
    for (std::size_t p = 1; p <= language.PGC_Number.Count(); ++p) {
        const int code = static_cast<int>(platform::LeadingWholeNumber(language.PGC_Number.Item(p).PGC_Type));
        if (SameMenu(ConvertMenuId(job, code), menuName)) return static_cast<int>(p);
    }
    return 0;
}

std::string RewriteSpecial(const JobContext& job, std::string_view command, int entry, int languageIndex) {
    const std::size_t at = command.find("SPECIAL");
    if (at == std::string_view::npos) return std::string(command);
    const std::string_view menu = SplitPiece(command, "_", 2);
    return std::string(command.substr(0, at)) + "LinkPGCN " + Dec(GetMenuType(job, entry, languageIndex, menu));
}

namespace {

// The n-th cell of the caller's PGC, counted over its programs.
std::string CellTarget(const JobContext& job, int entry, int pgc, int languageIndex, int n) {
    if (!InRange(job.DiscModel.Count(), entry)) return "ERROR";
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    if (!InRange(domain.Language.Count(), languageIndex)) return "ERROR";
    const Language_Properties& language = domain.Language.Item(static_cast<std::size_t>(languageIndex));
    if (!InRange(language.PGC_Number.Count(), pgc)) return "ERROR";
    int counted = 0;
    for (const PG_Properties& pg : language.PGC_Number.Item(static_cast<std::size_t>(pgc)).PG) {
        for (const Cell_Ref_Properties& cell : pg.cell_ref) {
            if (++counted == n) return SceneName(domain, entry, cell.Vob_Id, cell.CELL_ID) + "_c";
        }
    }
    return "ERROR";
}

std::string TitleTarget(const JobContext& job, int n) {
    int counted = 0;
    for (std::size_t e = 1; e <= job.TitleMap.Count(); ++e) {
        const auto& titles = job.TitleMap.Item(e).TITLES;
        for (std::size_t t = 1; t <= titles.Count(); ++t) {
            if (++counted == n) {
                return "VTS_" + Dec(static_cast<std::int64_t>(e)) + "_T_" + Dec(static_cast<std::int64_t>(t));
            }
        }
    }
    return "";
}

std::string ChapterTarget(JobContext& job, std::string_view command, int entry) {
    // Behind the marker stands "n @ vts_ttn_t": the chapter, and in the
    // third blank-separated piece the title as its third "_" part.
    constexpr std::string_view marker = "JumpVTS_PTT ptt_";
    const int chapter = NumberBehind(command, marker, " ");
    const std::size_t at = command.find(marker);
    const std::string_view rest =
        at == std::string_view::npos ? std::string_view() : command.substr(at + marker.size());
    const int title = static_cast<int>(platform::LeadingWholeNumber(SplitPiece(SplitPiece(rest, " ", 2), "_", 2)));
    const int set = entry - 1;
    if (InRange(job.TitleMap.Count(), set)) {
        const auto& titles = job.TitleMap.Item(static_cast<std::size_t>(set)).TITLES;
        if (InRange(titles.Count(), title)) {
            const auto& pgcs = titles.Item(static_cast<std::size_t>(title)).PGC_Number;
            for (std::size_t p = 1; p <= pgcs.Count(); ++p) {
                const auto& pgs = pgcs.Item(p).PG;
                for (std::size_t g = 1; g <= pgs.Count(); ++g) {
                    if (pgs.Item(g).Chapter == chapter) {
                        return "VTS_" + Dec(set) + "_T_" + Dec(title) + "_P_" + Dec(static_cast<std::int64_t>(p)) +
                               "_G_" + Dec(static_cast<std::int64_t>(g));
                    }
                }
            }
        }
    }
    WLOG(job, "\t*****THERE IS A VTS_PTT COMMAND ERROR, SETTING TO NOP*****");
    return "ERROR";
}

std::string VmgPgcTarget(const JobContext& job, int n) {
    if (job.DiscModel.Count() == 0) return "";
    int counted = 0;
    for (const Language_Properties& language : job.DiscModel.Item(1).Language) {
        for (std::size_t p = 1; p <= language.PGC_Number.Count(); ++p) {
            if (++counted == n) {
                return "VID_" + job.LanguageTable.priv_LangCodeToLangName(language.Language_Folder) + "_P_" +
                       Dec(static_cast<std::int64_t>(p));
            }
        }
    }
    return "";
}

}  // namespace

std::string CommandToAction(JobContext& job, std::string_view command, std::string_view language, int entry,
                            int pgc, int languageIndex) {
    if (command.find("LinkPGCN") != std::string_view::npos) {
        return PgcName(entry, language, NumberBehind(command, "LinkPGCN ", " "));
    }
    if (command.find("LinkPGN") != std::string_view::npos) {
        return ProgramName(entry, language, pgc, NumberBehind(command, "LinkPGN ", ", "));
    }
    if (command.find("LinkCN") != std::string_view::npos) {
        return CellTarget(job, entry, pgc, languageIndex, NumberBehind(command, "LinkCN ", ", "));
    }
    if (command.find("JumpVTS_TT") != std::string_view::npos) {
        return "VTS_" + Dec(entry - 1) + "_T_" + Dec(NumberBehind(command, "JumpVTS_TT ", " "));
    }
    if (command.find("JumpTT") != std::string_view::npos) {
        return TitleTarget(job, NumberBehind(command, "JumpTT ", ""));
    }
    if (command.find("JumpVTS_PTT") != std::string_view::npos) return ChapterTarget(job, command, entry);
    if (command.find("CallSS") != std::string_view::npos && command.find("pgc") != std::string_view::npos) {
        return VmgPgcTarget(job, NumberBehind(command, "pgc_", ""));
    }
    return "";
}

std::string ConvertButtonMode(std::string_view mode) {
    std::string joined;
    std::size_t at = 0;
    while (true) {
        const std::size_t comma = mode.find(", ", at);
        joined += mode.substr(at, comma == std::string_view::npos ? std::string_view::npos : comma - at);
        if (comma == std::string_view::npos) break;
        joined += '/';
        at = comma + 2;
    }
    return joined;
}

namespace authoring {

std::string ConvertFrameTime(const JobContext& job, std::string_view time, bool flag) {
    const std::string& standard = job.Timing.VideoStandard;
    std::string separator = ":";
    double factor = 1.1988;
    int limit = 30;
    if ((!flag && standard == "PAL") || (flag && standard == "NTSC")) {
        factor = 0.8341675;
        limit = 25;
        if (!flag) separator = ";";
    }
    const std::string text(time);
    const std::string head = text.substr(0, 8);
    const std::string field = text.size() >= 2 ? text.substr(text.size() - 2) : text;
    const auto frames = static_cast<int>(platform::LeadingWholeNumber(field));
    if (frames == 0) return head + separator + "00";
    int moved = static_cast<int>(std::nearbyint(frames * factor));
    if (moved >= 10 && moved >= limit) moved = limit - 1;
    return head + separator + (moved < 10 ? "0" : "") + Dec(moved);
}

}  // namespace authoring

std::string CorrectTime(const JobContext& job, std::string_view time, std::string_view kind, int entry, int vob,
                        int cell) {
    static_cast<void>(entry);
    static_cast<void>(vob);
    static_cast<void>(cell);
    const TimeBase& base = job.Timing;
    TimeBase unconverted = base;
    unconverted.Conversion = 0;
    const bool conversion = base.Conversion == 1;
    const bool convertAudio = job.Temp_Settings.Count() > 0 && job.Temp_Settings.Item(1).ConvertAudio != 0;
    std::string t(time);
    // A time the model never got (an empty or cut text) has no fields to
    // correct: it is written as it stands, for the script's reader to name.
    if (t.size() < 10) return t;
    const auto retime = [&](const TimeBase& with, bool dropIn, bool dropOut) {
        t = ConvertFrame2Time(with, SST2Frames(with, t, dropIn, false, 30), dropOut, 30);
    };

    if (base.VideoStandard == "PAL") {
        if (!conversion || kind == "D" || kind == "DET" || kind == "SUB" || kind == "FRAMEPAD") {
            // the time stands
        } else if (kind == "SCN" && convertAudio) {
            t = ConvertFrame2Time(base, SST2Frames(base, t, false, false, 30), false, 25);
        } else {
            t = authoring::ConvertFrameTime(job, t, false);
        }
    } else if (kind == "DT" || kind == "SV" || kind == "SD" || kind == "DET") {
        if (!conversion) {
            if (SubMin(t) > 0) retime(base, true, true);
        } else if (kind != "DET") {
            retime(base, true, true);
        } else {
            retime(unconverted, false, true);
        }
    } else {
        if (conversion && kind == "SCN") {
            t = convertAudio ? ConvertFrame2Time(base, SST2Frames(base, t, false, false, 25), true, 30)
                             : authoring::ConvertFrameTime(job, t, false);
        }
        if (SubMin(t) >= 1) {
            if (job.ScenaristVersion == "2.6" || job.ScenaristVersion == "2.7") {
                if (kind == "FRAMEPAD") {
                    t = GetModCheck(base, t, false);
                } else {
                    retime(conversion ? unconverted : base, true, true);
                }
            } else if (kind == "D") {
                if (conversion) {
                    retime(unconverted, false, true);
                } else if (!t.ends_with("00:00") && SubMin(t) % 10 > 0) {
                    retime(base, true, true);
                }
            } else {
                t = GetModCheck(base, t, conversion);
            }
        }
    }
    if (t.size() < 10) return t;
    return t.substr(0, 8) + (base.VideoStandard == "NTSC" ? ":" : ";") + t.substr(t.size() - 2);
}

}  // namespace kestrova
