// The made-up title set of a menu domain: how cells become PGCs, where the
// IFO puts them, and the vsconv runs over the PGCs and stream ids.
#include <gtest/gtest.h>

#include "assets/asset_stage_fixture.h"
#include "platform/error.h"
#include "subpicture/extraction.h"

namespace kestrova {
namespace {

std::vector<SubtitleCell> CellsOfVobs(const std::vector<int>& cellsPerVob) {
    std::vector<SubtitleCell> cells;
    for (std::size_t v = 0; v < cellsPerVob.size(); ++v) {
        for (int c = 1; c <= cellsPerVob[v]; ++c) {
            cells.push_back({static_cast<std::int16_t>(v + 1), static_cast<std::int16_t>(c), c * 10, c * 10 + 9,
                             0x00000150, 0, 12});
        }
    }
    return cells;
}

std::vector<std::size_t> PgcSizes(const std::vector<int>& cellsPerVob) {
    std::vector<std::size_t> sizes;
    for (const auto& pgc : GroupSubtitlePgcs(CellsOfVobs(cellsPerVob))) sizes.push_back(pgc.size());
    return sizes;
}

TEST(SubtitleIfo, CellsFillPgcsOfAtMost255WithoutDividingAVob) {
    using Sizes = std::vector<std::size_t>;
    EXPECT_EQ(PgcSizes({255}), Sizes{255});
    EXPECT_EQ(PgcSizes({128, 128}), (Sizes{128, 128}));
    EXPECT_EQ(PgcSizes({100, 100, 55, 1}), (Sizes{255, 1}));
    EXPECT_EQ(PgcSizes({}), Sizes{0});
    EXPECT_THROW(GroupSubtitlePgcs(CellsOfVobs({3, 256})), Error);
}

std::uint32_t Be(const std::string& bytes, std::size_t at, int width) {
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i) value = value << 8 | static_cast<std::uint8_t>(bytes.at(at + i));
    return value;
}

TEST(SubtitleIfo, TablesPointAtEachPgcAndItsCells) {
    TimeBase pal;
    const auto pgcs = GroupSubtitlePgcs(CellsOfVobs({200, 2, 60}));
    ASSERT_EQ(pgcs.size(), 2u);
    const std::string ifo = SubtitleIfoImage(pgcs, 25, pal);
    EXPECT_EQ(ifo.substr(0, 12), "DVDVIDEO-VTS");
    EXPECT_EQ(ifo[512], 83);
    EXPECT_EQ(SubtitleIfoImage(pgcs, 30, pal)[512], 79);
    EXPECT_EQ(Be(ifo, 2048, 2), 2u);
    // The second PGC: its table entry, its cell count and the cell position
    // table behind its 60 cells, naming VOB 3 cell 60 last.
    const std::size_t second = 2048 + Be(ifo, 2048 + 12 + 8, 4);
    EXPECT_EQ(second, 2048 + kSubtitlePgcBytes + 8 * 2 + 8 + 4);
    EXPECT_EQ(static_cast<std::uint8_t>(ifo[second + 3]), 60);
    EXPECT_EQ(Be(ifo, second + 234, 2), 237u + 24 * 60);
    EXPECT_EQ(Be(ifo, second + 237 + 24 * 59 + 8, 4), 600u);   // first sector of its last cell
    EXPECT_EQ(Be(ifo, second + 237 + 24 * 59 + 20, 4), 609u);  // and its last
    const std::size_t lastPosition = second + 237 + 24 * 60 + 4 * 59;
    EXPECT_EQ(Be(ifo, lastPosition, 2), 3u);
    EXPECT_EQ(static_cast<std::uint8_t>(ifo[lastPosition + 3]), 60);
    // 60 cells of 12 frames: 0:00:28 and 20 frames, marked 25 a second.
    EXPECT_EQ(Be(ifo, second + 4, 4), 0x00002860u);
    // Whole sectors, one more than the tables need.
    EXPECT_EQ(ifo.size() % 2048, 0u);
    EXPECT_EQ(ifo.size() / 2048, (2048 + 2 * kSubtitlePgcBytes + 8 * 2 + 8 + 4) / 2048 + 2);
}

class ConvertSubs : public test::AssetStageFixture {
public:
    ConvertSubs() {
        auto& pgc = Domain().Language.Add().PGC_Number.Add();
        pgc.SubsPresent = Domain().SubsPresent = -1;
        pgc.Stream1_Wide_Uses_ID = 0;
        pgc.Stream1_Letter_Uses_ID = 10;
        Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.idx");
        Put("Job/D_VTS_01_0/SUBTITLES/PGC_2.idx");
        // vsconv leaves a list with an event for stream 10 of PGC 2 only, and
        // an empty list for the other streams of PGC 2.
        const std::string host = temp.Host("Job/D_VTS_01_0/SUBTITLES/");
        const std::string to = temp.Host("Job/D_VTS_01_0/SUBTITLES/PGC_20x");
        StandIn("vsconv.exe", R"(case "$6" in *PGC_2*) ;; *) exit 0 ;; esac
                                 out=)" + to + R"($(($8 + 20)).sst
                                 if [ "$8" = 10 ]; then printf 'head\r\n0001\tx\r\n' > "$out"
                                 else printf 'head\r\n' > "$out"; fi)");
    }
};

TEST_F(ConvertSubs, EveryStreamIdUpToTheHighestIsConvertedAndListsWithoutEventsGo) {
    EXPECT_EQ(NewConvert_SUBS(job, 2), 11);
    // Two PGCs of eleven stream ids: each run logs the batch file and its line.
    EXPECT_EQ(Commands().size(), 44u);
    EXPECT_EQ(files.ReadText("K:\\Job\\D_VTS_01_0\\SUBTITLES\\VSCONV.bat"),
              "\"K:\\Program\\vsconv.exe\" -f \"scenarist\" -i \"K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_2.idx\" -o "
              "\"K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_20x30\" -id 10 -kestrova\r\n");
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\SUBTITLES"),
              (std::vector<std::string>{"PGC_1.idx", "PGC_2.idx", "PGC_20x30.sst", "VSCONV.bat"}));
    EXPECT_FALSE(Logged("No Streams to Process with VsConv"));
    EXPECT_EQ(Journal().back(), "VSCONV");
}

TEST_F(ConvertSubs, NothingToConvertIsSaidAndAResumedRunPassesOverButKeepsTheCount) {
    // A closing program converts nothing and marks nothing.
    job.ClosingDown = -1;
    EXPECT_EQ(NewConvert_SUBS(job, 2), 0);
    EXPECT_TRUE(Commands().empty() && Journal().empty());
    job.ClosingDown = 0;

    Domain().SubsPresent = 0;
    EXPECT_EQ(NewConvert_SUBS(job, 2), 0);
    EXPECT_TRUE(Logged("No Streams to Process with VsConv"));
    EXPECT_TRUE(Commands().empty());

    Domain().SubsPresent = -1;
    job.State().Recover = -1;
    job.State().RecoveryVTS = 2;
    job.State().RecoveryModule = 2;
    EXPECT_EQ(NewConvert_SUBS(job, 2), 11);
    EXPECT_TRUE(Commands().empty());
    EXPECT_TRUE(Shown("VSCONV skipped"));
}

TEST_F(ConvertSubs, ARipThatLeftNothingIsNamedAndTheStageFallsShort) {
    StandIn("vsrip.exe", "exit 0");
    job.Stages.Begin(RunStage::Subpictures);
    // Without cells the IFO holds one PGC of none; its list is still ripped.
    // Of its pair only the .idx the fixture put there is found.
    EXPECT_EQ(CreateIFO(job), 1);
    EXPECT_EQ(files.ReadText("K:\\Job\\D_VTS_01_0\\SUBTITLES\\VSRIP.bat"),
              "\"K:\\Program\\vsrip.exe\" \"K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_1_para.lst\"\r\n");
    EXPECT_TRUE(Logged("\tSubpicture rip file not made: K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_1.bov"));
    ASSERT_EQ(job.Stages.Shortfalls(RunStage::Subpictures).size(), 1u);
    EXPECT_NE(job.Stages.Shortfalls(RunStage::Subpictures)[0].find("2 of the 3 subpicture rip files in " + temp.Host("Job/D_VTS_01_0") +
                                                                           " were not made (the first: PGC_1.sub)"),
              std::string::npos);
    EXPECT_EQ(Journal().back(), "VOBSUB");
}

}  // namespace
}  // namespace kestrova
