// The scenario of a script: see scenario_object.h.
#include "scenarist/scenario_object.h"

#include <algorithm>
#include <string>
#include <vector>

#include "assets/asset_names.h"
#include "authoring/scenario_helpers.h"
#include "job/log_writers.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The three command lists of a PGC: the word of their log lines and the
// part of their items' names.
struct CommandKind {
    const char* Word;      // "Pre", "Post", "Cell"
    const char* Separator;  // between "ActionToAction" and the target
    const char* Suffix;    // "_Pr_", "_Po_", "_C_"
};
constexpr CommandKind kPre{"Pre", " = ", "_Pr_"};
constexpr CommandKind kPost{"Post", "=", "_Po_"};
constexpr CommandKind kCell{"Cell", "=", "_C_"};

// The PGC in hand: its domain (DiscModel entry), language unit and number.
struct PgcPlace {
    int Entry = 0;
    int Base = 0;  // 0 for the Video Manager, 1 for a title set
    std::string Language;
    int LanguageIndex = 0;
    int Pgc = 0;
    int Depth() const { return Base + 6; }  // of the PGC's fields
};

// The scene, track and program that stand in a domain's empty places.
std::string DummyScene(int entry) {
    return entry <= 1 ? std::string("VID_Dummy_Menu_t_scn") : "VTS" + Dec(entry - 1) + "_Dummy_Menu_t_scn";
}
std::string DummyTrack(int entry) {
    return entry <= 1 ? std::string("VID_Dummy_Menu_t") : "VTS" + Dec(entry - 1) + "_Dummy_Menu_t";
}

class ScenarioWriter {
public:
    ScenarioWriter(JobContext& job, ScenaristRun& run, ScriptFile& file) : job_(job), run_(run), file_(file) {}

    void Write() {
        BeginPass();
        file_.Open(0, "Object=Scenario");
        Position(1, "Scenario", "Yes", 0, 0);
        FirstPgc();
        if (job_.State().ResumePGC != 0) ResumePgc();
        for (std::size_t i = 1; i <= job_.DiscModel.Count(); ++i) Domain(static_cast<int>(i));
        file_.Close(1);  // the title set list, even where none was opened
        file_.Empty(1, "Parental List=List");
        file_.Close(0);
    }

private:
    // Name, visibility and place of an object, one line each.
    void Position(int depth, const std::string& name, const char* visible, int left, int top) {
        file_.Line(depth, "Name", name);
        file_.Line(depth, "Is Visible", visible);
        file_.Line(depth, "Left Point", Dec(left));
        file_.Line(depth, "Top Point", Dec(top));
    }

    // A pass starts from unread cell data and no dummy scene linked, so a
    // second batch or run writes what the first did.
    void BeginPass() {
        for (VTS_Properties& domain : job_.DiscModel) {
            for (Language_Properties& language : domain.Language) {
                for (PGC_Number_Properties& pgc : language.PGC_Number) std::fill(pgc.Read.begin(), pgc.Read.end(), 0);
            }
        }
        const std::size_t size = std::max(run_.DummySceneLinked.size(), job_.DiscModel.Count() + 1);
        run_.DummySceneLinked.assign(size, false);
    }

    // The lines behind a PGC's lists that the first play, resume and dummy
    // PGCs share.
    void PgcTail(int depth, const std::string& menuId) {
        file_.Line(depth, "Next PGC=");
        file_.Line(depth, "Prev PGC=");
        file_.Line(depth, "Goup PGC=");
        file_.Line(depth, "Menu ID", menuId);
        file_.Line(depth, "PG Playback Mode=Sequential Playback");
        file_.Line(depth, "Repeat Times=0");
        file_.Line(depth, "PGC Still Time=0");
    }

    void EmptyLists(int depth) {
        file_.Empty(depth, "Pre Command=List");
        file_.Empty(depth, "Post Command=List");
        file_.Empty(depth, "Cell Command=List");
    }

    void FirstPgc() {
        file_.Open(1, "First PGC=First PGC");
        Position(2, "First PGC", "Yes", 0, 0);
        file_.Open(2, "Pre Command=List");
        file_.Open(3, "Item=Command");
        Position(4, "First PGC_cmd_1", "Yes", 0, 0);
        file_.Line(4, "Command=JumpTT 1");
        file_.Line(4, "To Action=VTS_1_T_1");
        file_.Close(3);
        file_.Close(2);
        file_.Empty(2, "Post Command=List");
        file_.Empty(2, "Cell Command=List");
        PgcTail(2, "No Menu");
        file_.Close(1);
    }

    void ResumePgc() {
        file_.Open(1, "Resume PGC=Resume PGC");
        Position(2, "_Resume_", "No", 0, 0);
        PgcTail(2, "No Menu");
        file_.Close(1);
    }

    void Domain(int entry) {
        VTS_Properties& domain = job_.DiscModel.Item(static_cast<std::size_t>(entry));
        const int base = entry == 1 ? 0 : 1;
        if (entry == 1) {
            file_.Open(1, "Video Manager=Video Manager");
            Position(2, "VideoManager", "Yes", 120, 0);
            file_.Open(2, "Language List=List");
            WLOG(job_, "VMG");
        } else {
            if (entry == 2) file_.Open(1, "VTS List=List");
            x_ += 120;
            file_.Open(2, "Item=VTS");
            Position(3, "VTS_" + Dec(entry - 1), "Yes", x_, 0);
            file_.Open(3, "Language List=List");
            WLOG(job_, "VTS=" + Dec(entry - 1));
        }

        wroteLanguage_ = false;
        wroteProgram_ = false;
        for (std::size_t l = 1; l <= domain.Language.Count(); ++l) {
            Language(domain, entry, base, static_cast<int>(l));
        }
        file_.Close(base + 2);
        MenuTrackList(domain, entry, base);
        file_.Empty(base + 2, "Parental List=Reference List");

        if (entry == 1) {
            file_.Line(2, "Source Picture Letterboxed=Not Letterboxed");
            file_.Open(2, "Dual Scene=Dual Scene");
            file_.Line(3, "Scene Domain=Unknown Domain");
            file_.Line(3, "Scene Video Space=");
            file_.Line(3, "Scene=");
            file_.Close(2);
            file_.Close(1);
        } else {
            Titles(entry);
            file_.Close(2);
        }
    }

    void Language(VTS_Properties& domain, int entry, int base, int l) {
        Language_Properties& language = domain.Language.Item(static_cast<std::size_t>(l));
        PgcPlace place{entry, base, LanguageText(language), l, 0};
        WLOG(job_, "\tLanguage=" + Dec(l));
        if (language.PGC_Quantity <= 0) return;

        if (l > 1) x_ += 120;
        file_.Open(base + 3, "Item=Language");
        Position(base + 4, place.Language, "Yes", x_, 80);
        file_.Open(base + 4, "PGC List=List");
        for (int p = 1; p <= language.PGC_Quantity; ++p) {
            place.Pgc = p;
            if (!InRange(language.PGC_Number.Count(), p)) {
                WLOG(job_, "\tPGC=" + Dec(p) + " of language " + Dec(l) + " of " + DomainLabel(entry) +
                               " is not in the model (" + Dec(static_cast<std::int64_t>(language.PGC_Number.Count())) +
                               " PGCs) - left out");
                continue;
            }
            Pgc(domain, language.PGC_Number.Item(static_cast<std::size_t>(p)), place);
        }
        if (!wroteProgram_) DummyPgc(place, language.PGC_Quantity + 1);
        file_.Close(base + 4);
        file_.Line(base + 4, "Language Name", job_.LanguageTable.priv_LangCodeToLangName(place.Language));
        file_.Close(base + 3);
        wroteLanguage_ = true;
    }

    void Pgc(VTS_Properties& domain, PGC_Number_Properties& pgc, const PgcPlace& place) {
        const int entry = place.Entry;
        const int depth = place.Depth();
        WLOG(job_, "\tPGC=" + Dec(place.Pgc));
        if (place.Pgc > 1) x_ += 120;
        file_.Open(place.Base + 5, "Item=PGC");
        Position(depth, PgcName(entry, place.Language, place.Pgc), "Yes", x_, 160);

        const bool video = domain.Video.Count() > 0;
        const bool real = video && pgc.Dummy == 0;
        const bool inBatch = run_.InBatch(entry);
        file_.Open(depth, "Pre Command=List");
        if (real && inBatch) {
            Commands(pgc.PRE_COMMANDS, kPre, place);
            file_.Close(depth);
            file_.Open(depth, "Post Command=List");
            Commands(pgc.POST_COMMAND, kPost, place);
            file_.Close(depth);
            file_.Open(depth, "Cell Command=List");
            Commands(pgc.CELL_COMMAND, kCell, place);
            file_.Close(depth);
        } else if (real) {
            file_.Close(depth);
        } else {
            file_.Close(depth);
            file_.Empty(depth, "Post Command=List");
            file_.Empty(depth, "Cell Command=List");
        }

        const auto link = [&](std::int64_t number) {
            return number > 0 ? PgcName(entry, place.Language, static_cast<int>(number)) : std::string();
        };
        file_.Line(depth, "Next PGC", link(pgc.Next_PGC));
        file_.Line(depth, "Prev PGC", link(pgc.Previous_PGC));
        file_.Line(depth, "Goup PGC", pgc.GoUp_PGC == 65535 ? std::string("_Resume_") : link(pgc.GoUp_PGC));
        const int menuType = static_cast<int>(platform::LeadingWholeNumber(pgc.PGC_Type));
        file_.Line(depth, "Menu ID", entry == 1 ? std::string("Title Menu") : ConvertMenuId(job_, menuType));
        file_.Line(depth, "PG Playback Mode=Sequential Playback");
        file_.Line(depth, "Repeat Times=0");
        file_.Line(depth, "PGC Still Time", Dec(pgc.Still_Time));

        if (job_.Options().Strip_UOP == 0 && pgc.UOPs.Count() > 0) {
            file_.Open(depth, "UOP=");
            for (const UOPs_Properties& uop : pgc.UOPs) file_.Line(depth + 1, uop.Command);
            file_.Close(depth);
        }
        if (video && (pgc.AudioStream1 > 0 || pgc.Stream1_Normal_Uses_ID > 0 || pgc.Stream1_Wide_Uses_ID > 0 ||
                      pgc.Stream1_Letter_Uses_ID > 0 || pgc.Stream1_Pan_Uses_ID > 0)) {
            GenerateLayoutExtra(job_, file_, pgc, entry == 1 ? "VIDEO" : "VTS");
        }

        file_.Open(depth, "Program List=List");
        if (real && inBatch) {
            for (std::size_t g = 1; g <= pgc.PG.Count(); ++g) Program(domain, pgc, place, static_cast<int>(g));
        }
        file_.Close(depth);
        file_.Close(place.Base + 5);
    }

    // A pre, post or cell command list. A target that names nothing makes
    // the command a "Nop".
    void Commands(const Collection<Command_Properties>& list, const CommandKind& kind, const PgcPlace& place) {
        const int depth = place.Depth() + 1;
        const std::string word = kind.Word;
        for (std::size_t k = 1; k <= list.Count(); ++k) {
            std::string command = list.Item(k).Command;
            WLOG(job_, "\t\t" + word + "Command Action=" + command);
            command = RewriteSpecial(job_, command, place.Entry, place.LanguageIndex);
            std::string target =
                CommandToAction(job_, command, place.Language, place.Entry, place.Pgc, place.LanguageIndex);
            if (target == "ERROR") {
                WLOG(job_, "\t\t" + word + "Command Action is an error");
                target.clear();
                command = "Nop";
            }
            WLOG(job_, "\t\t" + word + "Command ActionToAction" + kind.Separator + target);

            const std::string prefix = place.Entry == 1 ? std::string("VM_") : DomainPrefix(place.Entry);
            file_.Open(depth, "Item=Command");
            Position(depth + 1,
                     prefix + place.Language + "_P_" + Dec(place.Pgc) + kind.Suffix + Dec(static_cast<std::int64_t>(k)),
                     "Yes", 0, 0);
            file_.Line(depth + 1, "Command", command);
            file_.Line(depth + 1, "To Action", target);
            file_.Close(depth);
        }
    }

    void Program(VTS_Properties& domain, PGC_Number_Properties& pgc, const PgcPlace& place, int g) {
        const int depth = place.Depth() + 1;
        if (g > 1) x_ += 120;
        file_.Open(depth, "Item=Program");
        Position(depth + 1, ProgramName(place.Entry, place.Language, place.Pgc, g), "Yes", x_, 240);
        file_.Open(depth + 1, "Cell List=List");
        const PG_Properties& program = pgc.PG.Item(static_cast<std::size_t>(g));
        for (std::size_t c = 1; c <= program.cell_ref.Count(); ++c) {
            Cell(domain, pgc, place, program.cell_ref.Item(c), c == 1);
        }
        file_.Close(depth + 1);
        file_.Close(depth);
        wroteProgram_ = true;
    }

    void Cell(VTS_Properties& domain, PGC_Number_Properties& pgc, const PgcPlace& place, const Cell_Ref_Properties& ref,
              bool first) {
        const int entry = place.Entry;
        const int depth = place.Depth() + 3;
        const int fields = depth + 1;
        const int v = ref.Vob_Id;
        const int c = ref.CELL_ID;
        if (!first) x_ += 120;
        const std::string scene = SceneName(domain, entry, v, c);
        file_.Open(depth, "Item=Cell");
        Position(fields, scene, "Yes", x_, 320);

        const VOB_ID_Properties* vob = nullptr;
        if (InRange(domain.Vob_Id.Count(), v)) vob = &domain.Vob_Id.Item(static_cast<std::size_t>(v));
        const CellID_Properties* played = FindPlayedCell(domain, v, c);
        if (vob == nullptr || played == nullptr) {
            WLOG(job_, "\t\tCell " + Dec(c) + " of VOB " + Dec(v) + " in " + PgcName(entry, place.Language, place.Pgc) +
                           " is not in the model's cell tables - written as a cell of its own");
        }
        const bool dummyVob = vob != nullptr && vob->Dummy != 0;
        const bool dummyCell = played != nullptr && played->DummyCell != 0;
        if (!dummyVob && !dummyCell) {
            file_.Line(fields, "Linked Scene", scene);
            file_.Open(fields, "Menu List=List");
            if (vob != nullptr) Menus(*vob, place, scene, c, fields + 1);
            file_.Close(fields);
        } else {
            file_.Line(fields, "Linked Scene", DummyScene(entry));
            run_.DummySceneLinked[static_cast<std::size_t>(entry)] = true;
            file_.Empty(fields, "Menu List=List");
        }
        file_.Line(fields, first ? "Seamless Flag=0" : "Seamless Flag=1");
        file_.Line(fields, "Access Restriction Flag=Permitted");
        file_.Line(fields, "Cell Type=Not specified");

        // Uses of one cell in one PGC take their own values in play order.
        std::size_t use = TakeCellUse(pgc);
        if (use == 0) use = 1;
        std::int16_t pause = 0;
        std::int16_t command = 0;
        if (use < pgc.NewCellPause.size() && use < pgc.NewCellCommand.size()) {
            pause = pgc.NewCellPause[use];
            command = pgc.NewCellCommand[use];
        } else {
            WLOG(job_, "\t\t" + PgcName(entry, place.Language, place.Pgc) +
                           " has no still time and cell command for its cell " + Dec(static_cast<std::int64_t>(use)) +
                           " - 0 written");
        }
        file_.Line(fields, "Cell Still Time", dummyVob ? std::string("0") : Dec(pause));
        if (command <= static_cast<std::int64_t>(pgc.CELL_COMMAND.Count())) {
            file_.Line(fields, "Cell Command", Dec(command));
        } else {
            file_.Line(fields, "Cell Command=0");
            WLOG(job_, "cell command error");
        }
        file_.Close(depth);
    }

    // A menu per highlight of each bitmap the cell shows, with the buttons'
    // commands. A button's target that names nothing stays "ERROR".
    void Menus(const VOB_ID_Properties& vob, const PgcPlace& place, const std::string& scene, int c, int depth) {
        const SUB_STREAM_Properties* stream = nullptr;
        for (const SUB_STREAM_Properties& candidate : vob.SUB_STREAM) {
            if (candidate.CELL_DETAILS.Count() > 0) {
                stream = &candidate;
                break;
            }
        }
        if (stream == nullptr) return;
        if (!InRange(stream->CELL_DETAILS.Count(), c)) {
            WLOG(job_, "\t\tThe subpicture stream has no details for cell " + Dec(c) + " of " + scene +
                           " - no menus written");
            return;
        }
        const CELL_DETAILS_Properties& details = stream->CELL_DETAILS.Item(static_cast<std::size_t>(c));
        for (std::size_t b = 1; b <= details.bmp.Count(); ++b) {
            const std::string menu = scene + "_" + Dec(static_cast<std::int64_t>(b)) + "_m";
            for (const HIGHLIGHT_STREAM_Properties& highlight : details.bmp.Item(b).HIGHLIGHT_STREAM) {
                if (b > 1) x_ += 120;
                file_.Open(depth, "Item=Menu");
                Position(depth + 1, menu, "Yes", x_, 400);
                file_.Line(depth + 1, "Linked Highlight=");
                file_.Open(depth + 1, "Command List=List");
                for (std::size_t n = 1; n <= highlight.BUTTON_DETAILS.Count(); ++n) {
                    const std::string& action = highlight.BUTTON_DETAILS.Item(n).Button_Action;
                    const std::string command = RewriteSpecial(job_, action, place.Entry, place.LanguageIndex);
                    const std::string target =
                        CommandToAction(job_, command, place.Language, place.Entry, place.Pgc, place.LanguageIndex);
                    WLOG(job_, "\t\tButtonCommand=" + action);
                    WLOG(job_, "\t\tButtonCommand ActionToAction=" + target);
                    file_.Open(depth + 2, "Item=Command");
                    Position(depth + 3, menu + "_" + Dec(static_cast<std::int64_t>(n)), "Yes", 0, 0);
                    file_.Line(depth + 3, "Command", command);
                    file_.Line(depth + 3, "To Action", target);
                    file_.Close(depth + 2);
                }
                file_.Close(depth + 1);
                file_.Close(depth);
            }
        }
    }

    // A PGC that shows the dummy scene, for a language unit of a domain
    // that has written no program.
    void DummyPgc(const PgcPlace& place, int number) {
        const int entry = place.Entry;
        const int depth = place.Depth();
        x_ += 120;
        file_.Open(place.Base + 5, "Item=PGC");
        Position(depth, PgcName(entry, place.Language, number), "Yes", x_, 160);
        EmptyLists(depth);
        PgcTail(depth, entry == 1 ? "Title Menu" : "No Menu");
        file_.Open(depth, "Program List=List");
        file_.Open(depth + 1, "Item=Program");
        Position(depth + 2, DomainPrefix(entry) + place.Language + "_Dummy_Menu", "Yes", x_, 240);
        file_.Open(depth + 2, "Cell List=List");
        file_.Open(depth + 3, "Item=Cell");
        Position(depth + 4, "Dummy_Menu_cell", "Yes", x_, 320);
        file_.Line(depth + 4, "Linked Scene", DummyScene(entry));
        file_.Line(depth + 4, "Seamless Flag=0");
        file_.Line(depth + 4, "Access Restriction Flag=Permitted");
        file_.Line(depth + 4, "Cell Type=Not specified");
        file_.Line(depth + 4, "Cell Still Time=0");
        file_.Line(depth + 4, "Cell Command=0");
        file_.Close(depth + 3);
        file_.Close(depth + 2);
        file_.Close(depth + 1);
        file_.Close(depth);
        file_.Close(place.Base + 5);
    }

    // The tracks the domain's menus play: those of the batch's domains
    // with video, and the dummy track where a cell or a dummy PGC shows it.
    void MenuTrackList(const VTS_Properties& domain, int entry, int base) {
        file_.Open(base + 2, "Menu Track List=Reference List");
        if (domain.Video.Count() > 0 && run_.InBatch(entry)) {
            const std::string prefix = DomainPrefix(entry);
            for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
                const VOB_ID_Properties& vob = domain.Vob_Id.Item(v);
                if (vob.Dummy != 0) continue;
                const auto vobNumber = static_cast<int>(v);
                if (vob.Vob_Type == "Video") {
                    file_.Line(base + 3, "Item", prefix + CreateVOBName(vobNumber) + "_t");
                    continue;
                }
                for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                    const auto cellNumber = static_cast<int>(c);
                    const CellID_Properties* played = FindPlayedCell(domain, vobNumber, cellNumber);
                    if (played != nullptr && played->DummyCell != 0) continue;
                    file_.Line(base + 3, "Item",
                               prefix + CreateVOBName(vobNumber) + "_" + CreateCellName(cellNumber) + "_t");
                }
            }
        }
        if (run_.DummySceneLinked[static_cast<std::size_t>(entry)] || (wroteLanguage_ && !wroteProgram_)) {
            file_.Line(base + 3, "Item", DummyTrack(entry));
        }
        file_.Close(base + 2);
    }

    // The titles of title set N = entry - 1, each a chain of dummy programs
    // up to the last chapter a command reaches.
    void Titles(int entry) {
        const int set = entry - 1;
        struct Reached {
            int Title;
            const TITLES_Properties* Record;
            const std::array<int, 6>* Row;
        };
        std::vector<Reached> reached;
        if (InRange(job_.TitleMap.Count(), set)) {
            const auto& titles = job_.TitleMap.Item(static_cast<std::size_t>(set)).TITLES;
            for (std::size_t t = 1; t <= titles.Count(); ++t) {
                for (const auto& row : run_.Titles.Rows) {
                    if (row[TitleArray::Vts] == set && row[TitleArray::Ttn] == static_cast<int>(t)) {
                        reached.push_back({static_cast<int>(t), &titles.Item(t), &row});
                    }
                }
            }
        } else {
            WLOG(job_, "\tVTS=" + Dec(set) + " has no title map entry - no titles written");
        }
        const auto programName = [set](int t, int p, int g) {
            return "VTS_" + Dec(set) + "_T_" + Dec(t) + "_P_" + Dec(p) + "_G_" + Dec(g);
        };
        // Each PGC up to the row's last, each PG up to its last, as the
        // dummy tracks were made.
        const auto forEachProgram = [](const Reached& title, auto&& pgcStart, auto&& program, auto&& pgcEnd) {
            const auto& pgcs = title.Record->PGC_Number;
            for (std::size_t p = 1; p <= pgcs.Count() && static_cast<int>(p) <= (*title.Row)[TitleArray::Pgc]; ++p) {
                const auto& pgs = pgcs.Item(p).PG;
                if (pgs.Count() == 0) continue;
                pgcStart(static_cast<int>(p));
                for (std::size_t g = 1; g <= pgs.Count() && static_cast<int>(g) <= (*title.Row)[TitleArray::Pg]; ++g) {
                    program(static_cast<int>(p), static_cast<int>(g));
                }
                pgcEnd();
            }
        };
        const auto nothing = [](auto...) {};

        file_.Open(3, "Title Track List=Reference List");
        for (const Reached& title : reached) {
            forEachProgram(
                title, nothing,
                [&](int p, int g) { file_.Line(4, "Item", "Dummy_" + programName(title.Title, p, g)); }, nothing);
        }
        file_.Close(3);

        file_.Open(3, "Title List=List");
        for (const Reached& title : reached) {
            if (wroteLanguage_) x_ += 120;
            const std::string name = "VTS_" + Dec(set) + "_T_" + Dec(title.Title);
            file_.Open(4, "Item=Title");
            Position(5, name, "Yes", x_, 80);
            file_.Open(5, "PGC List=List");
            std::vector<std::string> written;
            const auto pgcStart = [&](int p) {
                WLOG(job_, "\t\tWriting Title : PGC# " + Dec(p));
                file_.Open(6, "Item=PGC");
                Position(7, name + "_P_" + Dec(p), "Yes", x_, 160);
                EmptyLists(7);
                file_.Line(7, "Next PGC=");
                file_.Line(7, "Prev PGC=");
                file_.Line(7, "Goup PGC=");
                file_.Open(7, "Program List=List");
            };
            const auto program = [&](int p, int g) {
                WLOG(job_, "\t\t\tWriting Title : PG# " + Dec(g));
                if (g > 1) x_ += 120;
                const std::string program = programName(title.Title, p, g);
                file_.Open(8, "Item=Program");
                Position(9, program, "Yes", x_, 240);
                file_.Open(9, "Cell List=List");
                file_.Open(10, "Item=Cell");
                Position(11, program + "_C_1", "Yes", x_, 320);
                file_.Line(11, "Linked Scene", "Dummy_" + program + "_scn");
                file_.Line(11, "Seamless Flag=0");
                file_.Line(11, "Access Restriction Flag=Permitted");
                file_.Line(11, "Cell Type=Not specified");
                file_.Line(11, "Cell Still Time=0");
                file_.Line(11, "Cell Command=0");
                file_.Close(10);
                file_.Close(9);
                file_.Close(8);
                written.push_back(program);
            };
            const auto pgcEnd = [&] {
                file_.Close(7);
                file_.Close(6);
            };
            forEachProgram(title, pgcStart, program, pgcEnd);
            file_.Close(5);
            file_.Open(5, "Part of Title=Reference List");
            for (const std::string& program : written) file_.Line(6, "Item", program);
            file_.Close(5);
            file_.Close(4);
        }
        file_.Close(3);
    }

    static std::string DomainLabel(int entry) { return entry == 1 ? std::string("the VMG") : "VTS " + Dec(entry - 1); }

    JobContext& job_;
    ScenaristRun& run_;
    ScriptFile& file_;
    int x_ = 120;  // the running Left Point of the whole object
    // Of the domain in hand: a language item was written; a program was.
    bool wroteLanguage_ = false;
    bool wroteProgram_ = false;
};

}  // namespace

void GenerateLayout(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    WLOG(job, "GenerateLayout");
    ScenarioWriter(job, run, file).Write();
}

void GenerateLayoutExtra(const JobContext& job, ScriptFile& file, const PGC_Number_Properties& pgc,
                         std::string_view domainKind) {
    const int depth = domainKind == "VIDEO" ? 6 : 7;
    file.Open(depth, "Audio Attribute=");
    for (int s = 0; s <= 7; ++s) {
        const std::string n = Dec(s);
        file.Open(depth + 1, "Audio Attribute #" + n + "=PGC Audio Attr");
        file.Line(depth + 2, "Stream Number", n);
        file.Line(depth + 2, "Decoding Stream Number #" + n, s == 0 ? Dec(pgc.AudioStream1) : n);
        file.Close(depth + 1);
    }
    file.Close(depth);

    // The first stream's ids per display mode, less the streams the job
    // took out in front of them.
    const int reduction = job.Temp_Settings.Item(1).StreamReduction;
    const auto reduced = [reduction](int id) { return Dec(id > 0 ? id - reduction : id); };
    file.Open(depth, "Subpicture Attribute=");
    for (int s = 0; s <= 31; ++s) {
        const std::string n = Dec(s);
        const bool first = s == 0;
        file.Open(depth + 1, "Subpicture Attribute #" + n + "=PGC Sub-Picture Attr");
        file.Line(depth + 2, "Stream Number", n);
        file.Line(depth + 2, "Decoding Stream Number for 4:3 #" + n, first ? reduced(pgc.Stream1_Normal_Uses_ID) : "0");
        file.Line(depth + 2, "Decoding Stream Number for Wide #" + n, first ? reduced(pgc.Stream1_Wide_Uses_ID) : "0");
        file.Line(depth + 2, "Decoding Stream Number for Letterbox #" + n,
                  first ? reduced(pgc.Stream1_Letter_Uses_ID) : "0");
        file.Line(depth + 2, "Decoding Stream Number for Pan-scan #" + n,
                  first ? reduced(pgc.Stream1_Pan_Uses_ID) : "0");
        file.Close(depth + 1);
    }
    file.Close(depth);
}

}  // namespace kestrova
