// Settings at program start: what is stored checked against what exists.
#include "job/settings_start.h"

#include <gtest/gtest.h>

#include "job/folders.h"
#include "support/job_fixture.h"
#include "standins/pe_builder.h"

namespace kestrova {
namespace {

using platform::RegistryRoot;

// A saved setup that names tools, some of which are gone.
void StoreSetup(test::JobFixture& f) {
    Settings_Properties stored;
    LoadStoredSettings(f.registry, stored);
    stored.Audio_SoftEncode = 1;
    stored.Audio_Besweet = 0;
    stored.Audio_SoftEncode_Path = "K:\\Tools\\SoftEncode.exe";  // missing
    stored.EnableReBuilder = 1;
    stored.RebuilderPath = "K:\\Tools\\ReBuilder.exe";  // missing
    stored.UseHC = 1;
    stored.HCPath = "K:\\Tools\\HC.exe";
    stored.UseCCE = 1;
    stored.CCEPath = "K:\\Tools\\gone.exe";
    stored.Muxman = 1;
    SetSave(f.registry, stored);
}

TEST(SettingsAtStart, VanishedToolsFallBackAndUsableOnesAreTold) {
    test::JobFixture f;
    f.job.SystemFolder = "K:\\WINDOWS\\system32";
    f.temp.Write("Tools/HC.exe", pe::BuildPeWithVersion({0, 25, 0, 0, "HC encoder"}));
    f.temp.Write("WINDOWS/system32/avisynth.dll", pe::BuildPeWithVersion({2, 5, 8, 5, "Avisynth"}));
    f.temp.Write("Program/PGCDemux.exe", pe::BuildPeWithoutVersion());
    StoreSetup(f);

    EXPECT_EQ(LoadSettingsAtStart(f.job), StartVerdict::Ready);
    const auto& o = f.job.Options();
    EXPECT_EQ(std::vector<int>({o.Audio_SoftEncode, o.Audio_Besweet, o.EnableReBuilder, o.UseCCE, o.UseHC,
                                o.No_ReEncode}),
              std::vector<int>({0, 1, 0, 0, 1, 0}));
    EXPECT_EQ(o.Avisynth_Version, "2.5.8.5");
    // The CCE that vanished is named once; falling back to BeSweet asks nothing.
    ASSERT_EQ(f.questions.History().size(), 1u);
    EXPECT_EQ(f.questions.History()[0].Text, "CCE specified in ECL does not exist - please re-specify location");
    EXPECT_EQ(f.temp.Read("Program/EclCCE.ini"), "[EclCCE]\r\nCCE=K:\\Tools\\gone.exe\r\n");

    std::vector<std::string> told;
    for (const auto& line : f.view.Lines) told.push_back(line.substr(8));
    EXPECT_EQ(told, (std::vector<std::string>{" HC is the default encoder", " Muxman set for authoring",
                                              " Avisynth version 2.5.8.5 detected"}));

    EXPECT_EQ(f.registry.getstring(RegistryRoot::LocalMachine,
                                   "SOFTWARE\\Classes\\DVD\\shell\\Open with Kestrova\\Command", ""),
              "\"K:\\Program\\Kestrova.exe\" Load=\"%1\"");
    EXPECT_EQ(f.registry.getstring(RegistryRoot::ClassesRoot, "Directory\\shell\\Open with Kestrova\\Command", ""),
              "\"K:\\Program\\Kestrova.exe\" Folder=%1");
}

// Without saved settings the option lists stand at the entries their
// windows choose; saved indices stand for their entries, and one outside
// its list takes the default entry and is told.
TEST(SettingsAtStart, OptionListsGiveTheValuesTheirIndicesStandFor) {
    test::JobFixture first;
    LoadSettingsAtStart(first.job);
    const auto& o = first.job.Options();
    EXPECT_EQ(std::vector<int>({o.CCE_Average_Bitrate, o.CCE_Passes, o.ECL_Assets, o.Intra, o.Default_Encode,
                                o.Audio_AC3_Encode_Threshold, o.m, o.N, o.Quantizer, o.CCE_Method}),
              std::vector<int>({2000, 3, 25, 9, 40, 40, 3, 4, 25, 2}));
    EXPECT_EQ(o.Field + "/" + o.Scanning + "/" + o.FrameType, "Auto/Auto/Auto");

    test::JobFixture saved;
    Settings_Properties stored;
    LoadStoredSettings(saved.registry, stored);
    stored.Default_Save_Settings = 2;
    stored.CCE_Average_Bitrate_Index = 176;  // the last entry
    stored.Intra_Index = 0;
    stored.Default_Encode_Threshold = 0;
    stored.Field_Index = 2;
    stored.Audio_AC3_Encode_Threshold_Index = 24;
    stored.Scanning_Index = 7;  // no such entry
    SetSave(saved.registry, stored);
    LoadSettingsAtStart(saved.job);
    const auto& s = saved.job.Options();
    EXPECT_EQ(std::vector<int>({s.CCE_Average_Bitrate, s.Intra, s.Default_Encode, s.Audio_AC3_Encode_Threshold}),
              std::vector<int>({9300, 8, 1, 250}));
    EXPECT_EQ(s.Field + "/" + s.Scanning, "BFF/Auto");
    EXPECT_EQ(s.Scanning_Index, 0);
    bool told = false;
    for (const auto& line : saved.view.Lines) told = told || line.find("Scanning index 7") != std::string::npos;
    EXPECT_TRUE(told);
}

TEST(SettingsAtStart, AvisynthDecidesWhetherVideoCanBeEncoded) {
    test::JobFixture f;
    f.job.SystemFolder = "K:\\sys";
    EXPECT_EQ(LoadSettingsAtStart(f.job), StartVerdict::Ready);
    EXPECT_EQ(f.job.Options().No_ReEncode, 1);
    EXPECT_NE(f.view.Lines.back().find("WARNING!! Avisynth not detected"), std::string::npos);
    EXPECT_FALSE(f.registry.KeyExists(RegistryRoot::ClassesRoot, "Directory\\shell\\Open with Kestrova\\Command"));

    f.temp.Write("sys/Avisynth.dll", pe::BuildPeWithVersion({2, 0, 8, 0}));
    EXPECT_EQ(LoadSettingsAtStart(f.job), StartVerdict::MustEnd);
    EXPECT_EQ(f.questions.History().back().Text,
              "UNSUPPORTED VERSION OF AVISYNTH\r\nInstall Avisynth 2.5+ and restart");
}

TEST(SettingsAtStart, DisplayVerInfoReadsTheThreeVersionTexts) {
    test::JobFixture f;
    pe::PeVersion version{3, 5, 4, 0, "DVD Decrypter"};
    f.temp.Write("DVD Decrypter/DVDDecrypter.exe", pe::BuildPeWithVersion(version));
    EXPECT_EQ(VersionOfFile(f.job, "K:\\DVD Decrypter\\DVDDecrypter.exe"), "3.5.4.0");
    EXPECT_EQ(f.job.ProductVersionText, "3.5.4.0");
    EXPECT_FALSE(f.job.StructureVersionText.empty());
    EXPECT_EQ(VersionOfFile(f.job, "K:\\DVD Decrypter\\missing.exe"), "");
    EXPECT_EQ(f.job.ProductVersionText, "");
}

}  // namespace
}  // namespace kestrova
