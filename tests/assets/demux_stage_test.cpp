// Demultiplexing with DVD Decrypter and PgcDemux, the names PgcDemux leaves
// renamed, copying source files and handing authored files back.
#include "assets/demux_stage.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"

namespace kestrova {
namespace {

const std::string kVob = "D:\\VIDEO_TS\\VTS_01_0.VOB";
const std::string kDecrypter = "\"K:\\DVD Decrypter\\DVDDecrypter.exe\" /MODE FILE /SRC D: /FILES ";

class DemuxStage : public test::AssetStageFixture {
protected:
    DemuxStage() {
        Put("Disc/VIDEO_TS/VTS_01_0.IFO", "ifo");
        Put("Disc/VIDEO_TS/VTS_01_0.VOB", "menu");
        paths.AddDrives("D:=" + temp.Host("Disc") + "@cdrom");
    }
    void InstallDecrypter() {
        registry.savestring(platform::RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "InstallDirectory",
                            "K:\\DVD Decrypter");
    }
};

TEST_F(DemuxStage, DecrypterLineCarriesTheAudioSelectorOfTheDomainsFirstStream) {
    EXPECT_TRUE(EnableDemuxing(job, kVob, "VTS_01_0.VOB", false)) << "no DVD Decrypter in the registry: abort";
    EXPECT_TRUE(Shown("DVD Decrypter not found - Aborting"));
    EXPECT_TRUE(Commands().empty());

    InstallDecrypter();
    StandIn("DVDDecrypter.exe", "exit 0");
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, " /DEMUX E0"},
        {{"AC3", "Mpeg1"}, " /DEMUX E0 80 81 82 83 84 85 86 87"},
        {{"LPCM"}, " /DEMUX E0 A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF"},
        {{"Mpeg1", "AC3"}, " /DEMUX E0 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF"},
    };
    for (const auto& [streams, selector] : rows) {
        Domain().Audio.Clear();
        for (const auto& type : streams) AddAudio(type);
        EXPECT_EQ(DemuxAudioSelector(Domain()), selector) << (streams.empty() ? "none" : streams[0]);
    }

    Domain().Audio.Clear();
    AddAudio("AC3");
    std::vector<std::int16_t> demuxingWhileServed;
    view.OnServe = [this, &demuxingWhileServed](int) { demuxingWhileServed.push_back(job.State().Demuxing); };
    EXPECT_FALSE(EnableDemuxing(job, kVob, "VTS_01_0.VOB", false));
    EXPECT_FALSE(EnableDemuxing(job, kVob, "VTS_01_0.VOB", true));
    EXPECT_EQ(Commands(), (std::vector<std::string>{
                              kDecrypter + "VTS_01_0.VOB /DEST \"K:\\Job\\D_VTS_01_0\\DEMUXED\" /START /CLOSE /SPLIT "
                                           "VOBID /DEMUX E0 80 81 82 83 84 85 86 87 /DIRECT 2? 3? /CCVOB",
                              kDecrypter + "VTS_01_0.VOB /DEST \"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\" /START /CLOSE "
                                           "/SPLIT CELLID /DEMUX E0 80 81 82 83 84 85 86 87"}));
    EXPECT_EQ(Styles(), (std::vector<int>{2, 2}));
    // The wait loop saw the flag up while the tool ran, and it is down after.
    EXPECT_NE(std::find(demuxingWhileServed.begin(), demuxingWhileServed.end(), -1), demuxingWhileServed.end());
    EXPECT_EQ(job.State().Demuxing, 0);
}

TEST_F(DemuxStage, PgcDemuxByVobIdSkipsDummiesWithoutShiftingTheNumbers) {
    EXPECT_TRUE(EnablePGCDemuxing(job, kVob, "VTS_01_0.VOB", false)) << "no PgcDemux.exe";
    Put("Program/PgcDemux.exe", "MZ");
    AddAudio("AC3");
    AddVob({10});
    AddVob({0}).Dummy = -1;
    AddVob({10});
    // Each run leaves PgcDemux's fixed names, one AC3 stream more than the domain has.
    StandIn("PgcDemux.exe", "d='" + temp.Host("Job/D_VTS_01_0/DEMUXED") +
                                "'; printf \"vid $3\" > \"$d/VideoFile.m2v\"; printf a > \"$d/AudioFile_80.ac3\"; "
                                "printf b > \"$d/AudioFile_81.ac3\"; printf v > \"$d/VTS_01_0.VOB\"");
    EXPECT_FALSE(EnablePGCDemuxing(job, kVob, "VTS_01_0.VOB", false));
    const auto line = [](int vob) {
        return "K:\\Program\\PgcDemux.exe -m2v -vid " + std::to_string(vob) + " -aud -nosub -nolog -menu -nocellt "
               "-customvob nsvi \"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED\"";
    };
    EXPECT_EQ(Commands(), (std::vector<std::string>{line(1), line(3)}));
    EXPECT_EQ(Styles(), (std::vector<int>{0, 0}));
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED"),
              (std::vector<std::string>{"001-80-DELAY[0].ac3", "001.m2v", "001.VOB", "003-80-DELAY[0].ac3", "003.m2v",
                                        "003.VOB", "AudioFile_81.ac3"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/DEMUXED/003.m2v"), "vid 3");
    for (std::size_t v = 1; v <= 3; ++v) EXPECT_EQ(Domain().Vob_Id.Item(v).Audio_Present, v == 2 ? 0 : -1) << v;

    // By cell: only the cells of real VOBs that are not motion video.
    Domain().Vob_Id.Item(1).Vob_Type = "Video";
    Domain().Vob_Id.Item(3).Vob_Type = "SlideShow";
    StandIn("PgcDemux.exe", "printf v > '" + temp.Host("Job/D_VTS_01_0/DEMUXED_CELLID") + "/VideoFile.m2v'");
    EXPECT_FALSE(EnablePGCDemuxing(job, kVob, "VTS_01_0.VOB", true));
    EXPECT_EQ(Commands().back(), "K:\\Program\\PgcDemux.exe -m2v -cid 3 1 -aud -nolog -nosub -menu -nocellt "
                                 "\"D:\\VIDEO_TS\\VTS_01_0.IFO\" \"K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\"");
    EXPECT_EQ(Commands().size(), 3u);
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID"), (std::vector<std::string>{"003_001.m2v"}));
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
    RenamePgcDemuxFiles(job, 1, folder, 3);  // a run that left nothing changes nothing
    EXPECT_EQ(Names(folder).size(), 4u);
}

TEST_F(DemuxStage, CopyFilesCopiesMenuFilesAtOnceAndTitlesWithTheTitleCopy) {
    for (const char* name : {"VIDEO_TS.IFO", "VIDEO_TS.VOB", "VIDEO_1.VOB", "VTS_01_0.IFO", "VTS_01_0.VOB",
                             "VTS_01_1.VOB", "VTS_01_2.VOB"}) {
        Put(std::string("Src/") + name, name);
    }
    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", false, false, false);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VTS_01_0.BUP", "VTS_01_0.IFO", "VTS_01_0.VOB"}));
    EXPECT_EQ(temp.Read("Job/VIDEO_TS/VTS_01_0.BUP"), "VTS_01_0.IFO") << "the BUP is made from the source IFO";
    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", true, false, false);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS").size(), 3u) << "titles only go along with SourceCopy 1";
    CopyFiles(job, "K:\\Src\\", "VTS_01_0.IFO", false, true, true);
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS").size(), 5u);
    EXPECT_TRUE(Has("Job/VIDEO_TS/VTS_01_2.VOB"));

    // The video manager has no titles: with SourceCopy 1 any copy takes its menu files alone.
    job.Options().SourceCopy = 1;
    for (const bool titles : {false, true}) {
        EXPECT_EQ(CopyFiles(job, "K:\\Src\\", "VIDEO_TS.IFO", titles, !titles, false), 1);
    }
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS").size(), 8u);
    EXPECT_FALSE(Has("Job/VIDEO_TS/VIDEO_1.VOB"));
    EXPECT_TRUE(Commands().empty());

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
    const std::string tail = " /SPLIT FILE /DEST \"K:\\Job\\VIDEO_TS\" /START /CLOSE";
    const std::string titles = kDecrypter + "VTS_01* -*0.VOB -*.IFO -*.BUP" + tail;
    // Nothing is in the output yet: every menu file goes in the list. The
    // title list keeps menu VOBs and control files out.
    EXPECT_EQ(Commands(), (std::vector<std::string>{kDecrypter + "VTS_01_0.IFO VTS_01_0.BUP VTS_01_0.VOB " + tail,
                                                    titles}));
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VTS_01_0.VOB"}));

    // A second run over a filled output copies no menu file and takes the long title list.
    job.Options().SourceCopy = 0;
    for (const char* name : {"VTS_01_0.IFO", "VTS_01_0.BUP"}) Put(std::string("Job/VIDEO_TS/") + name);
    CopyFiles(job, "D:\\VIDEO_TS\\", "VTS_01_0.IFO", false, true, false);
    EXPECT_EQ(Commands().size(), 4u);
    EXPECT_EQ(Commands()[2], kDecrypter + tail);
    EXPECT_EQ(Commands()[3], titles);
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
