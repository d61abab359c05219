// Dummies: PGCs without commands or highlights, the VOBs only they use, and
// zero-length cells measured through the asset stage's demultiplexer and
// frame server when the dummy scan finds them. (A real disc's zero-length
// cell is found and measured by tests/pipeline/disc_typing_test.cpp.)
#include "assets/dummy_cells.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"
#include "dvd/dummy_scan.h"
#include "job/timecode.h"

namespace kestrova {
namespace {

class FalsePgcs : public test::AssetStageFixture {
protected:
    // A PGC of the domain's one language whose cells use the given VOBs.
    PGC_Number_Properties& AddPgc(std::vector<std::int16_t> vobs, bool possibleDummy) {
        if (Domain().Language.Count() == 0) Domain().Language.Add();
        auto& pgc = Domain().Language.Item(1).PGC_Number.Add();
        pgc.Possible_Dummy = possibleDummy ? -1 : 0;
        auto& program = pgc.PG.Add();
        for (std::int16_t vob : vobs) program.cell_ref.Add().Vob_Id = vob;
        return pgc;
    }
};

TEST_F(FalsePgcs, AVobIsRealOnceARealPgcUsesItWhateverTheOrder) {
    for (int v = 0; v < 4; ++v) AddVob({10});
    Domain().Vob_Id.Item(4).HighLight_Present = -1;
    auto& real = AddPgc({1}, false);
    auto& dummyFirst = AddPgc({1, 2}, true);  // VOB 1 after a real use, VOB 2 first
    AddPgc({2}, false);                       // VOB 2 used by a real PGC later
    auto& onlyDummy = AddPgc({3}, true);
    auto& highlighted = AddPgc({4}, true);
    FalsePgcCheck(job);

    EXPECT_EQ(std::vector<int>({real.Dummy, dummyFirst.Dummy, onlyDummy.Dummy, highlighted.Dummy}),
              std::vector<int>({0, -1, -1, 0}));  // a PGC with highlights is real
    EXPECT_EQ(highlighted.Possible_Dummy, 0);
    for (std::size_t v = 1; v <= 4; ++v) EXPECT_EQ(Domain().Vob_Id.Item(v).Dummy, v == 3 ? -1 : 0) << "VOB " << v;
}

TEST_F(FalsePgcs, WithoutCandidatesNoPgcTurnsDummy) {
    AddVob({10});
    AddVob({0}).Dummy = -1;  // dummy by its frames
    AddVob({0}).Dummy = -1;
    auto& first = AddPgc({1, 2}, false);
    FalsePgcCheck(job);
    EXPECT_EQ(first.Dummy, 0);
    EXPECT_EQ(Domain().Vob_Id.Item(2).Dummy, 0) << "a real PGC's use settles the VOB as real";
    EXPECT_EQ(Domain().Vob_Id.Item(3).Dummy, -1) << "a VOB no PGC uses keeps its mark";
}

// The dummy scan of title set 1 with the asset stage's measurement; the index tool writes 40 frames
// for cell 1, 12 for 2.
class DummyCells : public test::AssetStageFixture {
protected:
    DummyCells() {
        job.WorkFolder.clear();
        job.DomainIndex = 0;
        files.DeleteTree("K:\\Job\\D_VTS_01_0");
        StandIn("dvd2avidg.exe",
                "o=\"$8\"; n=\"${o##*\\\\}\"; n=\"${n%]}\"; case \"$n\" in 001_001) f=40;; 001_002) f=12;; *) f=0;; "
                "esac; printf \"D2V=$f\\r\\n\" > '" +
                    temp.Host("Job/D_VTS_01_0/FRAMESERVING") + "'/$n.log");
    }
    const std::string ifo = "D:\\VIDEO_TS\\VTS_01_0.IFO";
};

TEST_F(DummyCells, ZeroCellsAmongRealOnesAreSplitOnceByPgcDemuxAndMeasured) {
    job.State().Pgcdemux = -1;
    Put("Program/PgcDemux.exe", "MZ");
    StandIn("PgcDemux.exe", "printf m > '" + temp.Host("Job/D_VTS_01_0/DEMUXED_CELLID") + "/VideoFile.m2v'");
    AddVob({0, 0, 100});
    AddVob({0});
    DummyScan(job, 2, ifo, DummyCellMeasurement());

    EXPECT_EQ(Domain().Vob_Id.Item(1).Dummy, 0);
    EXPECT_EQ(Domain().Vob_Id.Item(2).Dummy, -1);
    EXPECT_EQ(job.WorkFolder, "K:\\Job\\D_VTS_01_0");
    const auto commands = Commands();
    // One pass by cell over the real VOB's three cells; the dummy VOB is
    // left out, and the second zero cell does not split again.
    EXPECT_EQ(std::count_if(commands.begin(), commands.end(),
                            [](const std::string& line) { return line.find("PgcDemux.exe") != std::string::npos; }),
              3);
    EXPECT_EQ(commands.front(), "K:\\Program\\PgcDemux.exe -m2v -cid 1 1 -aud -nolog -nosub -menu -nocellt "
                                "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\"");
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID"),
              (std::vector<std::string>{"001_001.m2v", "001_002.m2v", "001_003.m2v"}));
    EXPECT_EQ(std::vector<int>({Played(1, 1).Frames, Played(1, 2).Frames, Played(1, 3).Frames}),
              std::vector<int>({40, 12, 100}));
    EXPECT_EQ(Played(1, 2).BCD, Frames_To_DVD_TimeCode(job.Timing, 12, false));
    EXPECT_EQ(Played(1, 1).DummyCell, -1);
    EXPECT_EQ(Played(1, 3).DummyCell, 0);
    EXPECT_EQ(Played(2, 1).DummyCell, 0) << "a dummy VOB's cell is not measured";
    EXPECT_EQ(job.DomainIndex, 2);
    EXPECT_TRUE(Shown("Dummy Cell detected VTS =1 vob =1 cell =2"));
}

TEST_F(DummyCells, DecrypterSplitsByCellAndItsNamesAreRenamedBeforeMeasuring) {
    registry.savestring(platform::RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "InstallDirectory",
                        "K:\\DVD Decrypter");
    const std::string folder = temp.Host("Job/D_VTS_01_0/DEMUXED_CELLID");
    StandIn("DVDDecrypter.exe", "printf m > '" + folder + "/VTS_01_0 - VOBID_001 - CELLID_001.M2V'; printf m > '" +
                                    folder + "/VTS_01_0 - VOBID_001 - CELLID_002.M2V'");
    AddVob({0, 25});
    DummyScan(job, 2, ifo, DummyCellMeasurement());
    EXPECT_EQ(Commands().front(),
              "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES VTS_01_0.VOB /DEST "
              "\"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\" /START /CLOSE /SPLIT CELLID /DEMUX E0");
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID"), (std::vector<std::string>{"001_001.M2V", "001_002.M2V"}));
    EXPECT_EQ(Played(1, 1).Frames, 40);
    EXPECT_EQ(Domain().Split_Cell, -1) << "the domain is not split by cell again";
}

}  // namespace
}  // namespace kestrova
