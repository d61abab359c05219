// The Settings and Navigation sections of a Muxman script: see
// navigation.h.
#include "muxman/navigation.h"

#include <algorithm>
#include <vector>

#include "assets/asset_names.h"
#include "authoring/picture_helpers.h"
#include "authoring/scenario_helpers.h"
#include "job/log_writers.h"
#include "muxman/command_translation.h"
#include "muxman/content.h"
#include "muxman/mxp_names.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The VMG's first PGC answers to the title menu's name; any other to its
// domain, language and number.
std::string PgcLink(int entry, const std::string& language, std::int64_t pgc) {
    return MuxmanPgcName(entry, language, static_cast<int>(pgc));
}

bool HoldsVob(const PGC_Number_Properties& pgc, int vob) {
    for (const PG_Properties& pg : pgc.PG) {
        for (const Cell_Ref_Properties& ref : pg.cell_ref) {
            if (ref.Vob_Id == vob) return true;
        }
    }
    return false;
}

// The lines a PGC's three command lists leave empty, as every dummy and
// title PGC has them.
void EmptyCommandLists(MuxmanRun& run, int depth) {
    for (const char* list : {"Item=Pre Commands", "Item=Post Commands", "Item=Cell Commands"}) {
        WSF(run, depth, list);
        WSF(run, depth, "{");
        WSF(run, depth, "}");
    }
}

void Open(MuxmanRun& run, int depth, std::string_view statement) {
    WSF(run, depth, statement);
    WSF(run, depth, "{");
}

// One domain as GenerateVTS writes it.
class DomainWriter {
public:
    DomainWriter(JobContext& job, MuxmanRun& run, int entry, int vob, bool skeleton, int mark, const OwnSegment& own)
        : job_(job),
          run_(run),
          entry_(entry),
          vob_(vob),
          noPrograms_(skeleton || mark == -1),
          own_(own),
          domain_(job.DiscModel.Item(static_cast<std::size_t>(entry))),
          d_(MuxmanDomain(entry)) {}

    void Write() {
        Open(run_, 1, entry_ == 1 ? std::string("Item=VMG") : "Item=VTS" + CreateCellName(entry_ - 1));
        for (std::size_t l = 1; l <= domain_.Language.Count(); ++l) Unit(static_cast<int>(l));
    }

private:
    bool Small() const { return vob_ > 0; }

    void Unit(int l) {
        Language_Properties& language = domain_.Language.Item(static_cast<std::size_t>(l));
        if (language.PGC_Quantity <= 0) return;
        const std::string name = MuxmanLanguage(job_, entry_, l);
        const bool titleUnit = Small() && entry_ != 1;
        Open(run_, 2, titleUnit ? "Item=Title" : "Item=Language");
        WSF(run_, 3, "Name=" + d_ + name);
        if (!titleUnit) {
            const std::string& code = language.Language_Folder;
            WSF(run_, 3, "Language=" + (code.empty() ? std::string("en") : code));
        }
        for (int p = 1; p <= language.PGC_Quantity; ++p) {
            if (!InRange(language.PGC_Number.Count(), p)) {
                WLOG(job_, "\tPGC=" + Dec(p) + " of language " + Dec(l) + " of " + d_ + " is not in the model (" +
                               Dec(static_cast<std::int64_t>(language.PGC_Number.Count())) + " PGCs) - left out");
                continue;
            }
            Pgc(language.PGC_Number.Item(static_cast<std::size_t>(p)), CommandPlace{entry_, l, name, p, 0});
        }
        GenerateDummyPGC(job_, run_, entry_, vob_, own_);
        // A small script's units play only their own VOB, as titles; the
        // navigation around it is the source's again after the merge. A
        // FULL script's language units are menus, which have no parts of
        // a title (its titles list theirs).
        if (Small()) {
            Open(run_, 3, "Item=Part Of Title List");
            WSF(run_, 4, "Item=DummyProgram");
            WSF(run_, 3, "}");
        }
        WSF(run_, 2, "}");
    }

    void Pgc(PGC_Number_Properties& pgc, const CommandPlace& place) {
        const int p = place.Pgc;
        const std::string& name = place.Language;
        Open(run_, 3, "Item=PGC");
        WSF(run_, 4, "Name=" + PgcLink(entry_, name, p));
        std::string menu;
        if (Small()) {
            menu = p == 1 ? "Title Entry" : "No Menu";
        } else if (entry_ == 1 && p == 1) {
            menu = "Title Menu";
        } else {
            menu = ConvertMenuId(job_, static_cast<int>(platform::LeadingWholeNumber(pgc.PGC_Type)));
        }
        WSF(run_, 4, "Menu ID=" + menu);
        WSF(run_, 4, job_.Options().Strip_UOP == 0 ? "Uop=" + pgc.UOPString : std::string("Uop=00000000"));
        WSF(run_, 4, "Next PGC=" + (!Small() && pgc.Next_PGC > 0 ? PgcLink(entry_, name, pgc.Next_PGC) : ""));
        std::string goUp;
        if (!Small() && pgc.GoUp_PGC == 65535) {
            goUp = "resume";
        } else if (!Small() && pgc.GoUp_PGC > 0) {
            goUp = PgcLink(entry_, name, pgc.GoUp_PGC);
        }
        WSF(run_, 4, "GoUp PGC=" + goUp);
        WSF(run_, 4, "PG Playback Mode=Sequential Playback");
        WSF(run_, 4, "Repeat Times=0");
        WSF(run_, 4, "PGC Still Time=" + Dec(pgc.Still_Time));
        WSF(run_, 4, !Small() && pgc.Palette_Number > 0 ? "Palette=Palette" + Dec(pgc.Palette_Number)
                                                         : std::string("Palette=DefaultPalette"));
        Commands("Item=Pre Commands", "Pre", pgc.PRE_COMMANDS, place);
        Commands("Item=Post Commands", "Post", pgc.POST_COMMAND, place);
        Commands("Item=Cell Commands", "Cell", pgc.CELL_COMMAND, place);

        bool programs = domain_.Video.Count() > 0 && pgc.Dummy == 0 && !noPrograms_;
        // A small script gives its VOB's cells to the first PGC that holds
        // them, so each of its scenes is shown by one cell.
        if (Small()) programs = programs && !heldWritten_ && HoldsVob(pgc, vob_);
        Open(run_, 4, "Item=Program List");
        if (programs) {
            heldWritten_ = Small();
            ProgramList(pgc, place);
        }
        WSF(run_, 4, "}");
        WSF(run_, 3, "}");
    }

    // A command list; a FULL script's commands name their targets as the
    // script does, and a jump to a line names the line's label.
    void Commands(const char* item, const char* label, const Collection<Command_Properties>& list,
                  const CommandPlace& place) {
        Open(run_, 4, item);
        if (!Small()) {
            for (std::size_t k = 1; k <= list.Count(); ++k) {
                const std::string text = TranslateCommand(job_, run_, list.Item(k).Command, place);
                WSF(run_, 5, label + Dec(static_cast<std::int64_t>(k)) + ": " + CheckGoto(text, label));
            }
        }
        WSF(run_, 4, "}");
    }

    void ProgramList(PGC_Number_Properties& pgc, const CommandPlace& place) {
        int ordinal = 0;  // the cell's place in the PGC, over its programs
        for (std::size_t g = 1; g <= pgc.PG.Count(); ++g) {
            bool opened = false;
            for (const Cell_Ref_Properties& ref : pgc.PG.Item(g).cell_ref) {
                ++ordinal;
                if (Small() && ref.Vob_Id != vob_) continue;
                if (!opened) {
                    const std::string program =
                        MuxmanProgramName(entry_, place.Language, place.Pgc, static_cast<int>(g));
                    Open(run_, 5, "Item=Program");
                    WSF(run_, 6, "Name=" + program);
                    opened = true;
                }
                Cell(pgc, place, ref, ordinal);
            }
            if (opened) WSF(run_, 5, "}");
        }
    }

    void Cell(PGC_Number_Properties& pgc, const CommandPlace& place, const Cell_Ref_Properties& ref, int ordinal) {
        const int v = ref.Vob_Id;
        const int c = ref.CELL_ID;
        Open(run_, 6, "Item=Cell");
        WSF(run_, 7, "Name=" + MuxmanCellName(entry_, place.Language, place.Pgc, ordinal));

        VOB_ID_Properties* vob = InRange(domain_.Vob_Id.Count(), v) ? &domain_.Vob_Id.Item(static_cast<std::size_t>(v))
                                                                    : nullptr;
        const CellID_Properties* played = FindPlayedCell(domain_, v, c);
        if (vob == nullptr || played == nullptr) {
            WLOG(job_, "\t\tCell " + Dec(c) + " of VOB " + Dec(v) + " in " +
                           PgcLink(entry_, place.Language, place.Pgc) +
                           " is not in the model's cell tables - linked to its own scene");
        }
        const bool dummy = (vob != nullptr && vob->Dummy != 0) || (played != nullptr && played->DummyCell != 0);
        // A small script has no dummy menu segment: its dummy cells show
        // their own scenes, which its segment holds.
        const bool ownScene = !dummy || Small();
        WSF(run_, 7, "Linked Scene=" + (ownScene ? MuxmanSceneName(entry_, v, c) : MuxmanDummyScene(entry_)));
        if (!dummy && vob != nullptr) Menus(*vob, place, c);

        // Uses of one cell in one PGC take their own values in play order.
        const std::size_t use = TakeCellUse(pgc);
        std::int16_t pause = 0;
        std::int16_t command = 0;
        if (use >= 1 && use < pgc.NewCellPause.size() && use < pgc.NewCellCommand.size()) {
            pause = pgc.NewCellPause[use];
            command = pgc.NewCellCommand[use];
        } else {
            WLOG(job_, "\t\t" + PgcLink(entry_, place.Language, place.Pgc) +
                           " has no still time and cell command for its cell " + Dec(ordinal) + " - 0 written");
        }
        // A command names a line of the PGC's cell commands, which only a
        // FULL script writes.
        std::string commandLine = "Command=";
        if (command > 0 && !Small()) {
            if (command <= static_cast<std::int64_t>(pgc.CELL_COMMAND.Count())) {
                commandLine += "Cell" + Dec(command);
            } else {
                WLOG(job_, "cell command error");
            }
        }
        WSF(run_, 7, commandLine);
        WSF(run_, 7, "Cell Still Time=" + (dummy ? std::string("0") : Dec(pause)));
        WSF(run_, 7, "Access Restriction Flag=Permitted");
        WSF(run_, 6, "}");
    }

    // A menu per highlight of each bitmap the cell shows: a line per
    // button, "Nop" for a removed one, so line k stays button k's.
    void Menus(VOB_ID_Properties& vob, const CommandPlace& place, int c) {
        for (SUB_STREAM_Properties& stream : vob.SUB_STREAM) {
            if (!InRange(stream.CELL_DETAILS.Count(), c)) continue;
            for (BMP_Properties& bitmap : stream.CELL_DETAILS.Item(static_cast<std::size_t>(c)).bmp) {
                for (const HIGHLIGHT_STREAM_Properties& highlight : bitmap.HIGHLIGHT_STREAM) {
                    Open(run_, 7, "Item=Menu");
                    for (const BUTTON_DETAILS_Properties& button : highlight.BUTTON_DETAILS) {
                        WSF(run_, 8,
                            button.Dummy != 0 ? std::string("Nop")
                                              : TranslateCommand(job_, run_, button.Button_Action, place));
                    }
                    WSF(run_, 7, "}");
                }
                bitmap.AlreadyWritten = -1;
            }
        }
    }

    JobContext& job_;
    MuxmanRun& run_;
    const int entry_;
    const int vob_;
    const bool noPrograms_;
    const OwnSegment own_;
    VTS_Properties& domain_;
    const std::string d_;
    bool heldWritten_ = false;
};

// A title of the title map that the menus reach, with its row of the
// title table.
struct ReachedTitle {
    int Title = 0;
    const TITLES_Properties* Record = nullptr;
    const std::array<int, 6>* Row = nullptr;
};

std::vector<ReachedTitle> ReachedTitles(JobContext& job, const MuxmanRun& run, int set) {
    std::vector<ReachedTitle> reached;
    if (!InRange(job.TitleMap.Count(), set)) {
        WLOG(job, "\tVTS=" + Dec(set) + " has no title map entry - no titles written");
        return reached;
    }
    const auto& titles = job.TitleMap.Item(static_cast<std::size_t>(set)).TITLES;
    for (std::size_t t = 1; t <= titles.Count(); ++t) {
        for (const auto& row : run.Titles.Rows) {
            if (row[TitleArray::Vts] == set && row[TitleArray::Ttn] == static_cast<int>(t)) {
                reached.push_back({static_cast<int>(t), &titles.Item(t), &row});
            }
        }
    }
    return reached;
}

// Each PGC of the title up to the row's, each PG up to the row's; a PGC
// without programs is passed over.
template <typename PgcStart, typename Program, typename PgcEnd>
void ForEachProgram(const ReachedTitle& title, PgcStart pgcStart, Program program, PgcEnd pgcEnd) {
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
}

}  // namespace

void GenerateSettings(JobContext& job, MuxmanRun& run) {
    Open(run, 0, "Section=Settings");
    if (run.Full) WSF(run, 1, "Destination Folder=" + job.DiscModel.Item(1).Root + "\\Batch_1\\0\\VIDEO_TS");
    GeneratePalette(job, run);
    WSF(run, 0, "}");
}

void GeneratePalette(JobContext& job, MuxmanRun& run) {
    const auto colour = [&run](std::size_t index, const Rgb& rgb) {
        WSF(run, 2, "Color " + Dec(static_cast<std::int64_t>(index)) + "=" + Dec(rgb[0]) + ", " + Dec(rgb[1]) + ", " +
                        Dec(rgb[2]));
    };
    for (std::size_t p = 1; p <= job.PalettePool.Count(); ++p) {
        Open(run, 1, "Item=Palette");
        WSF(run, 2, "Name=Palette" + Dec(static_cast<std::int64_t>(p)));
        const auto& palette = job.PalettePool.Item(p).Palette;
        for (std::size_t c = 1; c <= palette.Count(); ++c) colour(c - 1, PaletteColour(palette.Item(c)));
        WSF(run, 1, "}");
    }
    Open(run, 1, "Item=Palette");
    WSF(run, 2, "Name=DefaultPalette");
    const auto& defaults = DefaultPaletteColours();
    for (std::size_t c = 0; c < defaults.size(); ++c) colour(c, defaults[c]);
    WSF(run, 1, "}");
}

void GenerateFP(JobContext&, MuxmanRun& run) {
    Open(run, 0, "Section=Navigation");
    Open(run, 1, "Item=First PGC");
    for (const char* line : {"Name=FP", "Menu ID=No Menu", "UOP=00000000", "PG Playback Mode=Sequential Playback",
                             "Repeat Times=0", "PGC Still Time=0", "Palette=Palette1"}) {
        WSF(run, 2, line);
    }
    EmptyCommandLists(run, 2);
    Open(run, 2, "Item=Program List");
    WSF(run, 2, "}");
    WSF(run, 1, "}");
}

void GenerateVTS(JobContext& job, MuxmanRun& run, int entry, int vob, bool skeleton, int mark, const OwnSegment& own) {
    DomainWriter(job, run, entry, vob, skeleton, mark, own).Write();
}

void GenerateDummyPGC(JobContext& job, MuxmanRun& run, int entry, int vob, const OwnSegment& own) {
    std::vector<std::string> scenes;
    if (vob == 0) {
        // A FULL script shows the domain's dummy menu segment, which only a
        // domain with video has.
        if (job.DiscModel.Item(static_cast<std::size_t>(entry)).Video.Count() == 0) return;
        scenes.push_back(MuxmanDummyScene(entry));
    } else {
        const std::size_t cells = GetCells(job, own.Entry, own.Vob).size();
        for (std::size_t i = 0; i < cells; ++i) {
            scenes.push_back(MuxmanSceneName(own.Entry, own.Vob, static_cast<int>(i) + 1));
        }
    }
    Open(run, 3, "Item=PGC");
    for (const char* line : {"Name=DummyPGC", "Menu ID=No Menu", "Uop=00000000", "Next PGC=", "GoUp PGC=",
                             "PG Playback Mode=Sequential Playback", "Repeat Times=0", "PGC Still Time=0",
                             "Palette=DefaultPalette"}) {
        WSF(run, 4, line);
    }
    EmptyCommandLists(run, 4);
    Open(run, 4, "Item=Program List");
    Open(run, 5, "Item=Program");
    WSF(run, 6, "Name=DummyProgram");
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        Open(run, 6, "Item=Cell");
        WSF(run, 7, "Name=DummyCell" + Dec(static_cast<std::int64_t>(i)));
        WSF(run, 7, "Linked Scene=" + scenes[i]);
        WSF(run, 7, "Command=");
        WSF(run, 7, "Cell Still Time=0");
        WSF(run, 7, "Access Restriction Flag=Permitted");
        WSF(run, 6, "}");
    }
    WSF(run, 5, "}");
    WSF(run, 4, "}");
    WSF(run, 3, "}");
}

void GenerateTitles(JobContext& job, MuxmanRun& run, int entry) {
    const int set = entry - 1;
    for (const ReachedTitle& title : ReachedTitles(job, run, set)) {
        Open(run, 2, "Item=Title");
        WSF(run, 3, "Name=" + MuxmanTitleName(set, title.Title));
        WSF(run, 3, "Uop=0");
        std::vector<std::string> written;
        bool first = true;
        const auto pgcStart = [&](int p) {
            Open(run, 3, "Item=PGC");
            WSF(run, 4, "Name=" + MuxmanTitlePgcName(set, title.Title, p));
            if (first) {
                WSF(run, 4, "Menu ID=Title Entry");
                WLOG(job, "\t\tWriting NEW TITLE ENTRY: PGC# " + Dec(p));
            } else {
                WSF(run, 4, "Menu ID=No Menu");
                WLOG(job, "\t\tWriting subsequent PGC: PGC# " + Dec(p));
            }
            first = false;
            for (const char* line : {"Uop=00000000", "Next PGC=", "Prev PGC=", "GoUp PGC=",
                                     "PG Playback Mode=Sequential Playback", "Repeat Times=0", "PGC Still Time=0",
                                     "Palette=DefaultPalette"}) {
                WSF(run, 4, line);
            }
            EmptyCommandLists(run, 4);
            Open(run, 4, "Item=Program List");
        };
        const auto program = [&](int p, int g) {
            WLOG(job, "\t\t\tWriting Title : PG# " + Dec(g));
            const std::string name = MuxmanTitleProgramName(set, title.Title, p, g);
            Open(run, 5, "Item=Program");
            WSF(run, 6, "Name=" + name);
            Open(run, 6, "Item=Cell");
            WSF(run, 7, "Name=" + name + "C");
            WSF(run, 7, "Linked Scene=" + name + "_scn");
            WSF(run, 7, "Command=");
            WSF(run, 7, "Cell Still Time=0");
            WSF(run, 7, "Access Restriction Flag=Permitted");
            WSF(run, 6, "}");
            WSF(run, 5, "}");
            written.push_back(name);
        };
        const auto pgcEnd = [&] {
            WSF(run, 4, "}");
            WSF(run, 3, "}");
        };
        ForEachProgram(title, pgcStart, program, pgcEnd);
        Open(run, 3, "Item=Part Of Title List");
        for (const std::string& name : written) WSF(run, 4, "Item=" + name);
        WSF(run, 3, "}");
        WSF(run, 2, "}");
    }
}

void GenerateDummyTitle(JobContext& job, MuxmanRun& run) {
    for (std::size_t entry = 2; entry <= job.DiscModel.Count(); ++entry) {
        const int set = static_cast<int>(entry) - 1;
        const VTS_Properties& domain = job.DiscModel.Item(entry);
        std::string mode = "Display Mode=Only Panscan";
        std::string file = "File=" + job.JobRoot + "\\Title_Dummy.m2v";
        if (domain.Video.Count() > 0) {
            const std::string& display = domain.Video.Item(1).Display_Mode;
            if (display == "4 : 3 (Pan-scan)") {
                mode = "Display Mode=Only Panscan";
            } else if (display == "4 : 3") {
                mode = "Display Mode=4:3";
            } else {
                mode = "Display Mode=Only Letterbox";
            }
            file = "File=" + domain.OutputDir + "\\NEW_M2V\\Dummy.m2v";
        }
        for (const ReachedTitle& title : ReachedTitles(job, run, set)) {
            const auto program = [&](int p, int g) {
                WLOG(job, "Writing DummyTrack for VTS# " + Dec(set) + " ; Title# " + Dec(title.Title) + " ; PGC# " +
                              Dec(p) + " ; PG# " + Dec(g));
                const std::string name = MuxmanTitleProgramName(set, title.Title, p, g);
                Open(run, 1, "Item=Segment");
                WSF(run, 2, "Name=Dummy_" + name);
                WSF(run, 2, mode);
                Open(run, 2, "Item=Video Stream");
                Open(run, 3, "Item=Video Play");
                WSF(run, 4, file);
                WSF(run, 4, "Duration=Actual");
                WSF(run, 3, "}");
                WSF(run, 2, "}");
                Open(run, 2, "Item=Scene List");
                Open(run, 3, "Item=Scene");
                WSF(run, 4, "Name=" + name + "_scn");
                WSF(run, 4, "Scene Time=00:00:00:00");
                WSF(run, 3, "}");
                WSF(run, 2, "}");
                WSF(run, 1, "}");
            };
            ForEachProgram(title, [](int) {}, program, [] {});
        }
    }
}

std::string GetSubAspect(std::string_view mode) {
    if (mode == "Normal") return "unspecified";
    return std::string(mode);
}

void ClearReadFlags(JobContext& job) {
    for (VTS_Properties& domain : job.DiscModel) {
        for (Language_Properties& language : domain.Language) {
            for (PGC_Number_Properties& pgc : language.PGC_Number) std::fill(pgc.Read.begin(), pgc.Read.end(), 0);
        }
    }
}

}  // namespace kestrova
