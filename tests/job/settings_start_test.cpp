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
    EXPECT_TRUE(f.questions.History().empty()) << "falling back to BeSweet asks nothing";

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
