// The preparation pass over the rips: highlight cells marked from the
// lists, and every bitmap of the rip given its record and PTS.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "assets/asset_stage_fixture.h"
#include "support/fixtures.h"
#include "subpicture/buttons.h"

namespace kestrova {
namespace {

class HighlightBitmaps : public test::AssetStageFixture {};

TEST_F(HighlightBitmaps, ListsMarkHighlightCellsAndTheRipCountsEveryBitmap) {
    AddVob({25});
    AddVob({25, 25, 25});
    job.State().StreamCount = 11;
    std::string head;
    for (int i = 0; i < 16; ++i) head += "Head " + std::to_string(i) + "\r\n";
    // Stream 10 (position 11) holds VOB 1's highlight; stream 0 the timed
    // bitmaps of VOB 2, one commented out by the rewriter.
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x30.sst",
        head + "Color\tpalette (1 2 3 0)\r\n0001\t00:00:00:00\t99:99:99:99\tP1_S10_10001_V1_C1.bmp\tHighlight\r\n");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x20.sst",
        head + "0001\t00:00:00:05\t00:00:00:20\tP1_S0_10001_V2_C1.bmp\r\n"
               "#0002\t00:00:01:05\t00:00:01:20\tP1_S0_10002_V2_C3.bmp\r\n");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.idx",
        "# VobSub index file, v7 (do not modify this line!)\r\nsize: 720x576\r\n\r\n"
        "id: --, index: 0\r\n"
        "# Vob/Cell ID: 2, 1 (PTS: 0)\r\n"
        "timestamp: 00:00:00:200, filepos: 000000000, PTS:4650, highlight: 0\r\n"
        "# Vob/Cell ID: 2, 3 (PTS: 0)\r\n"
        "timestamp: 00:00:01:200, filepos: 000000800, PTS:1b7740, highlight: 0\r\n"
        "timestamp: 00:00:01:800, filepos: 000001000, PTS:1c0000, highlight: 0\r\n"
        "id: --, index: 10\r\n"
        "# Vob/Cell ID: 1, 1 (PTS: 0)\r\n"
        "timestamp: 00:00:00:000, filepos: 000001800, PTS:0, highlight: 1\r\n");
    FindHighlightBitmaps(job, 2);

    auto& first = Domain().Vob_Id.Item(1);
    auto& second = Domain().Vob_Id.Item(2);
    EXPECT_NE(first.HighLight_Present, 0);
    EXPECT_NE(first.CELL_ID.Item(1).Bmps, 0);
    EXPECT_EQ(second.HighLight_Present, 0);
    ASSERT_EQ(first.SUB_STREAM.Count(), 11u);
    EXPECT_EQ(first.SUB_STREAM.Item(11).CELL_DETAILS.Item(1).bmp.Count(), 1u);
    ASSERT_EQ(second.SUB_STREAM.Count(), 1u);
    const auto& cells = second.SUB_STREAM.Item(1).CELL_DETAILS;
    ASSERT_EQ(cells.Count(), 3u);
    EXPECT_EQ(cells.Item(1).bmp.Item(1).PTSstamp, 0x4650);
    EXPECT_EQ(cells.Item(2).bmp.Count(), 0u);
    ASSERT_EQ(cells.Item(3).bmp.Count(), 2u);
    EXPECT_EQ(cells.Item(3).bmp.Item(2).PTSstamp, 0x1c0000);
    EXPECT_TRUE(Logged("PGC Number = 1"));
    EXPECT_FALSE(Logged("PGC Number = 2"));
}

// VOB 1 of one cell with streams 1 and 2; the cell's bitmaps in stream 2
// are at these PTS, the first of them a highlight.
class MatchBitmaps : public HighlightBitmaps {
public:
    MatchBitmaps() {
        auto& vob = AddVob({25});
        vob.SUB_STREAM.Add().CELL_DETAILS.Add();
        auto& bitmaps = vob.SUB_STREAM.Add().CELL_DETAILS.Add().bmp;
        for (const std::int32_t pts : {100, 200, 300}) bitmaps.Add().PTSstamp = pts;
        bitmaps.Item(1).HighLight_Present = -1;
    }
    int Match(std::int64_t pts) { return MatchBitmap(job, 1, 1, pts, pts + 10, stream); }
    int stream = 0;
};

TEST_F(MatchBitmaps, EachHighlightBitmapTakesOneHighlightAndTheRestOnlyWhenExamined) {
    auto& vob = Domain().Vob_Id.Item(1);
    EXPECT_EQ(Match(0), 1);
    EXPECT_EQ(stream, 2);
    EXPECT_EQ(vob.SubStreamUsed, 2);
    EXPECT_EQ(job.State().StreamReduction, 1);
    EXPECT_NE(vob.IsMenu, 0);
    // The cell's next packs find its one highlight bitmap taken.
    EXPECT_EQ(Match(0), kNoBitmap);
    EXPECT_EQ(MatchBitmap(job, 2, 1, 0, 0, stream), kNoBitmap);

    job.Options().ExamineHighlights = 1;
    EXPECT_EQ(Match(250), kNoBitmap);
    EXPECT_EQ(Match(300), 3);
    EXPECT_TRUE(Logged("CHECKING FOR HIGHLIGHT ASSOCIATION - EXPERIMENTAL - NO HIGHLIGHT SUB FOUND FOR BMP#: 3 ,PTS "
                       "STAMP MATCH FOUND=300"));
    EXPECT_NE(vob.SUB_STREAM.Item(2).CELL_DETAILS.Item(1).bmp.Item(3).HighLight_Present, 0);
    job.Options().HighlightsFirst = 1;
    EXPECT_EQ(Match(0), 2);
}

TEST_F(HighlightBitmaps, AWideDomainMissingALaterStreamShowsTheFirstInTheWideModes) {
    Domain().Video.Item(1).Display = "16 : 9";
    auto& vob = AddVob({25});
    vob.SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add().Display_Mode = "Normal";
    vob.SUB_STREAM.Add();
    AddVob({25}).SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add().Display_Mode = "Normal";
    CheckDisplayMode(job);
    EXPECT_EQ(vob.SUB_STREAM.Item(1).CELL_DETAILS.Item(1).bmp.Item(1).Display_Mode, "Wide/Letter");
    EXPECT_EQ(Domain().Vob_Id.Item(2).SUB_STREAM.Item(1).CELL_DETAILS.Item(1).bmp.Item(1).Display_Mode, "Normal");
    EXPECT_TRUE(Logged("Part of SubStream missing - setting mode to Wide/Letter for VOBID: 1"));
}

// The jumppad disc's VMG menus: the loop VOB (id 2) holds a highlight
// bitmap and 4 buttons in every NAV pack. Its first pack is made to say it
// has none: the bitmap takes the buttons of the next.
TEST_F(HighlightBitmaps, APackWithoutButtonsLeavesTheBitmapToTheNextAndAMissingSectorFileFailsTheStage) {
    AddVob({25});
    AddVob({25});
    AddVob({25, 25, 25});
    auto& bitmap = Domain().Vob_Id.Item(2).SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add();
    bitmap.HighLight_Present = -1;
    std::ifstream file(test::FixtureDisc("pal-menu-cells-jumppad") + "/VIDEO_TS.VOB", std::ios::binary);
    std::string vob((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    for (std::size_t at = 0; at + 2048 <= vob.size(); at += 2048) {
        if (vob.compare(at + 38, 4, "\x00\x00\x01\xBF", 4) != 0 || vob[at + 1056] != 2) continue;
        vob[at + 141] = vob[at + 142] = vob[at + 158] = 0;
        break;
    }
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.bov", vob);
    VobParse(job, "K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_1.bov");
    ASSERT_EQ(bitmap.HIGHLIGHT_STREAM.Count(), 1u);
    const auto& highlight = bitmap.HIGHLIGHT_STREAM.Item(1);
    EXPECT_EQ(highlight.BUTTON_DETAILS.Count(), 4u);
    EXPECT_EQ(highlight.COLOR_GROUP.Count(), 3u);
    EXPECT_EQ(highlight.ButtonMode_1, "Normal");
    EXPECT_TRUE(Logged("Number of buttons for this highlight=4"));
    EXPECT_TRUE(files.FolderExists("K:\\Job\\D_VTS_01_0\\MUXMAN"));
    EXPECT_FALSE(job.Stages.FailedStage().has_value());

    VobParse(job, "K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_2.bov");
    EXPECT_EQ(job.Stages.FailedStage(), RunStage::Subpictures);
}

}  // namespace
}  // namespace kestrova
