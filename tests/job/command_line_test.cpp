// The command line's four forms.
#include "job/command_line.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

TEST(CommandLine, ShellVerbsNameADriveOrAFolder) {
    test::JobFixture f;
    CommandLineResult r = ParseCommandLine(f.job, "Load=\"d:\\\"");
    EXPECT_EQ(r.Form, CommandLineForm::LoadDrive);
    EXPECT_EQ(f.job.State().TempDrive, "D:\\\"");
    EXPECT_EQ(f.job.State().LoadOnly, -1);
    EXPECT_TRUE(f.job.CommandLine.empty());

    r = ParseCommandLine(f.job, "Folder=K:\\My Disc\\VIDEO_TS");
    EXPECT_EQ(r.Form, CommandLineForm::Folder);
    EXPECT_EQ(f.job.State().FolderOnly, "K:\\My Disc\\VIDEO_TS");
    EXPECT_EQ(f.job.State().FolderString, -1);
    EXPECT_EQ(f.job.State().Control, 0) << "a shell verb is no program start";
}

TEST(CommandLine, TokensByTheirFirstFourLetters) {
    test::JobFixture f;
    f.job.Options().Default_Minimize_Kestrova = 1;
    const std::string text = " /star /PATH=\"K:\\out dir\" /DRIVE=  E  /Pause /COMPRESSION=45 /PASSES=3 "
                             "/AVEBITRATE=2500 /THRESHOLD=2 /MINI /DEINT /REJIG /RESUME /bogus";
    const CommandLineResult r = ParseCommandLine(f.job, text);
    const auto& s = f.job.State();
    EXPECT_EQ(r.Form, CommandLineForm::Tokens);
    EXPECT_TRUE(r.StartRequested);
    EXPECT_TRUE(r.ResumeRequested);
    EXPECT_EQ(f.job.WorkFolder, "K:\\out dir");
    EXPECT_EQ(f.job.Text2, "K:\\out dir");
    EXPECT_EQ(f.job.SourceDrive, "E");
    EXPECT_EQ(std::vector<int>({s.Pause, s.Rejig_Compression, s.Passes, s.Ave_Bitrate, s.Threshold, s.Minimize,
                                s.Deinterlace, s.Rejig, s.Control}),
              std::vector<int>({-1, 45, 3, 2500, 2048000, -1, -1, -1, -1}));
    EXPECT_EQ(f.job.Options().Default_Minimize_Kestrova, 0);
    EXPECT_EQ(s.DoitCommand, text);
    EXPECT_TRUE(f.job.CommandLine.empty());
}

TEST(CommandLine, TokensWithoutTheirValueAreAbsentAndCceChoiceYieldsWhenOverridden) {
    test::JobFixture f;
    f.job.WorkFolder = "K:\\kept";
    const CommandLineResult r = ParseCommandLine(f.job, "/PATH=K:\\unquoted /DRIV /PASS /THRE /CCEO");
    EXPECT_FALSE(r.StartRequested);
    EXPECT_EQ(f.job.WorkFolder, "K:\\kept");
    EXPECT_EQ(f.job.SourceDrive, "");
    EXPECT_EQ(f.job.State().Threshold, 0);
    EXPECT_EQ(f.job.State().OnePass, -1);

    // A size past the field's range is its largest, not an overflow.
    ParseCommandLine(f.job, "/THRE=99999999999999999999");
    EXPECT_EQ(f.job.State().Threshold, 2097 * 1024000);

    test::JobFixture g;
    g.job.Options().DIF4UOverRide = 1;
    g.job.Options().CCE_Method = 2;
    ParseCommandLine(g.job, "/CCEO /CCEV");
    EXPECT_EQ(g.job.State().CCE, -1);
    EXPECT_EQ(g.job.State().OnePass, 0);
    EXPECT_EQ(g.job.State().MultiPass, -1);

    test::JobFixture h;
    h.job.Options().DIF4UOverRide = 1;
    h.job.Options().CCE_Method = 1;
    ParseCommandLine(h.job, "/CCEV /CCER");
    EXPECT_EQ(h.job.State().MultiPass, 0);
    EXPECT_EQ(h.job.State().RoBa, -1);
}

TEST(CommandLine, IniFileStartsTheJobWithItsMenus) {
    test::JobFixture f;
    f.temp.Write("job.ini",
                 "*PAUSE\r\n  *CCE ONEPASS\r\n*CCEPASSES 4\r\n*REJIGCOMPRESSION 60%\r\n*AVERAGEBITRATE 4000\r\n"
                 "*WORKINGFOLDER K:\\OUT\r\n*DRIVE  F \r\n\r\n-VIDEOTS ALL\r\n-VTS_01_0 FRENCH\r\n*UNKNOWN x\r\n");
    const CommandLineResult r = ParseCommandLine(f.job, "/INIFILE \"K:\\job.ini\"");
    const auto& s = f.job.State();
    EXPECT_EQ(r.Form, CommandLineForm::IniFile);
    EXPECT_TRUE(r.StartRequested);
    EXPECT_EQ(std::vector<int>({s.DifFromINI, s.Pause, s.OnePass, s.Passes, s.Rejig, s.Rejig_Compression,
                                s.Ave_Bitrate}),
              std::vector<int>({-1, -1, -1, 4, -1, 60, 4000}));
    EXPECT_EQ(f.job.WorkFolder, "K:\\OUT");
    EXPECT_EQ(f.job.SourceDrive, "F");
    ASSERT_EQ(f.job.IniMenuList.size(), 2u);
    EXPECT_EQ(f.job.IniMenuList[0].First + " " + f.job.IniMenuList[0].Second, "VIDEOTS ALL");
    EXPECT_EQ(f.job.IniMenuList[1].First + " " + f.job.IniMenuList[1].Second, "_01_0 FRENCH");

    test::JobFixture g;
    const CommandLineResult missing = ParseCommandLine(g.job, "/inifile K:\\nowhere.ini");
    EXPECT_EQ(missing.Error, "The job file \"K:\\nowhere.ini\" named after /INIFILE does not exist");
    EXPECT_FALSE(missing.StartRequested);
}

}  // namespace
}  // namespace kestrova
