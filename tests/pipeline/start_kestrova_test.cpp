// The run over a real disc: stages in order, the journal's marks, stops and
// resumption. (The run log's banners are checked by the kestrova-cli end-to-end script.)
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "job/journal.h"
#include "pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

bool Contains(const std::vector<std::string>& lines, const std::string& text) {
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

// A run, then a second process on the same output folder that resumes from the first's journal.
TEST(StartKestrova, ARunJournalsItsStagesAndAResumeSkipsWhatItsMarkSays) {
    test::PipelineFixture first;
    BeginRoutines(first.job);
    ASSERT_TRUE(first.job.Stages.Ended());
    EXPECT_EQ(first.job.JobRunning, 0);
    // The originals are used as they are, which the ladder finds whole at
    // once, and have their flags set: the encoding gets its mark.
    EXPECT_EQ(first.job.Stages.Outcome(RunStage::Demultiplexing), StageOutcome::Done);
    EXPECT_EQ(first.job.Stages.Outcome(RunStage::Encoding), StageOutcome::Done);
    EXPECT_EQ(first.CountRunLog("Encoding skipped"), 1);
    EXPECT_EQ(first.CountRunLog("ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT"), 1);
    EXPECT_FALSE(first.job.Completed);
    EXPECT_EQ(first.JournalLines(),
              (std::vector<std::string>{"#LANGUAGE: " + first.job.State().CurrentLanguage, "#ROOT FOLDER: K:\\OUT",
                                        "#VOLUME NAME: PAL-VMG-BUTTONS", "#SCENARIST", "#FOLDER: D:\\VIDEO_TS",
                                        "#VIDEO_TS.VOB", "#VTS_01_0.VOB", "-----", "VID", "DEMUXED VOB ID", "VOBSUB",
                                        "VSCONV", "DVD2AVI", "PROCESSASSETS", "-----", "VTS1", "DEMUXED VOB ID",
                                        "VOBSUB", "VSCONV", "DVD2AVI", "PROCESSASSETS", "MPV ENCODED",
                                        kJournalFinished}));
    EXPECT_TRUE(first.files.FolderExists("K:\\OUT\\D_VTS_01_0\\DEMUXED_CELLID"));
    EXPECT_TRUE(first.files.FolderExists("K:\\OUT\\VIDEO_TS"));
    // The job bar only rises: it moves inside the first of the two domains, stands at each one's share of 90
    // after it, and is full at the end.
    const std::vector<int>& bar = first.view.JobValues;
    EXPECT_TRUE(std::is_sorted(bar.begin(), bar.end()));
    EXPECT_TRUE(std::any_of(bar.begin(), bar.end(), [](int value) { return value > 0 && value < 45; }));
    EXPECT_NE(std::find(bar.begin(), bar.end(), 45), bar.end());
    EXPECT_NE(std::find(bar.begin(), bar.end(), 90), bar.end());
    EXPECT_EQ(bar.back(), 100);
    EXPECT_EQ(first.registry.getstring(platform::RegistryRoot::CurrentUser, "Software\\Kestrova", "InstallDirectory"),
              "K:\\Program");

    // Mark, demuxes skipped, encodings run. The first journal is of a run
    // cut before its encoding was marked; the second's mark skips it.
    const std::string journal = first.temp.Read("OUT/Kestrova_Recovery.LOG");
    std::string cut = journal;
    cut.erase(cut.find("MPV ENCODED\r\n"));
    const struct {
        const char* Mark;
        std::string Journal;
        int Skipped, Encoded;
    } resumes[] = {{"VID - PROCESSASSETS", cut, 1, 1}, {"VTS1 - MPV ENCODED", journal, 2, 0}};
    for (const auto& resume : resumes) {
        SCOPED_TRACE(resume.Mark);
        test::PipelineFixture resumed;
        std::filesystem::copy(first.temp.Host("OUT"), resumed.temp.Host("OUT"),
                              std::filesystem::copy_options::recursive);
        resumed.temp.Write("OUT/Kestrova_Recovery.LOG", resume.Journal);
        JournalReading reading;
        ASSERT_TRUE(BrowseJournal(resumed.job, "K:\\OUT\\Kestrova_Recovery.LOG", reading));
        EXPECT_EQ(reading.ResumePoints.back(), resume.Journal == cut ? "VTS1 - PROCESSASSETS" : resume.Mark);
        LoadData(resumed.job, resume.Mark);
        resumed.job.GoCaption = kBeginRecovery;
        BeginRoutines(resumed.job);
        ASSERT_TRUE(resumed.job.Stages.Ended());
        EXPECT_EQ(resumed.CountRunLog("Running from RECOVERY Console"), 1);
        EXPECT_EQ(resumed.CountRunLog("Demux by VOB skipped"), resume.Skipped);
        EXPECT_EQ(resumed.CountRunLog("Starting RevPulldown"), resume.Encoded);
        EXPECT_EQ(resumed.CountRunLog("ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT"), resume.Encoded);
        EXPECT_TRUE(Contains(resumed.JournalLines(), "MPV ENCODED"));
    }
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
    EXPECT_FALSE(f.job.Stages.Ended());
    EXPECT_EQ(f.job.StopRequested, 0) << "cleared once the stopped run has unwound";
    EXPECT_EQ(f.job.DiscModel.Count(), 0u) << "the model goes with a stop";
    const auto journal = f.JournalLines();
    EXPECT_TRUE(Contains(journal, "VID"));
    EXPECT_FALSE(Contains(journal, "VTS1"));
    EXPECT_EQ(f.CountRunLog("Job Stopped"), 1);
}

}  // namespace
}  // namespace kestrova
