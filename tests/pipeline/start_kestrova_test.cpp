// The run over a real disc: stages in order, the journal's marks, stops and
// resumption.
#include <gtest/gtest.h>

#include <algorithm>

#include "job/journal.h"
#include "job/pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

bool Contains(const std::vector<std::string>& lines, const std::string& text) {
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

TEST(StartKestrova, ARunGoesThroughItsStagesInOrderAndJournalsThem) {
    test::PipelineFixture f;
    BeginRoutines(f.job);
    EXPECT_TRUE(f.job.Completed);
    EXPECT_EQ(f.job.JobRunning, 0);

    // The VMG menu has audio, the title set's menus have none.
    EXPECT_EQ(f.Banners(),
              (std::vector<std::string>{"VERSION NUMBER", "PREFFERED SETTINGS", "SCANNING AVISYNTH SCRIPTS",
                                        "VIDEO INFORMATION", "AUDIO INFORMATION", "PGC INFORMATION", "DUMMY VOB SCAN",
                                        "VIDEO INFORMATION", "PGC INFORMATION", "DUMMY VOB SCAN",
                                        "PROCESSING VIDEO_TS.VOB", "PROCESSING VTS_01_0.VOB",
                                        "PREPARING SCENARIST FILES", "CREATING SCENARIST SCRIPT",
                                        "REAUTHORING COMPLETE"}));

    const auto journal = f.JournalLines();
    const std::vector<std::string> expected = {
        "#LANGUAGE: " + f.job.State().CurrentLanguage, "#ROOT FOLDER: K:\\OUT", "#VOLUME NAME: PAL-VMG-BUTTONS", "#SCENARIST",
        "#FOLDER: D:\\VIDEO_TS", "#VIDEO_TS.VOB", "#VTS_01_0.VOB", "-----", "VID", "DEMUXED VOB ID", "DVD2AVI",
        "PROCESSASSETS", "-----", "VTS1", "DEMUXED VOB ID", "DVD2AVI", "PROCESSASSETS", "MPV ENCODED"};
    EXPECT_EQ(journal, expected);
    EXPECT_TRUE(f.files.FolderExists("K:\\OUT\\D_VTS_01_0\\DEMUXED_CELLID"));
    EXPECT_TRUE(f.files.FolderExists("K:\\OUT\\VIDEO_TS"));
    EXPECT_EQ(f.CountRunLog("ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT"), 1);
    EXPECT_EQ(f.registry.getstring(platform::RegistryRoot::CurrentUser, "Software\\Kestrova", "InstallDirectory"),
              "K:\\Program");
}

TEST(StartKestrova, AStopEndsTheRunAtTheNextStageBoundary) {
    test::PipelineFixture f;
    f.view.OnServe = [&f](int) {
        if (!f.view.Lines.empty() && f.view.Lines.back().find("VIDEO_TS") != std::string::npos &&
            f.job.StopRequested == 0 && f.job.JobRunning != 0 && f.job.DomainIndex == 1) {
            f.questions.AnswerYes();
            RequestStop(f.job);
        }
    };
    BeginRoutines(f.job);
    EXPECT_FALSE(f.job.Completed);
    EXPECT_EQ(f.job.StopRequested, 0) << "cleared once the stopped run has unwound";
    EXPECT_EQ(f.job.DiscModel.Count(), 0u) << "the model goes with a stop";
    const auto journal = f.JournalLines();
    EXPECT_TRUE(Contains(journal, "VID"));
    EXPECT_FALSE(Contains(journal, "VTS1"));
    EXPECT_FALSE(Contains(journal, "MPV ENCODED"));
    EXPECT_EQ(f.CountRunLog("Job Stopped"), 1);
}

// A run that resumes from a mark skips exactly what RecoverySkip says.
class Resume : public ::testing::Test {
protected:
    // Two processes on the same output folder: the second reads the
    // first's journal back.
    test::PipelineFixture first;
    test::PipelineFixture resumed;
};

TEST_F(Resume, FromAMarkOfTheFirstDomainRepeatsEverythingAfterIt) {
    BeginRoutines(first.job);
    ASSERT_TRUE(first.job.Completed);
    resumed.temp.Write("OUT/Kestrova_Recovery.LOG", first.temp.Read("OUT/Kestrova_Recovery.LOG"));
    JournalReading reading;
    ASSERT_TRUE(BrowseJournal(resumed.job, "K:\\OUT\\Kestrova_Recovery.LOG", reading));
    EXPECT_EQ(reading.ResumePoints,
              (std::vector<std::string>{"VID - DEMUXED VOB ID", "VID - DVD2AVI", "VID - PROCESSASSETS",
                                        "VTS1 - DEMUXED VOB ID", "VTS1 - DVD2AVI", "VTS1 - PROCESSASSETS",
                                        "VTS1 - MPV ENCODED"}));
    LoadData(resumed.job, "VID - PROCESSASSETS");
    resumed.job.GoCaption = kBeginRecovery;
    BeginRoutines(resumed.job);
    ASSERT_TRUE(resumed.job.Completed);
    EXPECT_EQ(resumed.CountRunLog("Running from RECOVERY Console"), 1);
    EXPECT_EQ(resumed.CountRunLog("Demux by VOB skipped"), 1) << "only the first domain's demux is skipped";
    EXPECT_EQ(resumed.CountRunLog("EnableVideoEncoding is not yet available in this version - stage passed over"),
              1);
}

TEST_F(Resume, FromTheLastDomainsEncodingMarkGoesStraightToAuthoring) {
    BeginRoutines(first.job);
    ASSERT_TRUE(first.job.Completed);
    resumed.temp.Write("OUT/Kestrova_Recovery.LOG", first.temp.Read("OUT/Kestrova_Recovery.LOG"));
    JournalReading reading;
    ASSERT_TRUE(BrowseJournal(resumed.job, "K:\\OUT\\Kestrova_Recovery.LOG", reading));
    LoadData(resumed.job, "VTS1 - MPV ENCODED");
    EXPECT_EQ(resumed.job.State().RecoveryVTS, 2);
    EXPECT_EQ(resumed.job.State().RecoveryModule, 6);
    resumed.job.GoCaption = kBeginRecovery;
    BeginRoutines(resumed.job);
    ASSERT_TRUE(resumed.job.Completed);
    EXPECT_EQ(resumed.CountRunLog("Demux by VOB skipped"), 2);
    EXPECT_EQ(resumed.CountRunLog("EnableVideoEncoding is not yet available in this version - stage passed over"),
              0);
    EXPECT_EQ(resumed.CountRunLog("ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT"), 0);
    EXPECT_TRUE(Contains(resumed.JournalLines(), "MPV ENCODED"));
}

}  // namespace
}  // namespace kestrova
