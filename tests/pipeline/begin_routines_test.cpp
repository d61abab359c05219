// Pre-flight refusals, the VOB-count limit, and the Muxman failure paths.
#include <gtest/gtest.h>

#include "job/pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

using platform::RegistryRoot;

std::string LastMessage(const test::JobFixture& f) {
    return f.questions.History().empty() ? std::string() : f.questions.History().back().Text;
}

TEST(BeginRoutines, EachRefusalSaysWhyAndLeavesNothingBehind) {
    struct Case {
        const char* Name;
        test::ProgramFolderLayout Layout;
        void (*Adjust)(test::PipelineFixture&);
        const char* Message;
    };
    const Case cases[] = {
        {"no authoring engine", {"3.5.4.0", true, true, false}, [](test::PipelineFixture&) {},
         "Scenarist is NOT installed and Muxman is not set for authoring - unable to process"},
        {"no DVD Decrypter", {"", true, true, true}, [](test::PipelineFixture&) {},
         "Unable to locate DVD Decrypter or unsupported version (must be 3.5.1.0 +)"},
        {"DVD Decrypter 3.5.0.0", {"3.5.0.0", true, true, true}, [](test::PipelineFixture&) {},
         "Unable to locate DVD Decrypter or unsupported version (must be 3.5.1.0 +)"},
        {"DVD Decrypter 3.4.9.9", {"3.4.9.9", true, true, true}, [](test::PipelineFixture&) {},
         "Unable to locate DVD Decrypter or unsupported version (must be 3.5.1.0 +)"},
        {"revpulldown removed", {"3.5.4.0", false, true, true}, [](test::PipelineFixture&) {},
         "No Encoder selected / Encoder Path not found or incompatable encoder"},
        {"originals in a conversion", {}, [](test::PipelineFixture& f) { f.job.Options().Conversion = 1; },
         "No Encoder selected / Encoder Path not found or incompatable encoder"},
        {"encoder path missing", {},
         [](test::PipelineFixture& f) {
             f.job.Options().No_ReEncode = 0;
             f.job.Options().UseHC = 1;
             f.job.Options().HCPath = "K:\\HC\\HC.exe";
         },
         "No Encoder selected / Encoder Path not found or incompatable encoder"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        test::PipelineFixture f("pal-vmg-buttons", c.Layout);
        f.registry.SaveDword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead", 1);
        c.Adjust(f);
        BeginRoutines(f.job);
        EXPECT_EQ(LastMessage(f), c.Message);
        EXPECT_FALSE(f.job.Completed);
        EXPECT_EQ(f.job.JobRunning, 0);
        EXPECT_FALSE(f.files.Exists("K:\\OUT")) << "a refused job makes nothing";
        EXPECT_EQ(f.registry.getdword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead"),
                  1u);
    }
}

TEST(BeginRoutines, SpecificEncoderMessagesComeBeforeTheRefusal) {
    test::PipelineFixture f;
    f.job.Options().Conversion = 1;
    f.job.Options().No_ReEncode = 0;
    f.job.Options().UseRejig = 1;
    f.job.Options().RejigPath = "K:\\Program\\Kestrova.txt";  // a file that exists
    BeginRoutines(f.job);
    ASSERT_GE(f.questions.History().size(), 2u);
    const auto& shown = f.questions.History();
    EXPECT_EQ(shown[shown.size() - 2].Text,
              "Rejig cannot be used in a Format Conversion, please select CCE, Procoder, Quenc or HC Encoder");
    EXPECT_EQ(shown.back().Title, "Encoder Error");
}

TEST(BeginRoutines, AnEmptyOutputFolderEndsSilently) {
    test::PipelineFixture f;
    f.job.OutputFolder.clear();
    BeginRoutines(f.job);
    EXPECT_TRUE(f.questions.History().empty());
    EXPECT_FALSE(f.job.Completed);
    EXPECT_EQ(f.job.JobRunning, 0);
}

TEST(BeginRoutines, TheDecrypterTrayOptionIsClearedForTheRunAndPutBack) {
    test::PipelineFixture f;
    f.registry.SaveDword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead", 1);
    bool clearedDuringRun = false;
    f.view.OnServe = [&](int) {
        clearedDuringRun = clearedDuringRun || f.registry.getdword(RegistryRoot::CurrentUser,
                                                                   "Software\\DVD Decrypter",
                                                                   "DEVICE_EjectTrayRead") == 0;
    };
    BeginRoutines(f.job);
    EXPECT_TRUE(f.job.Completed);
    EXPECT_TRUE(clearedDuringRun);
    EXPECT_EQ(f.registry.getdword(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "DEVICE_EjectTrayRead"), 1u);
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

    // Without Muxman.exe the domain is skipped without a question.
    test::PipelineFixture g("pal-vmg-buttons", {"3.5.4.0", true, false, true});
    auto& other = g.job.DiscModel.Add();
    g.job.DomainIndex = 1;
    for (int i = 0; i < 601; ++i) other.Vob_Id.Add();
    EXPECT_TRUE(CheckVOB(g.job, 1));
    EXPECT_TRUE(g.questions.History().empty());
}

TEST(Authoring, AFailedFullMuxmanScriptIsRetriedOnlyWhenTheUserSaysSo) {
    test::PipelineFixture no;
    no.job.Options().Muxman = 1;
    no.job.Options().SingleMXP = 1;
    no.questions.AnswerNo();
    BeginRoutines(no.job);
    EXPECT_FALSE(no.job.Completed);
    EXPECT_EQ(no.CountRunLog("MUXMAN ERROR - FULL SCRIPT FAILED - NO RETRY - ABORTING"), 1);
    EXPECT_EQ(LastMessage(no), "SOMETHING WENT WRONG - ABORTING");

    test::PipelineFixture yes;
    yes.job.Options().Muxman = 1;
    yes.job.Options().SingleMXP = 1;
    yes.questions.AnswerYes();
    BeginRoutines(yes.job);
    EXPECT_EQ(yes.CountRunLog("MUXMAN ERROR - RETRIED WITH SINGLE SCRIPTS ALSO"), 1);
    EXPECT_TRUE(yes.files.FolderExists("K:\\OUT\\D_VTS_01_0")) << "nothing under the job root goes on an abort";

    test::PipelineFixture single;
    single.job.Options().Muxman = 1;
    BeginRoutines(single.job);
    EXPECT_EQ(single.CountRunLog("MUXMAN ERROR - SINGLE SCRIPTS FAILED"), 1);
}

}  // namespace
}  // namespace kestrova
