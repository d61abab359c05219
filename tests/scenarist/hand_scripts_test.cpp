// The Scenarist scripts of a hand-built disc that holds what the fixture
// discs lack: two batches over the 600 boundary, Combo and SlideShow VOBs,
// contrasts scaled by HighContrast and equalised, a dummy VOB, a dummy
// flagged PGC and the dummy PGCs of domains outside a batch, a cell shared
// by two PGCs with two palettes, and an AC3 stream ac3fix has to repair.
// Each script is compared byte for byte with its golden (golden/hand-*.SCP,
// the job's root written @ROOT@), then read back: it lints clean with its
// asset files in place.
//
// KESTROVA_UPDATE_GOLDEN=1 rewrites the hand goldens from this run (git diff
// then shows where a changed script parts from the golden).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "authoring/script_lint.h"
#include "job/tool_table.h"
#include "scenarist/script_driver.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

const std::string kGoldenFolder = std::string(KESTROVA_TEST_SOURCE_DIR) + "/scenarist/golden/";

std::string Three(std::size_t n) {
    const std::string digits = std::to_string(n);
    return std::string(3 - std::min<std::size_t>(3, digits.size()), '0') + digits;
}
std::string Prefix(std::size_t entry) { return entry == 1 ? "VID_" : "VTS_" + std::to_string(entry - 1) + "_"; }
std::string DummyScene(std::size_t entry) {
    return (entry == 1 ? std::string("VID") : "VTS" + std::to_string(entry - 1)) + "_Dummy_Menu_t_scn";
}

using Program = std::vector<std::pair<int, int>>;  // VOB and cell of each cell played

// A ticked NTSC disc, written as Scenarist 3.0. The encode and demux stages'
// files are laid out as those stages leave them, so that every File= of a
// script must name a file that exists.
class HandDisc : public test::JobFixture {
public:
    HandDisc() {
        job.Options().Default_Enable_Log = 1;
        job.Options().HighContrast = 2;
        job.Options().Equalize = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.JobRoot = "K:\\Job";
        job.ScenaristVersion = "3.0";
        job.Timing = {"NTSC", 0, 30};
        job.DomainIndex = 1;
        temp.Write("Job/Title_Dummy.m2v", "");
        for (int p = 0; p < 2; ++p) {
            auto& palette = job.PalettePool.Add().Palette;
            for (int c = 0; c < 16; ++c) {
                palette.Add(Palette_Properties{static_cast<std::int16_t>(16 + 14 * c), 0, 0,
                                               static_cast<std::int16_t>(128 + 6 * c - 40 * p),
                                               static_cast<std::int16_t>(240 - 14 * c)});
            }
        }
    }

    VTS_Properties& AddDomain(const std::string& folder, const char* aspect, const char* mode) {
        VTS_Properties& domain = job.DiscModel.Add();
        domain.Root = job.JobRoot;
        domain.OutputDir = job.JobRoot + "\\" + folder;
        domain.Authored = -1;
        Video_Properties& video = domain.Video.Add();
        video.Size = "720x480";
        video.Mpeg_Type = "MPEG 2";
        video.Aspect_Ratio = aspect;
        video.Display_Mode = mode;
        domain.Audio.Add().Language = "English";
        temp.Write(Relative(domain, "NEW_M2V\\Dummy.m2v"), "");
        return domain;
    }
    // A VOB with its cells in both cell tables and its encoded video: one
    // file for a "Video" VOB, one a cell for the others.
    VOB_ID_Properties& AddVob(VTS_Properties& domain, const char* type, int cells) {
        VOB_ID_Properties& vob = domain.Vob_Id.Add();
        vob.Vob_Type = type;
        VobID_Properties& played = domain.Video.Item(1).VobId.Add();
        const std::string name = Three(domain.Vob_Id.Count());
        if (vob.Vob_Type == "Video") temp.Write(Relative(domain, "NEW_M2V\\" + name + ".m2v"), "");
        for (int c = 1; c <= cells; ++c) {
            vob.CELL_ID.Add();
            played.CellId.Add();
            if (vob.Vob_Type != "Video") temp.Write(Relative(domain, "NEW_M2V\\" + name + "_" + Three(c) + ".m2v"), "");
        }
        return vob;
    }
    // A PGC of the language unit playing these programs, each use of a cell
    // with its still time and cell command (none by default).
    PGC_Number_Properties& AddPgc(VTS_Properties& domain, std::size_t language, const std::vector<Program>& programs,
                                  std::int16_t palette) {
        Language_Properties& unit = domain.Language.Item(language);
        PGC_Number_Properties& pgc = unit.PGC_Number.Add();
        unit.PGC_Quantity = static_cast<std::int16_t>(unit.PGC_Number.Count());
        pgc.Palette_Number = palette;
        for (const Program& program : programs) {
            PG_Properties& pg = pgc.PG.Add();
            for (const auto& [vob, cell] : program) {
                pg.cell_ref.Add({static_cast<std::int16_t>(vob), static_cast<std::int16_t>(cell)});
                Played(domain, vob, cell).PGC_Number.Add();
                pgc.NewCellPause.push_back(0);
                pgc.NewCellCommand.push_back(0);
                pgc.Read.push_back(0);
            }
        }
        return pgc;
    }
    static CellID_Properties& Played(VTS_Properties& domain, int vob, int cell) {
        auto& cells = domain.Video.Item(1).VobId.Item(static_cast<std::size_t>(vob)).CellId;
        return cells.Item(static_cast<std::size_t>(cell));
    }
    // A subpicture bitmap of a cell, its file under the domain's SUBTITLES.
    BMP_Properties& AddBitmap(VTS_Properties& domain, CELL_DETAILS_Properties& cell, const std::string& name) {
        BMP_Properties& bitmap = cell.bmp.Add();
        bitmap.Cell_FileName = name;
        bitmap.FilePath = domain.OutputDir + "\\SUBTITLES\\" + name + ".bmp";
        bitmap.Resolution = "NTSC";
        bitmap.Display_Mode = "Normal";
        bitmap.Language = "en";
        bitmap.Track_Start_Time_To_Video = "00:00:00:00";
        bitmap.Track_Duration = "00:00:00:01";
        bitmap.Width = 720;
        bitmap.Height = 478;
        bitmap.Display_Area_X2 = 719;
        bitmap.Display_Area_Y1 = 2;
        bitmap.Display_Area_Y2 = 479;
        bitmap.Color_E2 = 1;
        bitmap.Color_E1 = 2;
        bitmap.Color_P = 3;
        bitmap.Contrast_E2 = bitmap.Contrast_E1 = bitmap.Contrast_P = 15;
        temp.Write(Relative(domain, "SUBTITLES\\" + name + ".bmp"), "");
        return bitmap;
    }
    std::string Relative(const VTS_Properties& domain, const std::string& path) const {
        std::string relative = domain.OutputDir.substr(3) + "\\" + path;
        for (char& c : relative) c = c == '\\' ? '/' : c;
        return relative;
    }
    std::string Log() const { return temp.Read("Kestrova.LOG"); }
};

// The disc. VMG, batch 1 (4 video assets): a Combo VOB (a motion cell,
// then a still with two buttons), a SlideShow VOB of two cells and a dummy
// VOB; PGC 4 is flagged dummy. VTS 1 reaches 600 and begins batch 2: a
// still VOB of 596 cells, all but two dummy cells, whose cell 1 plays in
// both PGCs with palettes 1 and 2. VTS 2, also batch 2: a motion VOB with a
// damaged AC3 stream, in two language units.
void BuildDisc(HandDisc& f) {
    VTS_Properties& vmg = f.AddDomain("D_VIDEO_TS", "4 : 3", "4 : 3");
    VOB_ID_Properties& combo = f.AddVob(vmg, "Combo", 2);
    combo.SubStreamUsed = 1;
    CELL_ID_Properties& motion = combo.CELL_ID.Item(1);
    motion.VobType = "Video";
    motion.Data_End_Time = motion.Track_Duration = "00:00:04:15";
    combo.CELL_ID.Item(2).VobType = "StillMenu";
    combo.CELL_ID.Item(2).Track_Duration = "00:00:00:01";
    combo.CELL_ID.Item(2).Cell_Sub_Present = -1;
    auto& details = combo.SUB_STREAM.Add().CELL_DETAILS;
    details.Add();
    HIGHLIGHT_STREAM_Properties& highlight = f.AddBitmap(vmg, details.Add(), "VMG_S_1_10002").HIGHLIGHT_STREAM.Add();
    highlight.ButtonMode_1 = "Normal, Wide";
    highlight.Numerical = 2;
    highlight.Forced_Selected_Button = 1;
    // Equalised (15 + 6 + 3) / 3 = 8, then x 1.25 = 10: 67 %; Bg 7 kept: 47 %.
    highlight.COLOR_GROUP.Add(COLOR_GROUP_Properties{1, 2, 3, 0, 15, 6, 3, 7, 5, 6, 7, 0, 12, 12, 12, 0});
    for (std::int16_t n = 1; n <= 2; ++n) {
        BUTTON_DETAILS_Properties& button = highlight.BUTTON_DETAILS.Add();
        button.Button_Action = n == 1 ? "LinkPGCN 2" : "JumpTT 1";
        button.Color_Index = 1;
        button.Auto_Action = n == 2 ? -1 : 0;
        button.Left = button.Right = button.Up = button.Down = static_cast<std::int16_t>(3 - n);
        const auto top = static_cast<std::int16_t>(140 + 60 * n);
        button.HIGH_LIGHT_AREA.Add({100, 300, top, static_cast<std::int16_t>(top + 40)});
    }
    VOB_ID_Properties& slides = f.AddVob(vmg, "SlideShow", 2);
    slides.CELL_ID.Item(1).Track_Duration = "00:00:06:00";
    slides.CELL_ID.Item(2).Track_Duration = "00:00:03:10";
    f.AddVob(vmg, "StillMenu", 1).Dummy = -1;
    vmg.Language.Add().Language_Folder = "en";
    PGC_Number_Properties& menu = f.AddPgc(vmg, 1, {{{1, 1}, {1, 2}}}, 1);
    menu.PRE_COMMANDS.Add({"Mov GPRM0, 1", ""});
    menu.CELL_COMMAND.Add({"LinkPGCN 2", ""});
    menu.NewCellPause[2] = 255;
    menu.NewCellCommand[2] = 1;
    menu.UOPs.Add({"UOP7  NextPG_Search()=Prohibited", ""});
    PGC_Number_Properties& show = f.AddPgc(vmg, 1, {{{2, 1}}, {{2, 2}}}, 2);
    show.POST_COMMAND.Add({"LinkPGN 1, button=0", ""});
    show.Next_PGC = show.Previous_PGC = 1;
    f.AddPgc(vmg, 1, {{{3, 1}}}, 0).NewCellPause[1] = 5;  // a dummy VOB's cell stands still 0
    f.AddPgc(vmg, 1, {}, 0).Dummy = -1;
    vmg.Language.Item(1).PGC_Number.Item(4).PRE_COMMANDS.Add({"LinkPGCN 1", ""});

    VTS_Properties& stills = f.AddDomain("D_VTS_01_0", "16 : 9", "16 : 9");
    stills.Video.Item(1).Display_LetterBoxed = -1;
    VOB_ID_Properties& still = f.AddVob(stills, "StillMenu", 596);
    for (int c = 3; c <= 596; ++c) HandDisc::Played(stills, 1, c).DummyCell = -1;
    still.CELL_ID.Item(1).Cell_Sub_Present = -1;
    f.AddBitmap(stills, still.SUB_STREAM.Add().CELL_DETAILS.Add(), "VTS_01_S_1_10001");
    stills.Language.Add().Language_Folder = "en";
    PGC_Number_Properties& root = f.AddPgc(stills, 1, {{{1, 1}}, {{1, 2}}}, 1);
    root.PGC_Type = "131";
    root.PRE_COMMANDS.Add({"JumpVTS_PTT ptt_2 @ vts_ttn_1", ""});
    // A PGC's last cell says whether it shows a subpicture: cell 1 does.
    PGC_Number_Properties& other = f.AddPgc(stills, 1, {{{1, 3}, {1, 1}}}, 2);
    other.GoUp_PGC = 1;
    other.POST_COMMAND.Add({"LinkPGCN 1", ""});
    other.NewCellPause[2] = 10;

    VTS_Properties& movie = f.AddDomain("D_VTS_02_0", "4 : 3", "4 : 3 (Pan-scan)");
    movie.Video.Item(1).Display_Pan_Scan = -1;
    VOB_ID_Properties& moving = f.AddVob(movie, "Video", 2);
    moving.Audio_Present = -1;
    moving.Audio_Stream_Quantity = 1;
    moving.CELL_ID.Item(1).Data_End_Time = moving.CELL_ID.Item(1).Track_Duration = "00:00:03:05";
    moving.CELL_ID.Item(2).Data_End_Time = moving.CELL_ID.Item(2).Track_Duration = "00:00:08:20";
    moving.CELL_ID.Item(2).Track_Scene_StartTime = "00:00:03:05";
    for (const char* code : {"en", "fr"}) movie.Language.Add().Language_Folder = code;
    f.AddPgc(movie, 1, {{{1, 1}}, {{1, 2}}}, 0).PRE_COMMANDS.Add({"JumpVTS_TT 1", ""});
    PGC_Number_Properties& french = f.AddPgc(movie, 2, {{{1, 1}}, {{1, 2}}}, 0);
    french.PGC_Type = "131";
    french.PRE_COMMANDS.Add({"JumpTT 2", ""});

    // Title 1 of VTS 1 reached up to chapter 2; title 2 (VTS 2's first).
    for (std::int16_t set = 1; set <= 2; ++set) {
        TITLES_Properties& title = f.job.TitleMap.Add().TITLES.Add();
        title.VTS = set;
        title.VTS_TTN = 1;
        title.TitleNumber = set;
        auto& pgc = title.PGC_Number.Add();
        for (std::int16_t chapter = 1; chapter <= 3; ++chapter) pgc.PG.Add().Chapter = chapter;
    }
    f.job.TitleCommands.Add({"JumpVTS_PTT ptt_2 @ vts_ttn_1", 1, 2, 1});
}

std::string Diagnostics(const ScriptDiagnostics& diagnostics) {
    std::string text;
    for (const ScriptDiagnostic& d : diagnostics.List()) text += d.Format() + "\n";
    return text;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string ReadHostFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The still cells 4 to 594 of VTS 1 are data items alike but for their
// number. Where each is item 3 renumbered, they stand in the golden as one
// line; any other difference keeps them all, for the comparison to show.
std::string WithoutAlikeItems(const std::string& text) {
    const auto itemStart = [&](int cell) -> std::size_t {
        char name[32];
        std::snprintf(name, sizeof name, "Name=VTS_1_001_%03d\r\n", cell);
        const std::size_t at = text.find(name);
        if (at == std::string::npos) return at;
        return text.rfind('\n', text.rfind("Item=Encoded Still", at)) + 1;
    };
    const std::size_t model = itemStart(3);
    const std::size_t first = itemStart(4);
    const std::size_t end = itemStart(595);
    if (model == std::string::npos || first == std::string::npos || end == std::string::npos) return text;
    const std::string item3 = text.substr(model, first - model);
    for (int cell = 4, at = static_cast<int>(first); cell < 595; ++cell) {
        char number[8];
        std::snprintf(number, sizeof number, "_%03d", cell);
        const std::string expected = Replaced(item3, "_003", number);
        if (text.compare(static_cast<std::size_t>(at), expected.size(), expected) != 0) return text;
        at += static_cast<int>(expected.size());
    }
    return text.substr(0, first) + "\t\t\t\t(items VTS_1_001_004 to VTS_1_001_594: item VTS_1_001_003 renumbered)\r\n" +
           text.substr(end);
}

TEST(HandScripts, TwoBatchesMatchTheirGoldensAndReadBackClean) {
    KESTROVA_REQUIRE_FFMPEG();
    HandDisc f;
    AddStandInTools(f.launcher, KESTROVA_HOST_PROGRAMS);
    BuildDisc(f);
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=f=440:d=1:sample_rate=48000 "
                                "-ac 2 -c:a ac3 -b:a 192k -f ac3 '" + f.temp.Host("tone.ac3") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    std::string damaged = f.temp.Read("tone.ac3");
    damaged[4] = static_cast<char>(damaged[4] | 0x3F);  // a frame size code the table lacks
    f.temp.Write("Job/D_VTS_02_0/DEMUXED/1-001.ac3", damaged);

    ASSERT_EQ(CreateSCP(f.job), 1);
    const std::string log = f.Log();
    EXPECT_NE(log.find("Corrupt ac3 stream found - fixing K:\\Job\\D_VTS_02_0\\DEMUXED\\1-001.ac3"), std::string::npos);
    EXPECT_EQ(f.temp.Read("Job/D_VTS_02_0/DEMUXED/1-001.broken"), damaged);
    EXPECT_NE(log.find("Palette reset to default"), std::string::npos);
    EXPECT_EQ(f.job.DiscModel.Item(2).VTS_Type, "Default");

    const bool update = std::getenv("KESTROVA_UPDATE_GOLDEN") != nullptr &&
                        std::string(std::getenv("KESTROVA_UPDATE_GOLDEN")) == "1";
    for (std::size_t b = 1; b <= 2; ++b) {
        SCOPED_TRACE("batch " + std::to_string(b));
        const std::string number = std::to_string(b);
        const std::string relative = "Job/Batch_" + number + "/ScenaristScript30_" + number + ".SCP";
        const std::string written = WithoutAlikeItems(Replaced(f.temp.Read(relative), "K:\\Job", "@ROOT@"));
        const std::string golden = kGoldenFolder + "hand-batch-" + number + ".SCP";
        if (update) std::ofstream(golden, std::ios::binary) << written;
        const std::string expected = ReadHostFile(golden);
        EXPECT_TRUE(written == expected) << golden << " differs (KESTROVA_UPDATE_GOLDEN=1, then git diff)";

        ScriptDiagnostics diagnostics;
        LintScenaristFile(f.files, "K:\\" + Replaced(relative, "/", "\\"), diagnostics);
        EXPECT_FALSE(diagnostics.HasErrors()) << Diagnostics(diagnostics);
    }
}

}  // namespace
}  // namespace kestrova
