// The Conversion window's model over a job: the time and rate options on
// the default scripts, the "#" step, and the save and reset questions.
#include "job/conversion_window.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

using platform::RegistryRoot;

std::vector<std::string> Scripts(const ConversionWindow& w) {
    return {w.Script(1), w.Script(2), w.Script(3), w.Script(4)};
}

class ConversionWindowTest : public testing::Test, public test::JobFixture {
public:
    ConversionWindowTest() {
        job.ConversionTemplates = defaults;
        job.State().ConvertAudio = -1;
    }
    const ConversionScripts defaults = DefaultConversionScripts(job.ProgramFolder, "0.1.0");
};

TEST_F(ConversionWindowTest, TimeOptionsThereAndBackGiveTheSameBytes) {
    ConversionWindow window(job);
    const auto stretched = Scripts(window);
    EXPECT_FALSE(window.ChooseRate(true)) << "disabled while the audio is stretched";
    window.KeepAudio();
    EXPECT_EQ(job.State().ConvertAudio, 0);
    EXPECT_NE(window.Script(1).find("\r\nKernelbob(order=1, sharp=true, twoway=true, threshold=0)\r\n"
                                    "LanczosResize(720,480)\r\nConvertToYUY2(interlaced=true)\r\nChangeFPS(59.94)\r\n"
                                    "SeparateFields()\r\nSelectEvery(4,0,3)\r\nWeave()\r\n"),
              std::string::npos);
    ASSERT_TRUE(window.ChooseRate(true));
    EXPECT_NE(window.Script(4).find("\r\nConvertFPS(50)\r\n"), std::string::npos);
    EXPECT_EQ(job.ConversionTemplates.Conversion4, window.Script(4));  // the job's at once
    const auto kept = Scripts(window);
    window.StretchAudio();
    EXPECT_EQ(Scripts(window), stretched);
    window.KeepAudio();
    EXPECT_EQ(Scripts(window), kept);
}

// The words are matched anywhere; one that has a "#" already gets no second.
TEST_F(ConversionWindowTest, StretchingPutsOneHashBeforeEachFieldWord) {
    ConversionWindow window(job);
    window.KeepAudio();
    window.EditScript(2, "ChangeFPS(59.94)\r\nSeparateFields()\r\n#Weave()\r\nMySeparateFilter()");
    window.StretchAudio();
    EXPECT_EQ(window.Script(2), "AssumeFPS(29.97)\r\n#SeparateFields()\r\n#Weave()\r\nMy#SeparateFilter()");
}

TEST_F(ConversionWindowTest, SaveRestoreAndResetGoThroughTheirQuestions) {
    // Script values without "Version" are not saved scripts.
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Conversion1", "AssumeFPS(30)");
    ConversionWindow window(job);
    window.KeepAudio();
    window.Restore();
    EXPECT_EQ(window.Script(1), defaults.Conversion1);
    EXPECT_EQ(job.ConversionTemplates.Conversion1, defaults.Conversion1);
    EXPECT_FALSE(window.Leave()) << "nothing changed, nothing asked";

    window.KeepAudio();
    questions.AnswerNo();
    EXPECT_FALSE(window.Leave());
    EXPECT_EQ(questions.History().at(0).Text, "Options have been altered. Do you wish to save these settings?");
    EXPECT_EQ(registry.getstring(RegistryRoot::CurrentUser, kConversionKey, "Version"), "");
    questions.AnswerYes();
    EXPECT_TRUE(window.Leave());
    const ConversionScripts saved = LoadConversionScripts(registry, job.ProgramFolder, "");
    EXPECT_EQ(saved.Conversion4, window.Script(4));
    EXPECT_EQ(saved.ConvertAudio, 0);

    questions.AnswerNo();
    EXPECT_FALSE(window.Reset());
    EXPECT_EQ(window.Script(4), saved.Conversion4);
    questions.AnswerYes();
    EXPECT_TRUE(window.Reset());
    EXPECT_EQ(questions.History().back().Text, "This will reset scripts and delete any registry scripts");
    EXPECT_EQ(registry.getstring(RegistryRoot::CurrentUser, kConversionKey, "Conversion4"), "");
    EXPECT_EQ(window.Script(4), defaults.Conversion4);
    EXPECT_EQ(job.State().ConvertAudio, -1);
}

}  // namespace
}  // namespace kestrova
