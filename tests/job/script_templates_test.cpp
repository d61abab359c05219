// Script templates: defaults until saved, then what was saved.
#include "job/script_templates.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace kestrova {
namespace {

TEST(ScriptTemplates, DefaultsNameThePluginsOfTheProgramFolder) {
    const AvsScripts avs = DefaultAvsScripts("C:\\Kestrova", "1.0");
    EXPECT_EQ(avs.Avisynth_Header,
              "import(\"C:\\Kestrova\\new.avs\\addaudio.avs\")\r\n"
              "LoadPlugin(\"C:\\Kestrova\\new.dvd2avi\\mpeg2dec3dg.dll\")");
    EXPECT_EQ(avs.Avisynth_Hybrid,
              "LoadPlugin(\"C:\\Kestrova\\new.avs\\decomb.dll\")\r\nTelecide()\r\nDecimate(mode=1,threshold=3)");
    EXPECT_EQ(avs.Avisynth_Normal, "");

    const ConversionScripts conversion = DefaultConversionScripts("C:\\Kestrova", "1.0");
    // The NTSC-bound and PAL-bound interlaced scripts differ only in size and rate.
    std::string toPal = conversion.Conversion1;
    toPal.replace(toPal.find("720,480"), 7, "720,576");
    toPal.replace(toPal.find("AssumeFPS(29.97)"), 16, "AssumeFPS(25)");
    EXPECT_EQ(toPal, conversion.Conversion3);
    EXPECT_EQ(conversion.Conversion4, "LanczosResize(720,576)\r\nConvertToYUY2()\r\nAssumeFPS(25)\r\nAddAudio()");
    EXPECT_EQ(conversion.ConvertAudio, -1);
    EXPECT_EQ(conversion.ConvertFPS, 0);
}

TEST(ScriptTemplates, SavedScriptsComeBackWithTheirLineBreaks) {
    test::TempFolder temp;
    platform::Registry registry(temp.Host("hive.reg"));
    AvsScripts avs = DefaultAvsScripts("C:\\K", "1.0");
    avs.Avisynth_Normal = "Crop(8,0,-8,0)\r\nAddBorders(8,0,8,0)";
    avs.TelecineIVTC = 1;
    SaveAvsScripts(registry, avs);
    ConversionScripts conversion = DefaultConversionScripts("C:\\K", "1.0");
    conversion.ConvertAudio = 0;
    conversion.ConvertFPS = 1;
    SaveConversionScripts(registry, conversion);

    platform::Registry reread(temp.Host("hive.reg"));
    ASSERT_EQ(reread.Load(), "");
    const AvsScripts loaded = LoadAvsScripts(reread, "D:\\Other", "2.0");
    EXPECT_EQ(loaded.Avisynth_Normal, avs.Avisynth_Normal);
    EXPECT_EQ(loaded.Avisynth_Header, avs.Avisynth_Header);  // not the new folder's default
    EXPECT_EQ(loaded.TelecineIVTC, 1);
    const ConversionScripts back = LoadConversionScripts(reread, "D:\\Other", "2.0");
    EXPECT_EQ(back.Conversion2, conversion.Conversion2);
    EXPECT_EQ(back.ConvertAudio, 0);
    EXPECT_EQ(back.ConvertFPS, 1);

    reread.DeleteKey(platform::RegistryRoot::CurrentUser, kAvsKey);
    EXPECT_EQ(LoadAvsScripts(reread, "D:\\Other", "2.0").Avisynth_Header.find("D:\\Other"), 8u);
}

// The script window: the IVTC boxes edit the decimation lines; "Reset_Saved"
// brings back what is stored, "Reset_Default" (once agreed) the defaults
// with the stored key gone.
TEST(ScriptTemplates, IvtcBoxesAndTheTwoResets) {
    test::TempFolder temp;
    platform::Registry registry(temp.Host("hive.reg"));
    AvsScripts avs = DefaultAvsScripts("C:\\K", "1.0");
    CheckHybridIVTC(avs, true);
    CheckTelecineIVTC(avs, true);
    EXPECT_EQ(avs.Avisynth_Hybrid, "LoadPlugin(\"C:\\K\\new.avs\\decomb.dll\")\r\nTelecide()\r\nDecimate()");
    EXPECT_EQ(avs.Avisynth_Telecine.substr(avs.Avisynth_Telecine.rfind("\r\n") + 2), "Decimate()");
    CheckHybridIVTC(avs, false);
    EXPECT_EQ(avs.HybridIVTC, 0);
    EXPECT_EQ(avs.TelecineIVTC, 1);
    SaveAvsScripts(registry, avs);

    AvsScripts edited = avs;
    edited.Avisynth_Normal = "Crop(8,0,-8,0)";
    EXPECT_EQ(ResetSavedAvsScripts(registry, "C:\\K", "1.0").Avisynth_Normal, "");

    platform::ScriptedQuestions questions;
    questions.AnswerNo();
    EXPECT_FALSE(ResetDefaultAvsScripts(registry, questions, "C:\\K", "1.0", edited));
    EXPECT_EQ(edited.Avisynth_Normal, "Crop(8,0,-8,0)");
    questions.AnswerYes();
    EXPECT_TRUE(ResetDefaultAvsScripts(registry, questions, "C:\\K", "1.0", edited));
    EXPECT_EQ(questions.History().back().Text, "This will reset scripts and delete any registry scripts");
    EXPECT_EQ(edited.Avisynth_Hybrid, DefaultAvsScripts("C:\\K", "1.0").Avisynth_Hybrid);
    EXPECT_EQ(registry.getstring(platform::RegistryRoot::CurrentUser, kAvsKey, "Version"), "");
}

}  // namespace
}  // namespace kestrova
