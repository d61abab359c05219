// The reader on fixture IFOs with single fields patched, for what dvdauthor
// never writes: links, masks, subpicture ids, PGCs without commands, gaps in
// the cell table, title sets the VMG does not list, skipped chapters.
#include "dvd/ifo_reader.h"

#include <gtest/gtest.h>

#include "disc_reading.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Word(const Bytes& bytes, std::size_t at) { return std::size_t(bytes.at(at) << 8 | bytes.at(at + 1)); }
std::size_t Long(const Bytes& bytes, std::size_t at) { return Word(bytes, at) << 16 | Word(bytes, at + 2); }
void PutWord(Bytes& bytes, std::size_t at, std::size_t value) {
    bytes.at(at) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(at + 1) = static_cast<std::uint8_t>(value);
}

// The byte position of PGC j (from 1) of the first language unit.
std::size_t PgcAt(const Bytes& ifo, std::size_t unitTablePointer, std::size_t j) {
    const std::size_t table = Long(ifo, unitTablePointer) * 2048;
    const std::size_t unit = table + Long(ifo, table + 12);
    return unit + Long(ifo, unit + 12 + 8 * (j - 1));
}

class PatchedIfo : public testing::Test {
protected:
    Bytes Read(const std::string& disc, const std::string& file) {
        folder_ = test::DrivePathOf(fx.job, test::FixtureDisc(disc));
        return fx.job.Files.ReadBytes(folder_ + "\\" + file);
    }
    void Load(const Bytes& bytes, const std::string& file, bool isVideoTS) {
        GetIFOParamsFromBytes(fx.job, ByteSource{bytes, folder_ + "\\" + file}, true, "ALL", isVideoTS);
    }
    test::JobFixture fx;
    std::string folder_;
};

TEST_F(PatchedIfo, PgcLinksMasksSubpicturesAndMissingCommands) {
    auto vmg = Read("pal-menu-cells-jumppad", "VIDEO_TS.IFO");
    const std::size_t first = PgcAt(vmg, 200, 1);
    const std::size_t second = PgcAt(vmg, 200, 2);
    PutWord(vmg, first + 156, 2);       // next
    PutWord(vmg, first + 158, 0xFFFF);  // previous, read as 16-bit signed
    PutWord(vmg, first + 160, 0xFFFF);  // go-up 65535 marks a resume
    vmg.at(first + 11) = 0x01;          // one prohibited operation
    vmg.at(first + 12) = 0x83;          // audio stream control: stream 3
    for (int i = 0; i < 4; ++i) vmg.at(first + 28 + i) = static_cast<std::uint8_t>(0x81 + i);
    PutWord(vmg, second + 228, 0);      // no command table
    fx.job.Options().DummyPGC = 1;
    Load(vmg, "VIDEO_TS.IFO", true);

    const auto& vts = fx.job.DiscModel.Item(1);
    const auto& pgc = vts.Language.Item(1).PGC_Number.Item(1);
    EXPECT_EQ(pgc.Next_PGC, 2);
    EXPECT_EQ(pgc.Previous_PGC, -1);
    EXPECT_EQ(pgc.GoUp_PGC, 65535);
    EXPECT_EQ(fx.job.State().ResumePGC, -1);
    EXPECT_EQ(pgc.UOPs.Count(), 1u);
    EXPECT_EQ(pgc.AudioStream1, 3);
    EXPECT_EQ(pgc.SubStringB, 0x8384);
    EXPECT_EQ(std::vector<int>({pgc.Stream1_Normal_Uses_ID, pgc.Stream1_Wide_Uses_ID, pgc.Stream1_Letter_Uses_ID,
                                pgc.Stream1_Pan_Uses_ID}),
              std::vector<int>({1, 2, 3, 4}));
    EXPECT_EQ(vts.UpdateIfoForSubs, -1);
    EXPECT_EQ(vts.Vob_Id.Item(1).SUB_STREAM.Count(), 3u) << "an id of 2 asks for three stream slots";
    EXPECT_EQ(vts.Vob_Id.Item(3).SUB_STREAM.Count(), 1u) << "the other PGC has only its first stream";
    // The VMG menus are 4:3 with both modes disallowed: the normal id counts.
    EXPECT_EQ(fx.job.StreamUse.at(1).Mode[21], "Normal");
    EXPECT_EQ(fx.job.StreamUse.at(1).FirstUse[21].Language_Folder, "en");

    const auto& bare = vts.Language.Item(1).PGC_Number.Item(2);
    EXPECT_EQ(bare.Possible_Dummy, -1);
    EXPECT_EQ(bare.CELL_COMMAND.Count(), 0u);
    EXPECT_EQ(bare.PG.Count(), 1u) << "cells are still read";

    test::JobFixture other;
    GetIFOParamsFromBytes(other.job, ByteSource{vmg, "K:\\VIDEO_TS.IFO"}, true, "ALL", true);
    EXPECT_EQ(other.job.DiscModel.Item(1).Language.Item(1).PGC_Number.Item(2).Possible_Dummy, 0)
        << "only with the DummyPGC setting at 1";
}

TEST_F(PatchedIfo, GapsAndRepeatsInTheCellAddressTable) {
    auto vmg = Read("pal-menu-cells-jumppad", "VIDEO_TS.IFO");
    const std::size_t table = Long(vmg, 216) * 2048;
    // Rows: (1,1) (2,1) (3,1) (3,2) (3,3); the fourth becomes (3,5).
    ASSERT_EQ(Word(vmg, table + 8 + 12 * 3), 3u);
    vmg.at(table + 8 + 12 * 3 + 2) = 5;
    // The PGC played cell 2, which now only the gap holds: let it play 5.
    const std::size_t pgc = PgcAt(vmg, 200, 2);
    vmg.at(pgc + Word(vmg, pgc + 234) + 4 + 3) = 5;
    Load(vmg, "VIDEO_TS.IFO", true);

    const auto& vts = fx.job.DiscModel.Item(1);
    ASSERT_EQ(vts.Vob_Id.Count(), 3u) << "a repeated VOB id only extends its cells";
    ASSERT_EQ(vts.Vob_Id.Item(3).CELL_ID.Count(), 5u);
    ASSERT_EQ(vts.Video.Item(1).VobId.Item(3).CellId.Count(), 5u);
    EXPECT_EQ(vts.Vob_Id.Item(3).CELL_ID.Item(4).VTSM_END, 0) << "a gap leaves an empty record";
    EXPECT_GT(vts.Vob_Id.Item(3).CELL_ID.Item(5).VTSM_END, 0);
    EXPECT_GT(vts.Vob_Id.Item(3).CELL_ID.Item(3).VTSM_START, 0) << "row (3,3) filled the record made earlier";
    EXPECT_EQ(vts.Video.Item(1).VobId.Item(3).CellId.Item(5).CellPause, 3);
}

TEST_F(PatchedIfo, TitleSetMissingFromTheVmgAndSkippedChapters) {
    auto vmg = Read("ntsc-vts-menus-2lang", "VIDEO_TS.IFO");
    PutWord(vmg, 62, 1);                           // one title set
    PutWord(vmg, Long(vmg, 196) * 2048, 2);        // titles 1 and 2 only
    auto vts1 = Read("ntsc-vts-menus-2lang", "VTS_01_0.IFO");
    const std::size_t chapters = Long(vts1, 200) * 2048;
    const std::size_t title1 = chapters + Long(vts1, chapters + 8);
    PutWord(vts1, title1 + 4, 0);                  // chapter 2 of title 1 has PGC 0
    const auto vts2 = Read("ntsc-vts-menus-2lang", "VTS_02_0.IFO");

    Load(vmg, "VIDEO_TS.IFO", true);
    Load(vts1, "VTS_01_0.IFO", false);
    Load(vts2, "VTS_02_0.IFO", false);

    ASSERT_EQ(fx.job.TitleMap.Count(), 2u);
    const auto& title1Map = fx.job.TitleMap.Item(1).TITLES.Item(1);
    const auto& programs = title1Map.PGC_Number.Item(1).PG;
    ASSERT_EQ(programs.Count(), 3u);
    EXPECT_EQ(std::vector<int>({programs.Item(1).Chapter, programs.Item(2).Chapter, programs.Item(3).Chapter}),
              std::vector<int>({1, 0, 2}))
        << "the entry with PGC 0 is skipped and not counted";

    const auto& extra = fx.job.TitleMap.Item(2).TITLES;
    ASSERT_EQ(extra.Count(), 1u);
    EXPECT_EQ(std::vector<int>({extra.Item(1).Chapter_Count, extra.Item(1).VTS, extra.Item(1).VTS_TTN,
                                extra.Item(1).TitleNumber, fx.job.State().MaxTitles}),
              std::vector<int>({1, 2, 1, 3, 3}));
}

}  // namespace
}  // namespace kestrova
