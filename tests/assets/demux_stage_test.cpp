// Demultiplexing with DVD Decrypter and PgcDemux, the names PgcDemux leaves
// renamed, copying source files and handing authored files back.
#include "assets/demux_stage.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"

namespace kestrova {
namespace {

using platform::RegistryRoot;

class DemuxStage : public test::AssetStageFixture {
protected:
    DemuxStage() {
        Put("Disc/VIDEO_TS/VTS_01_0.IFO", "ifo");
        Put("Disc/VIDEO_TS/VTS_01_0.VOB", "menu");
        paths.AddDrives("D:=" + temp.Host("Disc") + "@cdrom");
    }
    void InstallDecrypter() {
        registry.savestring(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "InstallDirectory",
                            "K:\\DVD Decrypter");
    }
    void InstallPgcDemux() { Put("Program/PgcDemux.exe", "MZ"); }
};

TEST_F(DemuxStage, DecrypterLineCarriesTheAudioSelectorOfTheDomainsFirstStream) {
    InstallDecrypter();
    StandIn("DVDDecrypter.exe", "exit 0");
    const struct {
        std::vector<std::string> Streams;
        std::string Selector;
    } rows[] = {
        {{}, " /DEMUX E0"},
        {{"AC3", "Mpeg1"}, " /DEMUX E0 80 81 82 83 84 85 86 87"},
        {{"LPCM"}, " /DEMUX E0 A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF"},
        {{"Mpeg1", "AC3"}, " /DEMUX E0 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF"},
        {{"DTS"}, " /DEMUX E0 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF"},
    };
    for (const auto& row : rows) {
        Domain().Audio.Clear();
        for (const auto& type : row.Streams) AddAudio(type);
        EXPECT_EQ(DemuxAudioSelector(Domain()), row.Selector) << (row.Streams.empty() ? "none" : row.Streams[0]);
    }

    Domain().Audio.Clear();
    AddAudio("AC3");
    std::vector<std::int16_t> demuxingWhileServed;
    view.OnServe = [this, &demuxingWhileServed](int) { demuxingWhileServed.push_back(job.State().Demuxing); };
    EXPECT_FALSE(EnableDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", false));
    EXPECT_FALSE(EnableDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", true));
    EXPECT_EQ(Commands(),
              (std::vector<std::string>{
                  "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES VTS_01_0.VOB /DEST "
                  "\"K:\\Job\\D_VTS_01_0\\DEMUXED\" /START /CLOSE /SPLIT VOBID /DEMUX E0 80 81 82 83 84 85 86 87 "
                  "/DIRECT 2? 3? /CCVOB",
                  "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES VTS_01_0.VOB /DEST "
                  "\"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\" /START /CLOSE /SPLIT CELLID /DEMUX E0 80 81 82 83 84 85 86 "
                  "87"}));
    EXPECT_EQ(Styles(), (std::vector<int>{2, 2}));
    EXPECT_TRUE(Logged("DvdDecrypter path : K:\\DVD Decrypter\\DVDDecrypter.exe"));
    EXPECT_TRUE(Shown("Demuxing by VOB ID"));
    EXPECT_TRUE(Shown("Demuxing by CELL ID"));
    // The wait loop saw the flag up while the tool ran, and it is down after.
    EXPECT_NE(std::find(demuxingWhileServed.begin(), demuxingWhileServed.end(), -1), demuxingWhileServed.end());
    EXPECT_EQ(job.State().Demuxing, 0);
}

TEST_F(DemuxStage, WithoutDecrypterInTheRegistryTheDemuxAborts) {
    EXPECT_TRUE(EnableDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", false));
    EXPECT_TRUE(Shown("DVD Decrypter not found - Aborting"));
    EXPECT_TRUE(Commands().empty());
    EXPECT_EQ(job.State().Demuxing, 0);
}

TEST_F(DemuxStage, PgcDemuxByVobIdSkipsDummiesWithoutShiftingTheNumbers) {
    EXPECT_TRUE(EnablePGCDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", false)) << "no PgcDemux.exe";
    InstallPgcDemux();
    AddAudio("AC3");
    AddVob({10});
    AddVob({0}).Dummy = -1;
    AddVob({10});
    // Each run leaves PgcDemux's fixed names, one AC3 stream more than the
    // domain has.
    StandIn("PgcDemux.exe", "d='" + temp.Host("Job/D_VTS_01_0/DEMUXED") +
                                "'; printf \"vid $3\" > \"$d/VideoFile.m2v\"; printf a > \"$d/AudioFile_80.ac3\"; "
                                "printf b > \"$d/AudioFile_81.ac3\"; printf v > \"$d/VTS_01_0.VOB\"");
    EXPECT_FALSE(EnablePGCDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", false));

    EXPECT_EQ(Commands(), (std::vector<std::string>{
                              "K:\\Program\\PgcDemux.exe -m2v -vid 1 -aud -nosub -nolog -menu -nocellt -customvob nsvi "
                              "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED\"",
                              "K:\\Program\\PgcDemux.exe -m2v -vid 3 -aud -nosub -nolog -menu -nocellt -customvob nsvi "
                              "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED\""}));
    EXPECT_EQ(Styles(), (std::vector<int>{0, 0}));
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED"),
              (std::vector<std::string>{"001-80-DELAY[0].ac3", "001.m2v", "001.VOB", "003-80-DELAY[0].ac3", "003.m2v",
                                        "003.VOB", "AudioFile_81.ac3"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/DEMUXED/003.m2v"), "vid 3");
    EXPECT_EQ(Domain().Vob_Id.Item(1).Audio_Present, -1);
    EXPECT_EQ(Domain().Vob_Id.Item(2).Audio_Present, 0);
    EXPECT_EQ(Domain().Vob_Id.Item(3).Audio_Present, -1);
    EXPECT_TRUE(Shown("Demuxing with PGCDemux"));
}

TEST_F(DemuxStage, PgcDemuxByCellTakesOnlyCellsOfNonVideoRealVobs) {
    InstallPgcDemux();
    AddVob({10, 10}).Vob_Type = "Video";
    AddVob({0}).Dummy = -1;
    AddVob({1, 1}).Vob_Type = "SlideShow";
    StandIn("PgcDemux.exe", "printf v > '" + temp.Host("Job/D_VTS_01_0/DEMUXED_CELLID") + "/VideoFile.m2v'");
    EXPECT_FALSE(EnablePGCDemuxing(job, "D:\\VIDEO_TS\\VTS_01_0.VOB", "VTS_01_0.VOB", true));
    EXPECT_EQ(Commands(), (std::vector<std::string>{
                              "K:\\Program\\PgcDemux.exe -m2v -cid 3 1 -aud -nolog -nosub -menu -nocellt "
                              "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\"",
                              "K:\\Program\\PgcDemux.exe -m2v -cid 3 2 -aud -nolog -nosub -menu -nocellt "
                              "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\""}));
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID"), (std::vector<std::string>{"003_001.m2v", "003_002.m2v"}));
}

TEST_F(DemuxStage, PgcDemuxNamesOfMpegAndLpcmAudioHaveNoSubstreamPart) {
    AddVob({1, 1});
    const std::string folder = "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID";
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/AudioFile_C0.mpa");
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/AudioFile_C1.mpa");  // only the first MPEG stream is looked at
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/VideoFile.m2v");
    RenamePgcDemuxFiles(job, 1, folder, 2);
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/AudioFile_A0.wav");
    RenamePgcDemuxFiles(job, 1, folder, 1);
    EXPECT_EQ(Names(folder), (std::vector<std::string>{"001_001DELAY[0].wav", "001_002.m2v", "001_002DELAY[0].mpa",
                                                       "AudioFile_C1.mpa"}));
    EXPECT_EQ(Domain().Vob_Id.Item(1).Audio_Present, -1);

    // A run that left nothing changes nothing and says nothing.
    const auto logged = LogLines().size();
    RenamePgcDemuxFiles(job, 1, folder, 3);
    EXPECT_EQ(Names(folder).size(), 4u);
    EXPECT_EQ(LogLines().size(), logged);
}

TEST_F(DemuxStage, CopyFilesOfTheVideoManagerNeverTouchesTitles) {
    Put("Src/VIDEO_TS.IFO", "vmg ifo");
    Put("Src/VIDEO_TS.BUP", "vmg bup");
    Put("Src/VIDEO_TS.VOB", "vmg vob");
    Put("Src/VIDEO_1.VOB", "looks like a title");
    job.Options().SourceCopy = 1;
    EXPECT_EQ(CopyFiles(job, "K:\\Src\\", "VIDEO_TS.IFO", false, false, false), 1);
    EXPECT_EQ(CopyFiles(job, "K:\\Src\\", "VIDEO_TS.IFO", true, false, false), 1);
    EXPECT_EQ(CopyFiles(job, "K:\\Src\\", "VIDEO_TS.IFO", false, true, false), 1);
    // SourceCopy 1 leaves menu files to the copy with the titles, which
    // for the video manager is the menu files alone.
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VIDEO_TS.BUP", "VIDEO_TS.IFO", "VIDEO_TS.VOB"}));
    EXPECT_EQ(temp.Read("Job/VIDEO_TS/VIDEO_TS.BUP"), "vmg ifo") << "the BUP is made from the source IFO";
    EXPECT_TRUE(Commands().empty());
}

TEST_F(DemuxStage, CopyFilesCopiesMenuFilesAtOnceAndTitlesWithTheTitleCopy) {
    Put("Src/VTS_01_0.IFO", "ifo");
    Put("Src/VTS_01_0.VOB", "menu");
    Put("Src/VTS_01_1.VOB", "t1");
    Put("Src/VTS_01_2.VOB", "t2");
    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", false, false, false);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VTS_01_0.BUP", "VTS_01_0.IFO", "VTS_01_0.VOB"}));
    EXPECT_TRUE(Logged("Original: K:\\Src\\VTS_01_0.IFO Destination: K:\\Job\\VIDEO_TS\\VTS_01_0.IFO"));
    EXPECT_TRUE(Logged("Copying VTS_01_0.VOB"));

    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", true, false, false);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS").size(), 3u) << "titles only go along with SourceCopy 1";
    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", false, true, true);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VTS_01_0.BUP", "VTS_01_0.IFO", "VTS_01_0.VOB",
                                                                    "VTS_01_1.VOB", "VTS_01_2.VOB"}));

    // A copy that fails ends the procedure quietly; the run goes on.
    EXPECT_EQ(CopyFiles(job, "K:\\Src\\", "VTS_02_0.IFO", false, false, false), 1);
    EXPECT_FALSE(Has("Job/VIDEO_TS/VTS_02_0.BUP"));
}

TEST_F(DemuxStage, CopyFromADiscGoesThroughDecrypterAndFixesItsMenuNames) {
    InstallDecrypter();
    job.Options().UseDVD = 1;
    job.Options().SourceCopy = 1;
    StandIn("DVDDecrypter.exe", "printf m > '" + temp.Host("Job/VIDEO_TS") + "/VTS_01_MENU_1.VOB'");
    CopyFiles(job, "D:\\VIDEO_TS\\", "VTS_01_0.IFO", false, false, false);
    CopyFiles(job, "D:\\VIDEO_TS\\", "VTS_01_0.IFO", true, false, false);
    const std::string head = "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES ";
    const std::string tail = " /SPLIT FILE /DEST \"K:\\Job\\VIDEO_TS\" /START /CLOSE";
    // Nothing is in the output yet, and nothing is copied by hand: the menu
    // files all go in the list. The title copy after it has no IFO to fetch
    // (the list is empty when IncludeTitles is set), so the title list
    // keeps menu VOBs and control files out.
    EXPECT_EQ(Commands(), (std::vector<std::string>{head + "VTS_01_0.IFO VTS_01_0.BUP VTS_01_0.VOB " + tail,
                                                    head + "VTS_01* -*0.VOB -*.IFO -*.BUP" + tail}));
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VTS_01_0.VOB"}));
    EXPECT_TRUE(Logged("K:\\Job\\VIDEO_TS\\VTS_01_MENU_1.VOB Renamed to K:\\Job\\VIDEO_TS\\VTS_01_0.VOB"));
}

TEST_F(DemuxStage, ASecondRunOverAFilledOutputCopiesNothingAndTakesTheLongTitleList) {
    InstallDecrypter();
    job.Options().UseDVD = 1;
    StandIn("DVDDecrypter.exe", "exit 0");
    for (const char* name : {"VTS_01_0.IFO", "VTS_01_0.BUP", "VTS_01_0.VOB"}) Put(std::string("Job/VIDEO_TS/") + name);
    CopyFiles(job, "D:\\VIDEO_TS\\", "VTS_01_0.IFO", false, true, false);
    EXPECT_EQ(Commands(),
              (std::vector<std::string>{
                  "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES  /SPLIT FILE /DEST "
                  "\"K:\\Job\\VIDEO_TS\" /START /CLOSE",
                  "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES VTS_01* -*0.VOB -*.IFO -*.BUP "
                  "/SPLIT FILE /DEST \"K:\\Job\\VIDEO_TS\" /START /CLOSE"}));
}

TEST_F(DemuxStage, RestoreToSourceKeepsTheOriginalsAndBringsTheAuthoredFiles) {
    for (const char* name : {"VTS_01_0.IFO", "VTS_01_0.BUP", "VTS_01_0.VOB"}) {
        Put(std::string("Src/") + name, "original");
        Put(std::string("Job/VIDEO_TS/") + name, "authored");
    }
    RestoreToSource(job, "K:\\Src\\", "VTS_01_0.IFO");
    EXPECT_EQ(temp.Read("Src/VTS_01_0.VOB"), "authored");
    EXPECT_EQ(temp.Read("Job/BACKUP/VTS_01_0.IFO"), "original");
    EXPECT_EQ(Names("K:\\Job\\BACKUP").size(), 3u);
    EXPECT_TRUE(questions.History().empty());

    // BACKUP cannot be made where a file of that name stands.
    files.DeleteTree("K:\\Job\\BACKUP");
    Put("Job/BACKUP", "in the way");
    RestoreToSource(job, "K:\\Src\\", "VTS_01_0.IFO");
    ASSERT_EQ(questions.History().size(), 1u);
    EXPECT_EQ(questions.History()[0].Text,
              "Unable to copy files to source folder - source is probably a disc or mounted image");
    EXPECT_EQ(temp.Read("Src/VTS_01_0.IFO"), "authored") << "nothing is undone";
}

}  // namespace
}  // namespace kestrova
