// Run log, journal and their writing helpers.
#include "job/run_log.h"

#include <gtest/gtest.h>

#include "job/log_writers.h"
#include "platform/error.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

TEST(Banner, TitleIsCentredInFiftyCharactersOrWrittenWhole) {
    EXPECT_EQ(BannerTitle("Renaming Files"),
              "|" + std::string(17, ' ') + "RENAMING FILES" + std::string(19, ' ') + "|");
    EXPECT_EQ(BannerTitle(std::string(50, 'a')), "|" + std::string(50, 'A') + "|");
}

TEST(Log, OptionsAndSeverityShapeEachLine) {
    test::JobFixture f;
    Log log(f.files);
    log.SetClock([] { return std::string("DATE TIME"); });
    log.output("not active yet", 9);
    EXPECT_FALSE(f.temp.Exists("a.log"));

    log.File("K:\\a.log");
    EXPECT_TRUE(log.Active());
    log.SeverityLevel(5);
    log.output("both prefixes", 5);        // options start as 3
    log.output("below the level", 4);
    log.Options(Log::kDateTime);
    log.output("date only", 9);
    log.Options(0);
    log.SeverityLevel(0);
    log.output("bare", 0);
    log.SeverityLevel(-1);
    log.output("never", 32000);
    EXPECT_EQ(f.temp.Read("a.log"), "5\tDATE TIME\tboth prefixes\r\nDATE TIME\tdate only\r\nbare\r\n");

    log.Reset();
    EXPECT_FALSE(f.temp.Exists("a.log"));
    log.Reset();  // a missing file is fine
}

TEST(Log, FailedWriteTurnsTheLogOffAndSaysSo) {
    test::JobFixture f;
    f.temp.Write("folder/keep", "");
    Log log(f.files);
    log.File("K:\\folder");  // a folder cannot take a line
    try {
        log.output("x", 9);
        FAIL() << "a write into a folder must fail";
    } catch (const Error& failure) {
        EXPECT_NE(std::string(failure.what()).find("Log::Output"), std::string::npos);
    }
    EXPECT_FALSE(log.Active());
    log.output("quiet now", 9);  // off: no second failure

    // Through the job's writers the failure is reported and the job goes on.
    f.job.RecoveryJournal.File("K:\\folder");
    RLOG(f.job, "DVD2AVI");
    RLOG(f.job, "MPV ENCODED");
    ASSERT_EQ(f.trace.Reports().size(), 1u);
    EXPECT_NE(f.trace.Reports()[0].find("Log::Output"), std::string::npos);
}

TEST(LogWriters, RunLogObeysTheLogSettingWhileTheJournalAlwaysWrites) {
    test::JobFixture f;
    f.job.RunLog.File("K:\\Kestrova.LOG");
    f.job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");

    WLOG(f.job, "dropped");
    RLOG(f.job, "-----");
    f.job.Options().Default_Enable_Log = 1;
    WLF(f.job, "Processing VTS_01_0.VOB");
    WLOG(f.job, "kept");
    RLOG(f.job, "VTS1");

    const std::string stamp = "2026-11-23 08:00:00\t";
    EXPECT_EQ(f.temp.Read("Kestrova.LOG"), stamp + kBannerRule + "\r\n" + stamp +
                                               BannerTitle("Processing VTS_01_0.VOB") + "\r\n" + stamp +
                                               kBannerRule + "\r\n" + stamp + "kept\r\n");
    EXPECT_EQ(f.temp.Read("Kestrova_Recovery.LOG"), "-----\r\nVTS1\r\n");
}

TEST(LogWriters, AStageMarkStaysOutOfTheJournalOnceTheRunIsStopped) {
    test::JobFixture f;
    f.job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
    f.job.StopRequested = -1;
    RLOG(f.job, "DVD2AVI");
    RLOG(f.job, "-----");
    EXPECT_EQ(f.temp.Read("Kestrova_Recovery.LOG"), "-----\r\n");
}

TEST(LogWriters, LogsStartInTheUsersFolderAndMoveIntoTheJob) {
    test::JobFixture f;
    f.job.Options().Default_Enable_Log = 1;
    f.files.MakeFolder("K:\\state");
    OpenProgramLogs(f.job, "K:\\state");
    WLOG(f.job, "Main Loaded");
    EXPECT_TRUE(f.temp.Exists("state/Kestrova.LOG"));

    f.temp.Write("JOB/Kestrova_Recovery.LOG", "an earlier run\r\n");
    f.job.JobRoot = "K:\\JOB";
    MoveLogsToJobRoot(f.job);
    EXPECT_FALSE(f.temp.Exists("JOB/Kestrova_Recovery.LOG"));
    RLOG(f.job, "#MUXMAN");
    EXPECT_EQ(f.temp.Read("JOB/Kestrova_Recovery.LOG"), "#MUXMAN\r\n");
    EXPECT_EQ(f.job.RunLog.File(), "K:\\JOB\\Kestrova.LOG");
}

TEST(LogWriters, LogWindowOpensAndClosesSteps) {
    test::JobFixture f;
    LogWindow(f.job, "Demuxing VTS_01_0.VOB");
    LogWindow(f.job, "details", true);
    LogWindow(f.job, "");
    ASSERT_EQ(f.view.Lines.size(), 4u);
    // Time of day "hh:mm:ss" in front of each line.
    EXPECT_EQ(f.view.Lines[0].substr(8), " Demuxing VTS_01_0.VOB");
    EXPECT_EQ(f.view.Lines[1].substr(8), "      details");
    EXPECT_EQ(f.view.Lines[2].substr(8), " details is complete");
    EXPECT_EQ(f.view.Lines[3].substr(8), " ");
    EXPECT_EQ(f.view.Served, 3);
}

}  // namespace
}  // namespace kestrova
