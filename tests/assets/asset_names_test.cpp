// The asset name grammar and the renames and moves that bring tool output
// into it.
#include "assets/asset_names.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"

namespace kestrova {
namespace {

using AssetNames = test::AssetStageFixture;

const std::string kDemuxed = "K:\\Job\\D_VTS_01_0\\DEMUXED";
const std::string kByCell = "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID";

TEST(AssetNumbers, VobAndCellNumbersHaveThreeDigitsOrMore) {
    for (const auto& [number, text] : {std::pair{0, "000"}, {12, "012"}, {1234, "1234"}}) {
        EXPECT_EQ(CreateVOBName(number), text);
        EXPECT_EQ(CreateCellName(number), text);
    }
}

TEST_F(AssetNames, DecrypterNamesBecomeAssetNames) {
    for (int v = 0; v < 4; ++v) AddVob({10});
    PutAll("Job/D_VTS_01_0/DEMUXED", {"VTS_01_0 - VOBID_001.VOB", "VTS_01_0 - VOBID_001 - Video - 720x576.M2V",
                                      "VTS_01_0 - VOBID_001 - 0x80 - Audio - AC3 - 2ch - 48kHz - DELAY 12ms.AC3",
                                      "VTS_01_0 - VOBID_002 - Audio - LPCM - 2ch - 48kHz - DELAY -40ms.WAV",
                                      "VTS_01_0 - VOBID_003 - Audio - MPEG - 2ch - 48kHz.MP2",
                                      "VTS_01_0 - VOBID_004 - 0x81 - Audio - AC3 - 2ch.AC3"});  // no delay: kept
    Put("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_003.VOB", "");  // empty: never becomes an asset
    EnableFileRename(job, kDemuxed);
    EXPECT_EQ(Names(kDemuxed),
              (std::vector<std::string>{"001-80-DELAY[12].AC3", "001.M2V", "001.VOB", "002DELAY[-40].WAV",
                                        "003DELAY[0].MP2", "VTS_01_0 - VOBID_004 - 0x81 - Audio - AC3 - 2ch.AC3"}));
    for (std::size_t v = 1; v <= 4; ++v) EXPECT_EQ(Domain().Vob_Id.Item(v).Audio_Present, v == 4 ? 0 : -1) << v;

    // By cell the cell is named too; a fault ends the renaming with an error line.
    PutAll("Job/D_VTS_01_0/DEMUXED_CELLID", {"VTS_01_0 - VOBID_001 - CELLID_002 - Video.M2V",
                                             "VTS_01_0 - VOBID_001 - CELLID_002 - 0x80 - AC3 - DELAY 0ms.AC3",
                                             "VTS_01_0 - VOBID_009 - CELLID_001 - MPEG.MP2",
                                             "VTS_01_0 - VOBID_009 - CELLID_002 - MPEG.MP2"});
    EnableFileRename(job, kByCell);
    EXPECT_EQ(Names(kByCell), (std::vector<std::string>{"001_002-80-DELAY[0].AC3", "001_002.M2V",
                                                        "VTS_01_0 - VOBID_009 - CELLID_001 - MPEG.MP2",
                                                        "VTS_01_0 - VOBID_009 - CELLID_002 - MPEG.MP2"}));
    EXPECT_EQ(LogLines().back().rfind("error : ", 0), 0u) << LogLines().back();
    EXPECT_NE(LogLines().back().find(" FileProcess = VTS_01_0 - VOBID_009 - CELLID_001 - MPEG.MP2"), std::string::npos);
}

TEST_F(AssetNames, SingleCellStillsMoveToTheCellFolderAsCellOne) {
    AddVob({1}).Vob_Type = "StillMenu";
    AddVob({50}).Vob_Type = "Video";
    AddVob({1}).Vob_Type = "SlideShow";
    PutAll("Job/D_VTS_01_0/DEMUXED", {"001.M2V", "001-80-DELAY[0].AC3", "001DELAY[12].MP2", "002.M2V",
                                      "002-80-DELAY[0].AC3", "003.M2V", "003DELAY[0].WAV"});
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/003_001.M2V", "split by cell already");
    MoveCellAudio(job);
    EXPECT_EQ(Names(kByCell), (std::vector<std::string>{"001_001-80-DELAY[0].AC3", "001_001.M2V",
                                                        "001_001DELAY[12].MP2", "003_001.M2V", "003_001DELAY[0].WAV"}));
    EXPECT_EQ(Names(kDemuxed), (std::vector<std::string>{"002-80-DELAY[0].AC3", "002.M2V", "003.M2V"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/DEMUXED_CELLID/003_001.M2V"), "split by cell already");
}

TEST_F(AssetNames, DummyVideoIsRenamedOutOfTheEncodersWay) {
    AddVob({0}).Dummy = -1;
    AddVob({0}).Dummy = -1;
    AddVob({9});
    PutAll("Job/D_VTS_01_0/DEMUXED", {"nocce-001.M2V", "001.M2V", "002.M2V", "003.M2V"});
    RenameDummy(job);
    EXPECT_EQ(Names(kDemuxed), (std::vector<std::string>{"001.M2V", "003.M2V", "Dummy-001.M2V", "Dummy-002.M2V"}));
}

TEST_F(AssetNames, AudioRenameMarksStreamsFinishedOrBringsFixedOnesHome) {
    PutAll("Job/D_VTS_01_0/DEMUXED_CELLID", {"001_002-81-DELAY[-8].ac3", "002_001.ac3"});
    AudioRename(job, kByCell, false);
    EXPECT_EQ(Names(kByCell), (std::vector<std::string>{"1-001_002-81-DELAY[-8].ac3", "1-002_001.ac3"}));
    files.DeleteTree(kByCell);
    files.MakeFolder(kByCell);

    // Under conversion work names finish: "2_" and "1_" become "2-" and "1-", a bare name gets "1-".
    job.Options().Conversion = 1;
    job.State().ConvertAudio = -1;
    PutAll("Job/D_VTS_01_0/DEMUXED", {"2_001.ac3", "1_001_002.ac3", "003.ac3", "1-004.ac3", "005-80-DELAY[0].ac3"});
    AudioRename(job, kDemuxed, false);
    EXPECT_EQ(Names(kDemuxed), (std::vector<std::string>{"005-80-DELAY[0].ac3", "1-001_002.ac3", "1-003.ac3",
                                                         "1-004.ac3", "2-001.ac3"}));

    // Fixed streams come home by their sub-stream; 82 is not one of the two and keeps the S before it.
    files.DeleteTree(kDemuxed);
    files.MakeFolder(kDemuxed);
    PutAll("Job/D_VTS_01_0/DEMUXED", {"001-80-DELAY[20]_fixed.ac3", "002-81-DELAY[5]_fixed.ac3",
                                      "003-82-DELAY[0]_fixed.ac3", "004-80-DELAY[0].ac3"});
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/001_002-80-DELAY[0]_fixed.ac3");
    AudioRename(job, kDemuxed, true);
    AudioRename(job, kByCell, true);
    EXPECT_EQ(Names(kDemuxed),
              (std::vector<std::string>{"004-80-DELAY[0].ac3", "1-001.ac3", "2-002.ac3", "2-003.ac3"}));
    EXPECT_EQ(Names(kByCell), (std::vector<std::string>{"1-001_002.ac3"}));
}

class EncodedVideo : public test::AssetStageFixture {
protected:
    EncodedVideo() {
        Domain().OutputDir = job.WorkFolder;
        AddVob({100});
        AddVob({100, 100, 100});
        AddVob({0}).Dummy = -1;
    }
};

TEST_F(EncodedVideo, EncoderResultsMoveToNewM2vWithTheirSideFiles) {
    const std::string at = "Job/D_VTS_01_0/FRAMESERVING/";
    Put(at + "001.mpv.m2v", "encoded 1");
    Put(at + "001.mpv.m2v.vif", "side 1");
    Put(at + "002_003.Conversion.mpv.m2v", "encoded 2/3");
    Put(at + "002.pt.001.mpv", "a part");
    Put(at + "003.mpv.m2v", "dummy");
    Put("Job/D_VTS_01_0/NEW_M2V/001.m2v", "stale");
    Put("Job/D_VTS_01_0/NEW_M2V/001.m2v.vif", "stale");
    GetEncodedVideo(job);
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\NEW_M2V"),
              (std::vector<std::string>{"001.m2v", "001.m2v.vif", "002_003.m2v"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/NEW_M2V/001.m2v"), "encoded 1");
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/NEW_M2V/001.m2v.vif"), "side 1");
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\FRAMESERVING"), (std::vector<std::string>{"002.pt.001.mpv", "003.mpv.m2v"}));
}

TEST_F(EncodedVideo, RejigResultsComeFromTheDemuxedFoldersAndNothingMovesWithoutEncoding) {
    job.RejigMode = -1;
    Put("Job/D_VTS_01_0/DEMUXED/001.M2V", "source");
    Put("Job/D_VTS_01_0/DEMUXED/001.rejig.mpv", "requantised");
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/002_001.mpv", "requantised cell");
    Put("Job/D_VTS_01_0/DEMUXED/Dummy-003.M2V");
    GetEncodedVideo(job);
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\NEW_M2V"), (std::vector<std::string>{"001.m2v", "002_001.m2v"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/NEW_M2V/001.m2v"), "requantised");
    EXPECT_EQ(Names(kDemuxed), (std::vector<std::string>{"001.M2V", "Dummy-003.M2V"}));

    job.RejigMode = 0;
    job.Options().No_ReEncode = 1;
    files.DeleteTree("K:\\Job\\D_VTS_01_0\\NEW_M2V");
    Put("Job/D_VTS_01_0/FRAMESERVING/001.mpv.m2v");
    GetEncodedVideo(job);
    EXPECT_FALSE(Has("Job/D_VTS_01_0/NEW_M2V/001.m2v"));
}

class RemainingFiles : public test::AssetStageFixture {
protected:
    RemainingFiles() {
        for (const char* stem : {"VIDEO_TS", "VTS_01_0", "VTS_02_0"}) {
            Put("Src/" + std::string(stem) + ".IFO", std::string("source ") + stem);
            Put("Src/" + std::string(stem) + ".VOB");
        }
        PutAll("Src", {"VTS_01_1.VOB", "VTS_02_1.VOB"});
        job.Text1 = "K:\\Src";
        job.SelectedMenus = {"", "K:\\Src\\VTS_01_0.VOB"};
        job.State().Files_Encoded = -1;
    }
};

TEST_F(RemainingFiles, WhatWasNotReauthoredIsCopied) {
    CopyRemainingFiles(job, false);
    // The re-authored title set gets nothing: its menu files come from
    // authoring, and its titles only come along with SourceCopy 1.
    EXPECT_EQ(Names("K:\\Job\\VIDEO_TS"), (std::vector<std::string>{"VIDEO_TS.BUP", "VIDEO_TS.IFO", "VIDEO_TS.VOB",
                                                                    "VTS_02_0.BUP", "VTS_02_0.IFO", "VTS_02_0.VOB"}));
    job.Options().SourceCopy = 1;
    CopyRemainingFiles(job, false);
    EXPECT_TRUE(Has("Job/VIDEO_TS/VTS_01_1.VOB"));
    EXPECT_FALSE(Has("Job/VIDEO_TS/VTS_01_0.IFO")) << "menu files of a re-authored domain are skipped";
    EXPECT_TRUE(Has("Job/VIDEO_TS/VTS_02_1.VOB"));
}

TEST_F(RemainingFiles, ReverseHandsTheReauthoredMenusBackToTheSource) {
    job.Options().Reverse = 1;
    job.Options().EnableReBuilder = 1;
    Put("Job/VIDEO_TS/VTS_01_0.IFO", "authored");
    CopyRemainingFiles(job, false);
    EXPECT_EQ(temp.Read("Src/VTS_01_0.IFO"), "authored");
    EXPECT_EQ(temp.Read("Job/BACKUP/VTS_01_0.IFO"), "source VTS_01_0");

    // The other copy mode takes titles only, and nothing of a domain that was handed back.
    CopyRemainingFiles(job, true);
    EXPECT_FALSE(Has("Job/VIDEO_TS/VTS_01_1.VOB"));
    EXPECT_TRUE(Has("Job/VIDEO_TS/VTS_02_1.VOB"));
    EXPECT_EQ(temp.Read("Job/BACKUP/VTS_01_0.IFO"), "source VTS_01_0");
}

}  // namespace
}  // namespace kestrova
