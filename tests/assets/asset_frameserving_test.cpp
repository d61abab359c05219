// The indexing tools' command lines, their statistics log, the forced
// indexing of a cell, and the sequence header read straight from an M2V.
#include "assets/frameserving.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"

namespace kestrova {
namespace {

using Frameserving = test::AssetStageFixture;

const std::string kLog = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.log";

TEST_F(Frameserving, TheLogAnswersFramesFieldOrderAndFilm) {
    const struct { std::string Log; std::int32_t Frames; std::string Field; std::int32_t Film; } rows[] = {
        {"D2V=250\r\nPRO=0\r\nTFF=200\r\nZIG=0\r\nPER=96.5\r\n", 250, "TFF", 1},
        {"d2v=0\ntff=0\nper=95\n", 1, "BFF", 1},  // keys in any case; 0 frames read as 1
        {"D2V Frames=100\nTFF Frames=50\nPERCENT=94.9\n", 100, "BFF", 0},  // half is not more than half
        {"D2V=100\nTFF=51\n", 100, "TFF", 0},
    };
    for (const auto& row : rows) {
        Put("Job/D_VTS_01_0/FRAMESERVING/001.log", row.Log);
        std::string field = "unset";
        EXPECT_EQ(ParseLog(job, kLog, "D2VFRAMES"), row.Frames) << row.Log;
        EXPECT_EQ(ParseLog(job, kLog, "FIELD", &field), 0);
        EXPECT_EQ(field, row.Field) << row.Log;
        EXPECT_EQ(ParseLog(job, kLog, "FILM"), row.Film) << row.Log;
    }

    // Without a log: one frame, top field first, no film.
    files.DeleteFile(kLog);
    std::string field;
    EXPECT_EQ(ParseLog(job, kLog, "D2VFRAMES"), 1);
    ParseLog(job, kLog, "FIELD", &field);
    EXPECT_EQ(field, "TFF");
    EXPECT_EQ(ParseLog(job, kLog, "FILM"), 0);
    EXPECT_THROW(ParseLog(job, kLog, "FRAMES"), Error);
}

TEST_F(Frameserving, IndexingToolsGetTheirLinesMinimisedWithoutFocus) {
    StandIn("dvd2avirb.exe", "exit 0");
    RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001.M2V", false);
    RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\001_002.M2V", "001_002", true);
    RunDGDecode(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001");
    EXPECT_EQ(Commands(),
              (std::vector<std::string>{
                  "K:\\Program\\new.dvd2avi\\dvd2avirb.exe -IA=1 -FO=0 -Cs=2 -YR=1 -TN=1 "
                  "-IF=[K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V] -DRC=0 "
                  "-OF=[K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001] -exit",
                  "K:\\Program\\new.dvd2avi\\dvd2avidg.exe -IA=1 -FO=0 -Cs=2 -YR=1 -TN=1 "
                  "-IF=[K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\001_002.M2V] -DRC=0 "
                  "-OF=[K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001_002] -exit",
                  "K:\\Program\\new.dvd2avi\\DGIndex.exe -IA=1 -FO=0 -YR=1 -TN=1 "
                  "-IF=[K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V] -DRC=0 "
                  "-OF=[K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001] -exit"}));
    EXPECT_EQ(Styles(), (std::vector<int>{kFrameServerWindowStyle}));
}

TEST_F(Frameserving, ForcedIndexingOfACellCountsItsFrames) {
    files.DeleteTree("K:\\Job\\D_VTS_01_0\\FRAMESERVING");
    // The second DVD2AVI run writes the log of the name it was given.
    StandIn("dvd2avidg.exe", "printf 'D2V=75\\r\\n' > '" + temp.Host("Job/D_VTS_01_0/FRAMESERVING/001_002.log") + "'");
    EXPECT_EQ(ForceD2V(job, "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\001_002.M2V", 1, 2), 75);
    EXPECT_EQ(Commands().size(), 2u);

    // One frame, or a tool that left no log, is one frame.
    job.Options().DGDecode = 1;
    StandIn("DGIndex.exe", "printf 'D2V=1\\r\\n' > '" + temp.Host("Job/D_VTS_01_0/FRAMESERVING/002_001.log") + "'");
    EXPECT_EQ(ForceD2V(job, "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\002_001.M2V", 2, 1), 1);
    EXPECT_EQ(ForceD2V(job, "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\003_001.M2V", 3, 1), 1);
    EXPECT_EQ(Commands().size(), 4u);
    EXPECT_NE(Commands()[2].find("DGIndex.exe"), std::string::npos);
}

}  // namespace
}  // namespace kestrova
