// kestrova-author as the job runs it: Muxman.exe's command line through the
// tool table's row, on the small script of a still menu the writers give,
// its fail switches, a script with an error and a FULL script.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "assets/mpeg_test_streams.h"
#include "authoring/sample_mxp.h"
#include "job/tool_profile.h"
#include "job/tool_table.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
    return count;
}

class AuthorProgram : public ::testing::Test {
protected:
    void SetUp() override {
        KESTROVA_REQUIRE_FFMPEG();
        if (std::system("command -v dvdauthor >/dev/null") != 0) GTEST_SKIP() << "dvdauthor is not installed";
        AddStandInTools(f.launcher, KESTROVA_HOST_PROGRAMS);
        f.files.MakeFolder("K:\\JOB\\NEW_M2V");
        for (int k = 1; k <= shape.StillCells; ++k) {
            const std::string still = f.temp.Host("JOB/NEW_M2V/001_00" + std::to_string(k) + ".m2v");
            const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i color=c=0x3040" +
                                        std::to_string(k) + "0:size=720x480:rate=30000/1001 -frames:v 1 -c:v "
                                        "mpeg2video -f mpeg2video '" + still + "'";
            ASSERT_EQ(std::system(command.c_str()), 0) << command;
            f.temp.Write("JOB/SUBS/SP_001_00" + std::to_string(k) + ".bmp", "bmp");
        }
    }

    // Writes the script and runs the job's command line; the exit status.
    int Run(const std::string& script, const std::string& name = "Muxman001.MXP") {
        f.temp.Write("JOB/MUXMAN/" + name, script);
        f.runner.ShellAndWait("K:\\Program\\Muxman.exe \"K:\\JOB\\MUXMAN\\" + name +
                                  "\" -d K:\\JOB\\MUXMAN\\001 -l K:\\JOB\\MUXMAN\\001\\Muxman.log  -run",
                              0);
        return f.runner.History().back().ExitCode;
    }
    std::string Log() { return f.temp.Read("JOB/MUXMAN/001/Muxman.log"); }
    std::string SmallScript() {
        test::SampleMuxmanShape small = shape;
        small.Full = false;
        return test::SampleMuxman(small).Text();
    }

    test::JobFixture f;
    test::SampleMuxmanShape shape;
};

TEST_F(AuthorProgram, RunsInMuxmansPlaceAndAuthorsASmallScript) {
    // The row stands for the tool: no file is there, the version is Muxman's.
    EXPECT_TRUE(ToolPresent(f.job, "K:\\Program\\Muxman.exe"));
    EXPECT_EQ(ToolVersion(f.job, "K:\\Program\\Muxman.exe"), "0.15.0.0");

    ASSERT_EQ(Run(SmallScript()), 0) << Log();
    for (const char* name : {"VIDEO_TS.IFO", "VTS_01_0.IFO", "VTS_01_1.VOB"}) {
        EXPECT_TRUE(f.temp.Exists("JOB/MUXMAN/001/" + std::string(name))) << name;
    }
    const std::string log = Log();
    EXPECT_NE(log.find("Authored the segment VTS1_VOBID1 of a title set into K:\\JOB\\MUXMAN\\001: VTS_01_1.VOB, one "
                       "VOB id, 3 cells\r\n"),
              std::string::npos)
        << log;
    // One line per play left out: three sub-pictures, three highlights.
    EXPECT_EQ(Count(log, "is not muxed in this version"), 6u) << log;
    EXPECT_EQ(log.find("warning:"), std::string::npos) << log;
}

TEST_F(AuthorProgram, FailSwitchesLeaveNoIfoOrAnEmptyOne) {
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "vsrip,Muxman");
    EXPECT_EQ(Run(SmallScript()), 1);
    EXPECT_FALSE(f.temp.Exists("JOB/MUXMAN/001/VIDEO_TS.IFO"));
    EXPECT_NE(Log().find("Muxman: failing as asked by KESTROVA_STANDIN_FAIL"), std::string::npos);

    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "Muxman=partial");
    EXPECT_EQ(Run(SmallScript()), 1);
    ASSERT_TRUE(f.temp.Exists("JOB/MUXMAN/001/VIDEO_TS.IFO"));
    EXPECT_EQ(f.temp.Read("JOB/MUXMAN/001/VIDEO_TS.IFO"), "");
}

TEST_F(AuthorProgram, AScriptWithAnErrorOrAFullScriptIsNotAuthored) {
    f.temp.Write("JOB/MUXMAN/001/VIDEO_TS.IFO", "an earlier result");
    // A play whose file is missing: the linter's error, at the play's line (two above its file's).
    std::string broken = SmallScript();
    const std::size_t at = broken.find("001_002.m2v");
    ASSERT_NE(at, std::string::npos);
    broken.replace(at, 11, "001_009.m2v");
    const auto line = std::count(broken.begin(), broken.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1 - 2;
    EXPECT_EQ(Run(broken, "With blank.MXP"), 1);
    EXPECT_NE(Log().find("K:\\JOB\\MUXMAN\\With blank.MXP:" + std::to_string(line) + ": error: "), std::string::npos)
        << Log();
    EXPECT_FALSE(f.temp.Exists("JOB/MUXMAN/001/VIDEO_TS.IFO")) << "the earlier result's IFO is gone";

    f.temp.Write("JOB/NEW_M2V/002.m2v", "m2v");
    f.temp.Write("JOB/NEW_M2V/Dummy.m2v", "m2v");
    f.temp.Write("JOB/DEMUXED/1-002.ac3", "ac3");
    EXPECT_EQ(Run(test::SampleMuxman(shape).Text(), "Muxman.MXP"), 1);
    EXPECT_NE(Log().find("K:\\JOB\\MUXMAN\\Muxman.MXP:3: error: A FULL script (it names a Destination Folder) is not "
                         "authored in this version"),
              std::string::npos)
        << Log();
    EXPECT_EQ(Count(Log(), ": error: "), 1u) << "the FULL script lints clean: " << Log();
    EXPECT_FALSE(f.temp.Exists("JOB/Batch_1/0/VIDEO_TS/VIDEO_TS.IFO"));
}

}  // namespace
}  // namespace kestrova
