// Pre-flight refusals, the VOB-count limit, and the Muxman failure paths.
#include <gtest/gtest.h>

#include "pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

using platform::RegistryRoot;

std::string LastMessage(const test::JobFixture& f) {
    return f.questions.History().empty() ? std::string() : f.questions.History().back().Text;
}

std::uint32_t TrayOption(const test::JobFixture& f) {
    return f.registry.getdword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead");
}

TEST(BeginRoutines, EachRefusalSaysWhyAndLeavesNothingBehind) {
    const std::string noDecrypter = "Unable to locate DVD Decrypter or unsupported version (must be 3.5.1.0 +)";
    const std::string noEncoder = "No Encoder selected / Encoder Path not found or incompatable encoder";
    const auto none = [](test::PipelineFixture&) {};
    const struct {
        const char* Name;
        test::ProgramFolderLayout Layout;
        void (*Adjust)(test::PipelineFixture&);
        std::string Message;
    } cases[] = {
        {"no authoring engine", {"3.5.4.0", true, true, false}, none,
         "Scenarist is NOT installed and Muxman is not set for authoring - unable to process"},
        {"no DVD Decrypter", {"", true, true, true}, none, noDecrypter},
        {"DVD Decrypter 3.5.0.0", {"3.5.0.0", true, true, true}, none, noDecrypter},
        {"revpulldown removed", {"3.5.4.0", false, true, true}, none, noEncoder},
        {"originals in a conversion", {}, [](test::PipelineFixture& f) { f.job.Options().Conversion = 1; }, noEncoder},
        {"encoder path missing", {},
         [](test::PipelineFixture& f) {
             f.job.Options().No_ReEncode = 0;
             f.job.Options().UseHC = 1;
             f.job.Options().HCPath = "K:\\HC\\HC.exe";
         },
         noEncoder},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        test::PipelineFixture f("pal-vmg-buttons", c.Layout, false);
        f.registry.SaveDword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead", 1);
        c.Adjust(f);
        BeginRoutines(f.job);
        EXPECT_EQ(LastMessage(f), c.Message);
        EXPECT_FALSE(f.job.Stages.Ended());
        EXPECT_EQ(f.job.JobRunning, 0);
        EXPECT_FALSE(f.files.Exists("K:\\OUT")) << "a refused job makes nothing";
        EXPECT_EQ(TrayOption(f), 1u);
    }

    // A more specific encoder message comes before the refusal; an empty output folder ends silently.
    test::PipelineFixture rejig;
    rejig.job.Options().Conversion = 1;
    rejig.job.Options().No_ReEncode = 0;
    rejig.job.Options().UseRejig = 1;
    rejig.job.Options().RejigPath = "K:\\Program\\Kestrova.txt";  // a file that exists
    BeginRoutines(rejig.job);
    const auto& shown = rejig.questions.History();
    ASSERT_GE(shown.size(), 2u);
    EXPECT_EQ(shown[shown.size() - 2].Text,
              "Rejig cannot be used in a Format Conversion, please select CCE, Procoder, Quenc or HC Encoder");
    EXPECT_EQ(shown.back().Title, "Encoder Error");
    test::PipelineFixture unnamed;
    unnamed.job.OutputFolder.clear();
    BeginRoutines(unnamed.job);
    EXPECT_TRUE(unnamed.questions.History().empty());
    EXPECT_FALSE(unnamed.job.Stages.Ended());
}

TEST(BeginRoutines, TheDecrypterTrayOptionIsClearedForTheRunAndPutBack) {
    test::PipelineFixture f;
    f.registry.SaveDword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead", 1);
    bool clearedDuringRun = false;
    f.view.OnServe = [&](int) { clearedDuringRun = clearedDuringRun || TrayOption(f) == 0; };
    BeginRoutines(f.job);
    EXPECT_TRUE(f.job.Stages.Ended());
    EXPECT_TRUE(clearedDuringRun);
    EXPECT_EQ(TrayOption(f), 1u);
}

TEST(CheckVOB, ScenaristTakes600VobIdsAndAsksAt601) {
    test::PipelineFixture f;
    f.job.DiscModel.Add();
    f.job.DomainIndex = 1;
    f.job.SelectedMenus = {"", "D:\\VIDEO_TS\\VIDEO_TS.VOB"};
    auto& domain = f.job.DiscModel.Item(1);
    for (int i = 0; i < 600; ++i) domain.Vob_Id.Add();
    EXPECT_FALSE(CheckVOB(f.job, 1));
    EXPECT_TRUE(f.questions.History().empty());

    domain.Vob_Id.Add();
    f.questions.AnswerYes();
    EXPECT_FALSE(CheckVOB(f.job, 1));
    EXPECT_EQ(f.job.Options().Muxman, 1) << "the engine changes for the rest of the run";
    EXPECT_FALSE(CheckVOB(f.job, 1)) << "with Muxman nothing is asked";

    f.job.Options().Muxman = 0;
    f.questions.AnswerNo();
    EXPECT_TRUE(CheckVOB(f.job, 1));
    EXPECT_EQ(domain.Abort, -1);
    EXPECT_EQ(domain.Vob_Id.Item(601).Dummy, -1);
    EXPECT_EQ(f.job.SelectedMenus[1], "");

    // Without Muxman.exe the domain is skipped without a question (the
    // Windows profile: in the native one the authoring engine stands in).
    test::PipelineFixture g("pal-vmg-buttons", {"3.5.4.0", true, false, true}, false);
    auto& other = g.job.DiscModel.Add();
    g.job.DomainIndex = 1;
    for (int i = 0; i < 601; ++i) other.Vob_Id.Add();
    EXPECT_TRUE(CheckVOB(g.job, 1));
    EXPECT_TRUE(g.questions.History().empty());
}

TEST(Authoring, AFailedFullMuxmanScriptIsRetriedOnlyWhenTheUserSaysSo) {
    const struct {
        int SingleMXP;
        bool Retry;
        const char* Logged;
    } rows[] = {{1, false, "MUXMAN ERROR - FULL SCRIPT FAILED - NO RETRY - ABORTING"},
                {1, true, "MUXMAN ERROR - RETRIED WITH SINGLE SCRIPTS ALSO"},
                {0, false, "MUXMAN ERROR - SINGLE SCRIPTS FAILED"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Logged);
        test::PipelineFixture f;
        f.job.Options().Muxman = 1;
        f.job.Options().SingleMXP = row.SingleMXP;
        row.Retry ? f.questions.AnswerYes() : f.questions.AnswerNo();
        BeginRoutines(f.job);
        EXPECT_EQ(f.job.Stages.Outcome(RunStage::Authoring), StageOutcome::Failed);
        EXPECT_EQ(f.CountRunLog(row.Logged), 1);
        EXPECT_EQ(LastMessage(f), "SOMETHING WENT WRONG - ABORTING");
        EXPECT_TRUE(f.files.FolderExists("K:\\OUT\\D_VTS_01_0")) << "nothing under the job root goes on an abort";
    }
}

}  // namespace
}  // namespace kestrova
