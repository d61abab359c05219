// The track folder of a hand-built title set: the palette pass, a "Video"
// VOB as one track of scenes, a still menu cell with buttons, the dummy
// tracks, and what leaves a track or a stream out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "scenarist/track_objects.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Lines = std::vector<std::string>;

class TrackData : public testing::Test, public test::JobFixture {
public:
    TrackData() {
        job.Options().Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.Timing.VideoStandard = run.TargetStandard = "PAL";
        run.TimecodeSeparator = ";";
        run.BatchFirstVTS = 1;
        run.BatchLastVTS = 2;
        job.DiscModel.Add();  // the VMG, without VOBs
        auto& domain = job.DiscModel.Add();
        domain.OutputDir = "K:\\Job\\VTS_01_0";
        domain.Video.Add().Display_Pan_Scan = -1;
        domain.Audio.Add().Language = "English";
        domain.Language.Add().Language_Folder = "en";
    }

    VTS_Properties& Domain() { return job.DiscModel.Item(2); }
    PGC_Number_Properties& Pgc(std::size_t p) { return Domain().Language.Item(1).PGC_Number.Item(p); }
    CellID_Properties& Played(std::size_t vob, std::size_t cell) {
        return Domain().Video.Item(1).VobId.Item(vob).CellId.Item(cell);
    }

    VOB_ID_Properties& AddVob(const std::string& type, int cells) {
        auto& vob = Domain().Vob_Id.Add();
        vob.Vob_Type = type;
        auto& played = Domain().Video.Item(1).VobId.Add();
        for (int c = 0; c < cells; ++c) {
            vob.CELL_ID.Add();
            played.CellId.Add();
        }
        return vob;
    }
    // A PGC with one program playing these cells of the VOB.
    void AddPgc(int vob, const std::vector<int>& cells, std::int16_t palette) {
        auto& pgc = Domain().Language.Item(1).PGC_Number.Add();
        pgc.Palette_Number = palette;
        auto& pg = pgc.PG.Add();
        for (int cell : cells) {
            pg.cell_ref.Add({static_cast<std::int16_t>(vob), static_cast<std::int16_t>(cell)});
            Played(static_cast<std::size_t>(vob), static_cast<std::size_t>(cell)).PGC_Number.Add();
        }
    }

    Lines Write() {
        ScriptFile file("K:\\Track.SCP");
        GenerateTrackData(job, run, file);
        Lines lines;
        const std::string& text = file.Text();
        for (std::size_t at = 0, end; (end = text.find("\r\n", at)) != std::string::npos; at = end + 2) {
            lines.push_back(text.substr(at, end - at));
        }
        return lines;
    }
    std::string Log() const { return temp.Read("Kestrova.LOG"); }

    ScenaristRun run;
};

bool Has(const Lines& lines, int depth, const std::string& text) {
    return std::find(lines.begin(), lines.end(), MakeTab(depth) + text) != lines.end();
}
long Count(const Lines& lines, int depth, const std::string& text) {
    return std::count(lines.begin(), lines.end(), MakeTab(depth) + text);
}
bool Mentions(const Lines& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.find(text) != line.npos; });
}
// The line `offset` lines below the one that reads `text` at `depth`.
std::string Below(const Lines& lines, int depth, const std::string& text, std::size_t offset) {
    const auto at = std::find(lines.begin(), lines.end(), MakeTab(depth) + text);
    if (at == lines.end() || static_cast<std::size_t>(lines.end() - at) <= offset) return "<missing>";
    return *(at + static_cast<std::ptrdiff_t>(offset));
}

TEST_F(TrackData, ACellOfTwoPgcsEndsWithOnePalette) {
    // The second PGC shows no subpicture on the shared cell: it takes the
    // first one's palette, and the domain keeps its palettes.
    auto& vob = AddVob("StillMenu", 1);
    AddPgc(1, {1}, 3);
    AddPgc(1, {1}, 5);
    Lines lines = Write();
    EXPECT_EQ(Pgc(2).Palette_Number, 3);
    EXPECT_EQ(Domain().VTS_Type, "");
    EXPECT_TRUE(Has(lines, 7, "Color Palette=Palette_3"));

    // Showing a subpicture it keeps its own: two palettes on one cell put
    // every PGC on the default.
    Pgc(2).Palette_Number = 5;
    vob.CELL_ID.Item(1).Cell_Sub_Present = -1;
    lines = Write();
    EXPECT_EQ(Pgc(1).Palette_Number, 0);
    EXPECT_EQ(Pgc(2).Palette_Number, 0);
    EXPECT_EQ(Domain().VTS_Type, "Default");
    EXPECT_TRUE(Has(lines, 7, "Color Palette=DefaultPalette"));
    EXPECT_NE(Log().find("\tPalette reset to default"), std::string::npos);
}

TEST_F(TrackData, AVideoVobIsOneTrackWithASceneACell) {
    KESTROVA_REQUIRE_FFMPEG();
    AddVob("Video", 1).Dummy = -1;
    auto& vob = AddVob("Video", 3);
    vob.CELL_ID.Item(2).Track_Scene_StartTime = "00:00:04;10";
    vob.CELL_ID.Item(3).Track_Duration = "00:00:12;05";
    // Stream 2's file is missing.
    vob.Audio_Stream_Quantity = 2;
    files.MakeFolder("K:\\Job\\VTS_01_0\\DEMUXED");
    const std::string command =
        "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=sample_rate=48000:duration=1 -c:a ac3 -f ac3 '" +
        temp.Host("Job/VTS_01_0/DEMUXED/1-002.ac3") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    AddPgc(2, {1, 2, 3}, 0);

    const Lines lines = Write();
    EXPECT_EQ(Count(lines, 4, "Item=Video Track"), 1);
    EXPECT_FALSE(Mentions(lines, "VTS_1_001"));  // the dummy VOB
    EXPECT_EQ(Below(lines, 4, "Item=Video Track", 2), MakeTab(5) + "Name=VTS_1_002_t");
    EXPECT_TRUE(Has(lines, 5, "Display Mode=Only Panscan"));
    EXPECT_EQ(Below(lines, 7, "Name=VTS_1_002_t_scn_1", 3), MakeTab(7) + "Scene Time=00:00:00;00");
    EXPECT_EQ(Below(lines, 7, "Name=VTS_1_002_t_scn_2", 3), MakeTab(7) + "Scene Time=00:00:04;10");
    EXPECT_TRUE(Has(lines, 7, "Name=VTS_1_002_t_scn_3"));
    EXPECT_EQ(Count(lines, 6, "Item=Audio Stream"), 1);
    EXPECT_EQ(Below(lines, 7, "Item=Audio Play", 2), MakeTab(8) + "Data=VTS_1_1_002_80");
    EXPECT_EQ(Below(lines, 6, "Item=Main Video Play", 2), MakeTab(7) + "Data=VTS_1_002");
    EXPECT_EQ(Below(lines, 6, "Item=Main Video Play", 7), MakeTab(7) + "Duration=00:00:12;05");
    EXPECT_NE(Log().find("\t\tVTS=2, Vob=2"), std::string::npos);
}

TEST_F(TrackData, AStillMenuCellWithButtons) {
    job.Options().Equalize = 1;
    auto& vob = AddVob("StillMenu", 2);
    Played(1, 2).DummyCell = -1;
    vob.CELL_ID.Item(1).Cell_Sub_Present = -1;
    vob.SubStreamUsed = 1;
    auto& bitmap = vob.SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add();
    bitmap.Cell_FileName = "VTS_1_001_001_sp1";
    bitmap.Language = "en";
    auto& highlight = bitmap.HIGHLIGHT_STREAM.Add();
    highlight.ButtonMode_1 = "Normal, Wide";
    highlight.Forced_Activated_Button = 2;
    auto& group = highlight.COLOR_GROUP.Add();
    group.Selection_Color_E2 = 2;
    group.Selection_Contrast_E2 = 15;
    group.Selection_Contrast_P = 3;
    group.Selection_Contrast_Bg = 7;
    auto& first = highlight.BUTTON_DETAILS.Add();
    first.HIGH_LIGHT_AREA.Add({10, 20, 100, 200});
    first.Left = 2;
    auto& second = highlight.BUTTON_DETAILS.Add();
    for (int n = 0; n < 4; ++n) second.HIGH_LIGHT_AREA.Add({30, 40, 300, 400});
    AddPgc(1, {1}, 0);

    Lines lines = Write();
    EXPECT_TRUE(Has(lines, 5, "Name=VTS_1_001_001_t"));
    EXPECT_FALSE(Mentions(lines, "VTS_1_001_002"));  // the dummy cell
    EXPECT_EQ(Below(lines, 6, "Item=Sub-Picture Stream", 13), MakeTab(7) + "Stream Number=1");
    EXPECT_TRUE(Has(lines, 7, "Language=English"));
    EXPECT_TRUE(Has(lines, 5, "Highlight Stream=Highlight Stream"));
    EXPECT_TRUE(Has(lines, 7, "Duration=00:00:00;01"));
    EXPECT_TRUE(Has(lines, 7, "Button Mode 1=Normal/Wide"));
    EXPECT_TRUE(Has(lines, 9, "Color 1(E2)=3"));
    // Equalised: (15 + 0 + 3) / 3 = 6 for the three, 40 %; Bg 7 stays, 47 %.
    EXPECT_EQ(Below(lines, 8, "Selection Contrast=Contrast", 2), MakeTab(9) + "Color 1(E2)=40 %");
    EXPECT_EQ(Below(lines, 8, "Selection Contrast=Contrast", 3), MakeTab(9) + "Color 2(E1)=40 %");
    EXPECT_EQ(Below(lines, 8, "Selection Contrast=Contrast", 5), MakeTab(9) + "Color 4(Bg)=47 %");
    // Three areas each: the first button repeats its one, the second drops its fourth.
    EXPECT_EQ(Count(lines, 10, "X1=10"), 3);
    EXPECT_EQ(Count(lines, 10, "X1=30"), 3);
    EXPECT_TRUE(Has(lines, 9, "Name=VTS_1_001_001_btn_1_2"));
    EXPECT_TRUE(Has(lines, 9, "Left Button=VTS_1_001_001_btn_1_2"));
    EXPECT_TRUE(Has(lines, 7, "Forced Selected Button #=Nonexistent"));
    EXPECT_TRUE(Has(lines, 7, "Forced Activated Button #=2"));

    // Without a stream marked as the buttons' the subpictures stay, the highlights go.
    vob.SubStreamUsed = 0;
    lines = Write();
    EXPECT_TRUE(Has(lines, 6, "Item=Sub-Picture Stream"));
    EXPECT_FALSE(Mentions(lines, "Highlight"));
}

TEST_F(TrackData, DummyTracksReachTheFurthestChapterAndStandForEmptyMenus) {
    auto& title = job.TitleMap.Add().TITLES.Add();
    title.VTS = 1;
    title.VTS_TTN = 1;
    title.TitleNumber = 1;
    auto& pgc = title.PGC_Number.Add();
    for (std::int16_t chapter = 1; chapter <= 3; ++chapter) pgc.PG.Add().Chapter = chapter;
    job.TitleCommands.Add({"JumpVTS_PTT", 1, 2, 1});

    const Lines lines = Write();
    EXPECT_TRUE(Has(lines, 5, "Name=Dummy_VTS_1_T_1_P_1_G_2"));
    EXPECT_FALSE(Mentions(lines, "_G_3"));
    EXPECT_NE(Log().find("Writing DummyTrack for VTS# 1 ; Title# 1 ; PGC# 1 ; PG# 2"), std::string::npos);
    EXPECT_EQ(Below(lines, 5, "Name=VID_Dummy_Menu_t", 1), MakeTab(5) + "Display Mode=Only Panscan");
    EXPECT_TRUE(Has(lines, 7, "Name=VTS1_Dummy_Menu_t_scn"));
    EXPECT_TRUE(Has(lines, 7, "Data=VTS1_Dummy"));
    EXPECT_TRUE(Has(lines, 7, "Data=Title_Dummy"));
}

}  // namespace
}  // namespace kestrova
