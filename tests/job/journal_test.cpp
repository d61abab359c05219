// Reading a journal back and the recovery decision it leads to.
#include "job/journal.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

const char* const kJournal =
    "#LANGUAGE: English\r\n"
    "#ROOT FOLDER: K:\\JOB\r\n"
    "#VOLUME NAME: MY_DISC\r\n"
    "#CONVERSION\r\n"
    "#MUXMAN\r\n"
    "#FOLDER: K:\\SOURCE\r\n"
    "#VIDEO_TS.VOB\r\n"
    "#VTS_12_0.VOB\r\n"
    "VOBSUB\r\n"  // before the first "-----": not a resume point
    "-----\r\n"
    "VID\r\n"
    "DEMUXED VOB ID\r\n"
    "VOBSUB\r\n"
    "\r\n"
    "-----\r\n"
    "VTS12\r\n"
    "DEMUXED VOB ID\r\n"
    "MPV ENCODED\r\n";

TEST(Journal, LinesGiveHeadFieldsMenusAndResumePoints) {
    const JournalReading r = ReadJournalLines({"#LANGUAGE: Deutsch", "#ROOT FOLDER: K:\\JOB", "#VOLUME NAME: DISC",
                                               "#SCENARIST", "#FOLDER: D:", "#VTS_01_0.VOB", "VSCONV", "-----",
                                               "VTS1", "VSCONV", "#VIDEO_TS.VOB"});
    EXPECT_EQ(r.Language + "|" + r.Root + "|" + r.VolumeName + "|" + r.Source, "Deutsch|K:\\JOB|DISC|D:");
    EXPECT_TRUE(r.Scenarist);
    EXPECT_FALSE(r.Muxman);
    // "#VOLUME NAME" is a head line, not a menu.
    EXPECT_EQ(r.JournalMenus, (std::vector<std::string>{"VTS_01_0.VOB", "VIDEO_TS.VOB"}));
    EXPECT_EQ(r.ResumePoints, (std::vector<std::string>{"VTS1 - VSCONV"}));

    EXPECT_TRUE(ReadJournalLines({"#FOLDER: X", "VID", "VOBSUB"}).ResumePoints.empty());

    // A mark cut short by a kill or a full disk names no stage.
    const JournalReading cut = ReadJournalLines({"-----", "VID", "DEMUXED VOB ID", "DVD2A"});
    EXPECT_EQ(cut.ResumePoints.size(), 2u);
    EXPECT_EQ(StageResumePoints(cut), (std::vector<std::string>{"VID - DEMUXED VOB ID"}));
}

TEST(Journal, AFinishedRunEndsItsJournalAndDropsTheBak) {
    test::JobFixture f;
    f.job.RecoveryJournal.File("K:\\JOB\\Kestrova_Recovery.LOG");
    MarkJournalFinished(f.job);
    EXPECT_FALSE(f.temp.Exists("JOB/Kestrova_Recovery.LOG")) << "a journal the cleaning removed is not begun again";

    f.temp.Write("JOB/Kestrova_Recovery.LOG", kJournal);
    f.temp.Write("JOB/Kestrova_Recovery.LOG.bak", kJournal);
    MarkJournalFinished(f.job);
    EXPECT_FALSE(f.temp.Exists("JOB/Kestrova_Recovery.LOG.bak"));
    const JournalReading reading = ReadJournalLines(f.files.ReadLines("K:\\JOB\\Kestrova_Recovery.LOG"));
    EXPECT_TRUE(reading.Finished);
    EXPECT_EQ(reading.ResumePoints.size(), 4u) << "the last line is no resume point";
    EXPECT_FALSE(ReadJournalLines({"#FOLDER: X", "-----", "VID", "MPV ENCODED"}).Finished);
}

TEST(Journal, BrowseSetsTheJobAndKeepsTheFirstStateOnce) {
    test::JobFixture f;
    f.temp.Write("JOB/Kestrova_Recovery.LOG", kJournal);
    JournalReading reading;
    EXPECT_FALSE(BrowseJournal(f.job, "K:\\JOB\\missing_Kestrova_Recovery.LOG", reading));
    f.temp.Write("JOB/other.LOG", kJournal);
    EXPECT_FALSE(BrowseJournal(f.job, "K:\\JOB\\other.LOG", reading));
    EXPECT_EQ(f.job.State().Recover, 0);

    ASSERT_TRUE(BrowseJournal(f.job, "K:\\job\\kestrova_recovery.log", reading));
    EXPECT_EQ(reading.ResumePoints, (std::vector<std::string>{"VID - DEMUXED VOB ID", "VID - VOBSUB",
                                                              "VTS12 - DEMUXED VOB ID", "VTS12 - MPV ENCODED"}));
    EXPECT_EQ(f.job.State().Root, "K:\\JOB");
    EXPECT_EQ(f.job.OutputFolder, "K:\\JOB");
    EXPECT_EQ(f.job.State().RecoveryLanguage, "English");
    EXPECT_EQ(f.job.State().Recover, -1);
    EXPECT_EQ(f.job.JournalMenus, (std::vector<std::string>{"VIDEO_TS.VOB", "VTS_12_0.VOB"}));
    EXPECT_EQ(f.job.Options().Conversion, 1);
    // No Muxman.exe in the program folder: Scenarist stays, and the user is told.
    EXPECT_EQ(f.job.Options().Muxman, 0);
    ASSERT_EQ(f.questions.History().size(), 1u);
    EXPECT_EQ(f.questions.History()[0].Text, "Muxman does not exist in the install folder");
    // Made as the user spelled the journal's name.
    EXPECT_EQ(f.temp.Read("JOB/kestrova_recovery.log.bak"), kJournal);

    // A second browse after the journal changed keeps the first copy.
    f.temp.Write("JOB/Kestrova_Recovery.LOG", "#MUXMAN\r\n");
    f.temp.Write("Program/Muxman.exe", "MZ");
    ASSERT_TRUE(BrowseJournal(f.job, "K:\\JOB\\Kestrova_Recovery.LOG", reading));
    EXPECT_EQ(f.temp.Read("JOB/kestrova_recovery.log.bak"), kJournal);
    EXPECT_EQ(f.job.Options().Muxman, 1);
}

TEST(Journal, LoadDataAndRecoverySkipCompareDomainAndStage) {
    test::JobFixture f;
    auto& state = f.job.State();
    state.Recover = -1;
    // One mark of a middle stage; the real disc's resumes (pipeline tests) go through the last ones.
    LoadData(f.job, "VTS4 - DEMUXED CELL ID");
    ASSERT_EQ(state.RecoveryModule, 4);
    for (int stage = 0; stage < 7; ++stage) {
        f.job.DomainIndex = 5;  // VTS 4: its stages up to the mark are skipped
        EXPECT_EQ(RecoverySkip(f.job, stage), stage <= 4) << "stage " << stage;
        f.job.DomainIndex = 4;  // a domain before the mark: all skipped
        EXPECT_TRUE(RecoverySkip(f.job, stage));
        f.job.DomainIndex = 6;  // a later one: nothing skipped
        EXPECT_FALSE(RecoverySkip(f.job, stage));
    }
    EXPECT_EQ(StageOfMark("DEMUXED"), -1);

    LoadData(f.job, "VID - DVD2AVI");
    EXPECT_EQ(state.RecoveryVTS, 1);
    EXPECT_EQ(state.RecoveryModule, 3);
    LoadData(f.job, "VTS2 - SOMETHING ELSE");  // unknown mark: the stage stays
    EXPECT_EQ(state.RecoveryVTS, 3);
    EXPECT_EQ(state.RecoveryModule, 3);

    LoadData(f.job, "");
    EXPECT_EQ(state.Recover, 0);
    EXPECT_FALSE(RecoverySkip(f.job, 0));
}

}  // namespace
}  // namespace kestrova
