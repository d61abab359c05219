// Job folders: counting by kind, the output-location guard, cleaning and
// drives.
#include "job/folders.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

std::vector<std::string> Listed(const JobContext& job) {
    return std::vector<std::string>(job.FileList.begin() + 1, job.FileList.end());
}

TEST(GetFileCount, WordsChooseWhatIsCountedAndListed) {
    test::JobFixture f;
    for (const char* name : {"W/DEMUXED/001.VOB", "W/DEMUXED/002.vob", "W/DEMUXED/001.M2V", "W/DEMUXED/001-80.AC3",
                             "W/DEMUXED/001-A0.wav", "W/DEMUXED/001-C0.mp2", "W/DEMUXED/notes.txt",
                             "W/DEMUXED_CELLID/001_002-80.ac3", "W/FRAMESERVING/a/b/001.mpv",
                             "W/FRAMESERVING/002.MPV"}) {
        f.temp.Write(name, "1234");
    }
    JobContext& job = f.job;
    EXPECT_EQ(GetFileCount(job, "K:\\W\\DEMUXED", "RENAME"), 6);
    EXPECT_EQ(Listed(job), (std::vector<std::string>{"001.VOB", "002.vob", "001.M2V", "001-A0.wav", "001-80.AC3",
                                                     "001-C0.mp2"}))
        << "VOBs, then M2V, WAV, AC3 and MP2, each in name order";
    EXPECT_EQ(GetFileCount(job, "k:\\w", "audio"), 4);
    EXPECT_EQ(Listed(job), (std::vector<std::string>{"DEMUXED\\001-80.AC3", "DEMUXED\\001-A0.wav",
                                                     "DEMUXED\\001-C0.mp2", "DEMUXED_CELLID\\001_002-80.ac3"}));
    EXPECT_EQ(GetFileCount(job, "K:\\W\\FRAMESERVING", "M2V"), 2);  // by folder tree
    EXPECT_EQ(Listed(job), (std::vector<std::string>{"002.MPV", "a\\b\\001.mpv"}));

    EXPECT_EQ(GetFileCount(job, "K:\\nowhere", "COPY"), 0);
    EXPECT_THROW(GetFileCount(job, "K:\\W", "EVERYTHING"), Error);
}

TEST(GetFileCount, DeleteCountsFoldersToo) {
    test::JobFixture f;
    f.files.MakeFolder("K:\\Out\\empty\\deeper");
    EXPECT_EQ(GetFileCount(f.job, "K:\\Out", "DELETE"), 2);
    f.temp.Write("Out/empty/file.txt", "x");
    EXPECT_EQ(GetFileCount(f.job, "K:\\Out", "DELETE"), 3);
}

TEST(CheckLocation, RootsAndNewFoldersAreTakenAFolderWithContentIsClearedOnlyOnYes) {
    test::JobFixture f;
    f.temp.Write("full/x.VOB", "x");
    EXPECT_FALSE(CheckLocation(f.job, "K:\\"));
    EXPECT_EQ(f.job.OutputFolder, "K:\\");
    EXPECT_TRUE(f.files.FileExists("K:\\full\\x.VOB"));
    EXPECT_FALSE(CheckLocation(f.job, "K:\\new folder\\Ünïcode"));
    EXPECT_TRUE(f.files.FolderExists("K:\\new folder\\Ünïcode"));
    EXPECT_TRUE(f.questions.History().empty());

    f.files.MakeFolder("K:\\Out\\only empty folders");
    f.questions.AnswerNo();
    f.job.Text2 = "K:\\Out";
    EXPECT_TRUE(CheckLocation(f.job, "K:\\Out"));
    ASSERT_EQ(f.questions.History().size(), 1u);
    EXPECT_EQ(f.questions.History()[0].Text, "This folder: K:\\Out is not empty. Delete existing folder?");
    EXPECT_TRUE(f.job.Text2.empty());
    EXPECT_TRUE(f.files.FolderExists("K:\\Out\\only empty folders"));

    f.questions.AnswerYes();
    EXPECT_FALSE(CheckLocation(f.job, "K:\\Out"));
    EXPECT_FALSE(f.files.FolderExists("K:\\Out"));
    EXPECT_EQ(f.job.OutputFolder, "K:\\Out");

    f.temp.Write("file", "x");
    f.job.OutputFolder = "K:\\file\\sub";
    EXPECT_TRUE(CheckLocation(f.job, "K:\\file\\sub"));
    EXPECT_EQ(f.questions.History().back().Text, "Please close any files pertaining to this folder");
    EXPECT_TRUE(f.job.OutputFolder.empty());
}

TEST(DeleteTemporaryFiles, CleansOnlyWhenAskedAndOnlyTheJobsOwnFiles) {
    test::JobFixture f;
    for (const char* name : {"JOB/D_VTS_01_0/DEMUXED/001.VOB", "JOB/Batch_1/a.SCP", "JOB/Muxman.log",
                             "JOB/Title_Dummy.m2v", "JOB/VIDEO_TS/VTS_01_0.IFO", "JOB/Kestrova.LOG"}) {
        f.temp.Write(name, "x");
    }
    f.job.JobRoot = "K:\\JOB";
    f.job.DiscModel.Add().OutputDir = "K:\\JOB\\D_VIDEO_TS";  // never made
    f.job.DiscModel.Add().OutputDir = "K:\\JOB\\D_VTS_01_0";

    DeleteTemporaryFiles(f.job);
    EXPECT_TRUE(f.temp.Exists("JOB/D_VTS_01_0/DEMUXED/001.VOB"));

    f.job.Options().DeleteTempFiles = 1;
    DeleteTemporaryFiles(f.job);
    for (const char* gone : {"JOB/D_VTS_01_0", "JOB/Batch_1", "JOB/Muxman.log", "JOB/Title_Dummy.m2v"}) {
        EXPECT_FALSE(f.temp.Exists(gone)) << gone;
    }
    EXPECT_TRUE(f.temp.Exists("JOB/VIDEO_TS/VTS_01_0.IFO"));
    EXPECT_TRUE(f.temp.Exists("JOB/Kestrova.LOG"));
}

TEST(Drives, CdDrivesAreSourcesAndTheOneWithADiscIsPreselected) {
    test::JobFixture f;
    f.temp.Write("cd2/VIDEO_TS/VIDEO_TS.IFO", "x");
    f.temp.Write("cd2/VIDEO_TS/VTS_01_0.IFO", "x");
    f.temp.Write("cd1/readme", "x");
    f.paths.AddDrives("D:=" + f.temp.Host("cd1") + "@cdrom;E:=" + f.temp.Host("cd2") + "@cdrom");
    DriveLists lists = sListAllDrives(f.job);
    EXPECT_EQ(lists.Sources, (std::vector<std::string>{"D:\\", "E:\\"}));
    EXPECT_EQ(lists.SourceSelected, 1);
    EXPECT_EQ(lists.Outputs, (std::vector<std::string>{"K:\\", "Z:\\"}));
    EXPECT_EQ(lists.DefaultOutputRoot, "K:\\");

    // A start from the shell verb on drive D: selects it, once.
    f.job.State().LoadOnly = -1;
    f.job.State().TempDrive = "D:";
    EXPECT_EQ(sListAllDrives(f.job).SourceSelected, 0);
    EXPECT_EQ(f.job.State().LoadOnly, 0);
    EXPECT_EQ(sListAllDrives(f.job).SourceSelected, 1);

    volumename(f.job, "E:\\");
    EXPECT_EQ(f.job.VolumeText, "CD2");
    EXPECT_EQ(fDriveType(platform::DriveType::NoRootDir), "Drive does not exist");
}

}  // namespace
}  // namespace kestrova
