// The indexing tools' command lines, their statistics log, the forced
// indexing of a cell, and the sequence header read straight from an M2V.
#include "assets/frameserving.h"

#include "assets/d2v_analysis.h"
#include "frameserver/d2v_file.h"

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

// A DGIndex project (lines counted from 0: Field_Operation on 12,
// Frame_Rate on 13) with one data line of picture flags.
std::string Project(const std::string& rate, const std::string& flags) {
    return "DGIndexProjectFile16\r\n1\r\nK:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V\r\n\r\nStream_Type=0\r\n"
           "MPEG_Type=2\r\niDCT_Algorithm=6\r\nYUVRGB_Scale=1\r\nLuminance_Filter=0,0\r\nClipping=0,0,0,0\r\n"
           "Aspect_Ratio=4:3\r\nPicture_Size=720x576\r\nField_Operation=0\r\nFrame_Rate=" + rate +
           "\r\nLocation=0,0,0,1f\r\n\r\n900 5 0 2048 1 1 " + flags + " ff\r\n\r\nFINISHED  100.00% VIDEO\r\n";
}

std::string Flags(std::initializer_list<std::pair<const char*, int>> runs) {
    std::string text;
    for (const auto& [flag, count] : runs) {
        for (int i = 0; i < count; ++i) text += (text.empty() ? "" : " ") + std::string(flag);
    }
    return text;
}

TEST_F(Frameserving, ProjectFlagsAndTheFilmShareGiveTheVideoType) {
    const std::string d2v = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.d2v";
    const auto type = [&](const std::string& project, const std::string& log = "D2V=12\r\nPER=0\r\n") {
        Put("Job/D_VTS_01_0/FRAMESERVING/001.d2v", project);
        Put("Job/D_VTS_01_0/FRAMESERVING/001.log", log);
        return AnalyzeD2V(job, d2v, kLog);
    };
    // All pictures interlaced reach the threshold (0.99 from 90 pictures) only because the share is capped there.
    EXPECT_EQ(type(Project("25000 (25/1)", Flags({{"2", 100}}))), "pal_interlaced");
    EXPECT_EQ(type(Project("25000 (25/1)", Flags({{"2", 98}, {"0", 2}}))), "pal_progressive");
    EXPECT_EQ(type(Project("29970 (30000/1001)", Flags({{"2", 50}}))), "ntsc_interlaced");
    EXPECT_EQ(type(Project("29970", Flags({{"0", 40}, {"2", 30}}))), "ntsc_hybrid");
    EXPECT_EQ(type(Project("29970", Flags({{"0", 4}, {"1", 2}, {"3", 5}, {"2", 1}}))), "ntsc_telecine");
    EXPECT_EQ(type(Project("29970", Flags({{"0", 20}, {"1", 20}, {"2", 20}, {"3", 20}}))), "ntsc_film");

    // A rate of 0 takes the disc's, and a PAL disc's project is then typed as NTSC.
    job.DvdFrameRate = 25;
    EXPECT_EQ(type(Project("0", Flags({{"2", 100}}))), "ntsc_interlaced");
    EXPECT_EQ(files.ReadLines(d2v)[13], "Frame_Rate=25000");

    // Film by the log's share: forced film, which the frame server then serves at 23.976.
    EXPECT_EQ(type(Project("29970", Flags({{"2", 60}})), "D2V=60\r\nPER=95\r\n"), "ntsc_film");
    const auto lines = files.ReadLines(d2v);
    EXPECT_EQ(lines[12] + " " + lines[13], "Field_Operation=1 Frame_Rate=23976");
    EXPECT_EQ(ReadD2vProject(files, d2v).Rate, (FrameRate{24000, 1001}));

    // A project that cannot be parsed is named in the run log and has no pictures.
    EXPECT_EQ(type("DGIndexProjectFile16\r\n1\r\n"), "ntsc_hybrid");
}

}  // namespace
}  // namespace kestrova
