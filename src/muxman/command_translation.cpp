// The navigation commands of a Muxman script: see command_translation.h.
//
// The texts come from Hex2Command, so each target stands right behind a
// fixed marker ("LinkPGCN 3", "LinkCN 4, button=1", "JumpVTS_PTT ptt_2 @
// vts_ttn_1", "CallSS RSM=2, pgc_5"). A text without a number behind its
// marker, or one whose number names nothing, is never an error here: it
// comes back untouched, or as "ERROR" where a cell or chapter is missing.
#include "muxman/command_translation.h"

#include <optional>
#include <vector>

#include "authoring/scenario_helpers.h"
#include "dvd/command_text.h"
#include "job/log_writers.h"
#include "muxman/mxp_names.h"

namespace kestrova {

namespace {

constexpr std::string_view kTopLink = "LinkTopC, button=1";

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool RemoveLinkSet(const JobContext& job) { return job.Settings.Count() > 0 && job.Settings.Item(1).RemoveLink == 1; }

// The number written right behind a marker: its value and where its digits
// begin and end. None when the marker is missing or no digit follows it.
struct Target {
    int Number = 0;
    std::size_t Marker = 0, Begin = 0, End = 0;
};

std::optional<Target> TargetBehind(std::string_view text, std::string_view marker) {
    const std::size_t at = text.find(marker);
    if (at == std::string_view::npos) return std::nullopt;
    Target target{0, at, at + marker.size(), at + marker.size()};
    while (target.End < text.size() && text[target.End] >= '0' && text[target.End] <= '9') {
        // Past five digits no object of a disc can be meant; holding the
        // value there keeps it an int that names nothing.
        if (target.Number < 100000) target.Number = target.Number * 10 + (text[target.End] - '0');
        ++target.End;
    }
    if (target.End == target.Begin) return std::nullopt;
    return target;
}

// The piece at a 0-based position of a text split at a separator; the
// empty text past the last piece.
std::string_view Piece(std::string_view text, char separator, int index) {
    for (; index > 0; --index) {
        const std::size_t next = text.find(separator);
        if (next == std::string_view::npos) return {};
        text = text.substr(next + 1);
    }
    return text.substr(0, text.find(separator));
}

// The text with [from, to) in place of `part`.
std::string Replaced(std::string_view text, std::size_t from, std::size_t to, std::string_view part) {
    return std::string(text.substr(0, from)) + std::string(part) + std::string(text.substr(to));
}

// The end of a link's clause: its number and the ", button=" value behind
// it, which the top-cell link brings in its own form.
std::size_t ClauseEnd(std::string_view text, const Target& target) {
    constexpr std::string_view button = ", button=";
    std::size_t end = target.End;
    if (text.substr(end, button.size()) != button) return end;
    end += button.size();
    while (end < text.size() && text[end] != ' ') ++end;
    return end;
}

const VTS_Properties* Domain(const JobContext& job, int entry) {
    if (!InRange(job.DiscModel.Count(), entry)) return nullptr;
    return &job.DiscModel.Item(static_cast<std::size_t>(entry));
}

const PGC_Number_Properties* MenuPgc(const JobContext& job, int entry, int languageIndex, int pgc) {
    const VTS_Properties* domain = Domain(job, entry);
    if (domain == nullptr || !InRange(domain->Language.Count(), languageIndex)) return nullptr;
    const Language_Properties& language = domain->Language.Item(static_cast<std::size_t>(languageIndex));
    if (!InRange(language.PGC_Number.Count(), pgc)) return nullptr;
    return &language.PGC_Number.Item(static_cast<std::size_t>(pgc));
}

// The cells a PGC plays, in order over its programs.
std::vector<Cell_Ref_Properties> CellsOf(const PGC_Number_Properties& pgc) {
    std::vector<Cell_Ref_Properties> cells;
    for (const PG_Properties& pg : pgc.PG) {
        for (const Cell_Ref_Properties& cell : pg.cell_ref) cells.push_back(cell);
    }
    return cells;
}

std::vector<Cell_Ref_Properties> CellsOf(const PG_Properties& pg) {
    std::vector<Cell_Ref_Properties> cells;
    for (const Cell_Ref_Properties& cell : pg.cell_ref) cells.push_back(cell);
    return cells;
}

// True when none of the cells looked at (all, or those of VOB `vob`) lies in
// a live VOB and at least one lies in a menu VOB. A cell whose VOB the
// domain does not list counts as live: only a known dead menu is removed.
bool CellsRemoved(const VTS_Properties& domain, const std::vector<Cell_Ref_Properties>& cells, int vob) {
    bool menu = false;
    for (const Cell_Ref_Properties& cell : cells) {
        if (vob > 0 && cell.Vob_Id != vob) continue;
        if (!InRange(domain.Vob_Id.Count(), cell.Vob_Id)) return false;
        const VOB_ID_Properties& owner = domain.Vob_Id.Item(static_cast<std::size_t>(cell.Vob_Id));
        if (owner.Dummy == 0) return false;
        if (owner.IsMenu != 0) menu = true;
    }
    return menu;
}

bool ProgramRemoved(const JobContext& job, int entry, int languageIndex, int pgc, int pg) {
    const PGC_Number_Properties* chain = MenuPgc(job, entry, languageIndex, pgc);
    if (!RemoveLinkSet(job) || chain == nullptr || !InRange(chain->PG.Count(), pg)) return false;
    return CellsRemoved(*Domain(job, entry), CellsOf(chain->PG.Item(static_cast<std::size_t>(pg))), 0);
}

bool CellRemoved(const JobContext& job, int entry, const Cell_Ref_Properties& cell) {
    return RemoveLinkSet(job) && CellsRemoved(*Domain(job, entry), {cell}, 0);
}

// --- The steps of a translation -------------------------------------------

// "LinkPGCN " n: the PGC of the caller's language.
std::string LinkPgcn(const JobContext& job, MuxmanRun& run, const std::string& text, const CommandPlace& place) {
    const auto target = TargetBehind(text, "LinkPGCN ");
    if (!target) return text;
    if (LinkIsRemoved(job, place.Entry, place.LanguageIndex, target->Number, 0, false)) {
        run.LinkChanged = true;
        return Replaced(text, target->Marker, ClauseEnd(text, *target), kTopLink);
    }
    return Replaced(text, target->Begin, target->End, MuxmanPgcName(place.Entry, place.Language, target->Number));
}

// "LinkPGN " n: a program of the caller's PGC.
std::string LinkPgn(const JobContext& job, MuxmanRun& run, const std::string& text, const CommandPlace& place) {
    const auto target = TargetBehind(text, "LinkPGN ");
    if (!target) return text;
    if (ProgramRemoved(job, place.Entry, place.LanguageIndex, place.Pgc, target->Number)) {
        run.LinkChanged = true;
        return Replaced(text, target->Marker, ClauseEnd(text, *target), kTopLink);
    }
    return Replaced(text, target->Begin, target->End,
                    MuxmanProgramName(place.Entry, place.Language, place.Pgc, target->Number));
}

// "LinkCN " n: the n-th cell of the caller's PGC, counted over its programs.
std::string LinkCn(const JobContext& job, MuxmanRun& run, const std::string& text, const CommandPlace& place) {
    const auto target = TargetBehind(text, "LinkCN ");
    if (!target) return text;
    const PGC_Number_Properties* chain = MenuPgc(job, place.Entry, place.LanguageIndex, place.Pgc);
    if (chain == nullptr) return "ERROR";
    const std::vector<Cell_Ref_Properties> cells = CellsOf(*chain);
    if (!InRange(cells.size(), target->Number)) return "ERROR";
    const Cell_Ref_Properties& cell = cells[static_cast<std::size_t>(target->Number) - 1];
    if (LinkIsRemoved(job, place.Entry, place.LanguageIndex, place.Pgc, cell.Vob_Id, false)) {
        run.LinkChanged = true;
        std::string removed = Replaced(text, target->Marker, ClauseEnd(text, *target), kTopLink);
        std::erase(removed, ';');
        return removed;
    }
    return Replaced(text, target->Begin, target->End,
                    MuxmanCellName(place.Entry, place.Language, place.Pgc, target->Number));
}

// "JumpVTS_TT " n: title n of the caller's title set.
std::string JumpVtsTt(const std::string& text, const CommandPlace& place) {
    const auto target = TargetBehind(text, "JumpVTS_TT ");
    if (!target) return text;
    return Replaced(text, target->Begin, target->End, MuxmanTitleName(place.Entry - 1, target->Number));
}

// "JumpTT " n: the titles numbered over the title map's sets in order.
std::string JumpTt(const JobContext& job, const std::string& text) {
    const auto target = TargetBehind(text, "JumpTT ");
    if (!target) return text;
    int counted = 0;
    for (std::size_t set = 1; set <= job.TitleMap.Count(); ++set) {
        const std::size_t titles = job.TitleMap.Item(set).TITLES.Count();
        if (target->Number > counted && static_cast<std::size_t>(target->Number - counted) <= titles) {
            return Replaced(text, target->Begin, target->End,
                            MuxmanTitleName(static_cast<int>(set), target->Number - counted));
        }
        counted += static_cast<int>(titles);
    }
    return text;
}

// "JumpVTS_PTT ptt_" n " @ vts_ttn_" t: the program of title t of the
// caller's title set that starts chapter n.
std::string JumpVtsPtt(JobContext& job, const std::string& text, const CommandPlace& place) {
    constexpr std::string_view marker = "JumpVTS_PTT ptt_";
    const auto chapter = TargetBehind(text, marker);
    if (chapter && chapter->Number >= 1) {
        // The title is the third "_" piece of the third blank-separated
        // piece behind the marker.
        const std::string_view rest = Piece(Piece(std::string_view(text).substr(chapter->Begin), ' ', 2), '_', 2);
        const auto title = TargetBehind(rest, "");
        const int set = place.Entry - 1;
        if (title && InRange(job.TitleMap.Count(), set)) {
            const auto& titles = job.TitleMap.Item(static_cast<std::size_t>(set)).TITLES;
            if (InRange(titles.Count(), title->Number)) {
                const auto& pgcs = titles.Item(static_cast<std::size_t>(title->Number)).PGC_Number;
                for (std::size_t p = 1; p <= pgcs.Count(); ++p) {
                    const auto& pgs = pgcs.Item(p).PG;
                    for (std::size_t g = 1; g <= pgs.Count(); ++g) {
                        if (pgs.Item(g).Chapter != chapter->Number) continue;
                        return text.substr(0, chapter->Marker) + "JumpVTS_PTT " +
                               MuxmanTitleProgramName(set, title->Number, static_cast<int>(p), static_cast<int>(g));
                    }
                }
            }
        }
    }
    WLOG(job, "\t*****THERE IS A VTS_PTT COMMAND ERROR, SETTING TO NOP*****");
    return "ERROR";
}

// "pgc_" n of JumpSS and CallSS: a VMG PGC, numbered over the VMG's
// languages in order.
std::string VmgPgc(const JobContext& job, const std::string& text) {
    const auto target = TargetBehind(text, "pgc_");
    const VTS_Properties* vmg = Domain(job, 1);
    if (!target || vmg == nullptr) return text;
    int counted = 0;
    for (std::size_t l = 1; l <= vmg->Language.Count(); ++l) {
        const std::size_t pgcs = vmg->Language.Item(l).PGC_Number.Count();
        if (target->Number > counted && static_cast<std::size_t>(target->Number - counted) <= pgcs) {
            const std::string language = MuxmanLanguage(job, 1, static_cast<int>(l));
            return Replaced(text, target->Marker, target->End, MuxmanPgcName(1, language, target->Number - counted));
        }
        counted += static_cast<int>(pgcs);
    }
    return text;
}

std::string TranslateSteps(JobContext& job, MuxmanRun& run, std::string text, const CommandPlace& place) {
    if (Contains(text, "SPECIAL")) text = RewriteSpecial(job, text, place.Entry, place.LanguageIndex);
    if (Contains(text, "LinkPGCN")) return LinkPgcn(job, run, text, place);
    if (Contains(text, "LinkPGN")) return LinkPgn(job, run, text, place);
    if (Contains(text, "LinkCN")) return LinkCn(job, run, text, place);
    if (Contains(text, "JumpVTS_TT")) return JumpVtsTt(text, place);
    if (Contains(text, "JumpTT")) return JumpTt(job, text);
    if (Contains(text, "JumpVTS_PTT")) return JumpVtsPtt(job, text, place);
    if ((Contains(text, "CallSS") || Contains(text, "JumpSS")) && Contains(text, "pgc")) return VmgPgc(job, text);
    return text;
}

// --- The relative links of a button ----------------------------------------

std::optional<VmCommand> Parsed(std::string_view text) {
    try {
        return ParseCommandText(text);
    } catch (const Error&) {
        return std::nullopt;
    }
}

// The next (step 1) or previous (step -1) cell or program of the PGC,
// counted from the cell whose highlight holds the button.
bool NeighbourRemoved(const JobContext& job, const CommandPlace& place, bool program, int step) {
    const PGC_Number_Properties* chain = MenuPgc(job, place.Entry, place.LanguageIndex, place.Pgc);
    if (!RemoveLinkSet(job) || chain == nullptr) return false;
    std::vector<Cell_Ref_Properties> cells;
    std::vector<int> programOf;
    for (std::size_t g = 1; g <= chain->PG.Count(); ++g) {
        for (const Cell_Ref_Properties& cell : chain->PG.Item(g).cell_ref) {
            cells.push_back(cell);
            programOf.push_back(static_cast<int>(g));
        }
    }
    for (std::size_t at = 0; at < cells.size(); ++at) {
        if (cells[at].Vob_Id != place.Vob || cells[at].CELL_ID != place.Cell) continue;
        if (program) {
            return ProgramRemoved(job, place.Entry, place.LanguageIndex, place.Pgc, programOf[at] + step);
        }
        const std::int64_t next = static_cast<std::int64_t>(at) + step;
        return next >= 0 && static_cast<std::size_t>(next) < cells.size() &&
               CellRemoved(job, place.Entry, cells[static_cast<std::size_t>(next)]);
    }
    return false;
}

bool RelativeLinkRemoved(const JobContext& job, std::string_view command, const CommandPlace& place) {
    const auto parsed = Parsed(command);
    if (!parsed) return false;
    const PGC_Number_Properties* chain = MenuPgc(job, place.Entry, place.LanguageIndex, place.Pgc);
    switch (parsed->Link.Type) {
    case LinkType::TailPGC: return FixLinkRegister(job, command, place.Entry, place.LanguageIndex, place.Pgc);
    case LinkType::NextC: return NeighbourRemoved(job, place, false, 1);
    case LinkType::PrevC: return NeighbourRemoved(job, place, false, -1);
    case LinkType::NextPG: return NeighbourRemoved(job, place, true, 1);
    case LinkType::PrevPG: return NeighbourRemoved(job, place, true, -1);
    case LinkType::NextPGC:
        return chain != nullptr && LinkIsRemoved(job, place.Entry, place.LanguageIndex, chain->Next_PGC, 0, false);
    case LinkType::GoUpPGC:
        // 65535 resumes the title: it names no PGC, so nothing is out of range.
        return chain != nullptr && LinkIsRemoved(job, place.Entry, place.LanguageIndex, chain->GoUp_PGC, 0, false);
    default: return false;
    }
}

}  // namespace

std::string TranslateCommand(JobContext& job, MuxmanRun& run, std::string_view command, const CommandPlace& place,
                             bool buttonCheck) {
    run.LinkChanged = false;
    std::string result = TranslateSteps(job, run, std::string(command), place);
    if (result.empty()) {
        result = "Nop";
        run.LinkChanged = false;
    }
    if (!buttonCheck) return result;
    if (run.LinkChanged || RelativeLinkRemoved(job, command, place)) {
        run.LinkChanged = true;
        return std::string(kTopLink);
    }
    return command.empty() ? std::string("Nop") : std::string(command);
}

std::string CheckGoto(std::string_view text, std::string_view prefix) {
    constexpr std::string_view marker = "GoTo ";
    std::string result(text);
    for (std::size_t at = result.find(marker); at != std::string::npos;
         at = result.find(marker, at + marker.size() + prefix.size())) {
        result.insert(at + marker.size(), prefix);
    }
    return result;
}

bool LinkIsRemoved(const JobContext& job, int entry, int languageIndex, int pgc, int vob, bool force) {
    if (!force && !RemoveLinkSet(job)) return false;
    const PGC_Number_Properties* chain = MenuPgc(job, entry, languageIndex, pgc);
    if (chain == nullptr) return false;
    return CellsRemoved(*Domain(job, entry), CellsOf(*chain), vob);
}

bool FixLinkRegister(const JobContext& job, std::string_view command, int entry, int languageIndex, int pgc) {
    if (!RemoveLinkSet(job) || !Contains(command, "GPRM") || Contains(command, "SPRM")) return false;
    // Only a Mov of a value says which value the register holds when the
    // post commands read it.
    const auto set = Parsed(command);
    if (!set || set->Kind != CommandKind::Set || set->Operation != SetOperation::Mov ||
        set->Source.Kind != CommandOperand::Type::Immediate) {
        return false;
    }
    const PGC_Number_Properties* chain = MenuPgc(job, entry, languageIndex, pgc);
    if (chain == nullptr) return false;
    for (const POST_COMMAND_Properties& post : chain->POST_COMMAND) {
        const std::string& line = post.Command;
        if (!line.starts_with("if") || !Contains(line, "==") || !Contains(line, "GPRM") || Contains(line, "SPRM")) {
            continue;
        }
        const auto test = Parsed(line);
        if (!test || test->Condition.Operator != Comparison::Equal || test->Condition.Left != set->Target ||
            test->Condition.Right.Kind != CommandOperand::Type::Immediate ||
            test->Condition.Right.Value != set->Source.Value) {
            continue;
        }
        switch (test->Link.Type) {
        case LinkType::PGCN: return LinkIsRemoved(job, entry, languageIndex, test->Link.Number, 0, false);
        case LinkType::PGN: return ProgramRemoved(job, entry, languageIndex, pgc, test->Link.Number);
        case LinkType::CN: {
            const std::vector<Cell_Ref_Properties> cells = CellsOf(*chain);
            if (!InRange(cells.size(), test->Link.Number)) return false;
            return CellRemoved(job, entry, cells[static_cast<std::size_t>(test->Link.Number) - 1]);
        }
        default: break;
        }
    }
    return false;
}

ButtonModes ConvertButtonModeMuxman(std::string_view mode1, std::string_view mode2, std::string_view mode3) {
    return {ConvertButtonMode(mode1), ConvertButtonMode(mode2), ConvertButtonMode(mode3)};
}

}  // namespace kestrova
