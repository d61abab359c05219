// The settings store: first run, load, save and the save-off rule.
#include "job/settings.h"

#include <gtest/gtest.h>

#include <set>

#include "platform/path_space.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

using platform::Registry;
using platform::RegistryRoot;

// Registry names are matched without regard to case, so two rows of one name would overwrite each other.
TEST(Settings, EachRowHasAValueOfItsOwnAndStartsFromItsFieldsKind) {
    std::set<std::string> values;
    for (const auto& stored : StoredSettings()) {
        EXPECT_TRUE(values.insert(platform::ToUpperAscii(stored.Value)).second) << stored.Value;
        EXPECT_EQ(stored.Field.index(), stored.FirstRun.index()) << stored.Value;
    }
}

TEST(Settings, FirstRunStartsFromTheTableAndTheFirstSaveKeepsIt) {
    test::TempFolder temp;
    Registry registry(temp.Host("hive.reg"));
    Settings_Properties settings;
    EXPECT_TRUE(LoadStoredSettings(registry, settings));
    EXPECT_EQ(settings.Audio_Bitrate, 224) << "derived from the index";

    SetSave(registry, settings);
    EXPECT_EQ(registry.getdword(RegistryRoot::CurrentUser, kSettingsKey, "Save_Settings"), 2u);
    EXPECT_EQ(registry.getdword(RegistryRoot::CurrentUser, kSettingsKey, "Compile_Option"), 3u);
}

TEST(Settings, StoredValuesComeBackWithTheirCorners) {
    test::TempFolder temp;
    {
        Registry registry(temp.Host("hive.reg"));
        Settings_Properties settings;
        LoadStoredSettings(registry, settings);
        settings.CCE_Method = 3;
        settings.Muxman = 1;
        settings.Audio_Bitrate_Index = 200;  // no list entry
        settings.HCProfile = 448;
        settings.CCEPath = "C:\\Program Files\\CCE \"SP\"\\cct2.exe";
        settings.Sce_Minimize_Compile = -1;
        settings.Default_Encode_Threshold = -5;
        SetSave(registry, settings);
    }
    Registry registry(temp.Host("hive.reg"));
    ASSERT_EQ(registry.Load(), "");
    Settings_Properties settings;
    EXPECT_FALSE(LoadStoredSettings(registry, settings));
    EXPECT_EQ(settings.CCE_Method, 2);  // 3 reads as 2
    EXPECT_EQ(settings.HCProfile, 448);
    EXPECT_EQ(settings.Audio_Bitrate_Index, 200);
    EXPECT_EQ(settings.Audio_Bitrate, 0);
    EXPECT_EQ(settings.CCEPath, "C:\\Program Files\\CCE \"SP\"\\cct2.exe");
    EXPECT_EQ(settings.Sce_Minimize_Compile, 1);
    EXPECT_EQ(settings.Sce_Minimize_Script_Import, 0);
    EXPECT_EQ(settings.Default_Encode_Threshold, -5);
    EXPECT_EQ(registry.getstring(RegistryRoot::CurrentUser, kSettingsKey, "Encode_Setting"), "");
}

TEST(Settings, SavingTurnedOffLeavesOnlyThatChoice) {
    test::TempFolder temp;
    Registry registry(temp.Host("hive.reg"));
    Settings_Properties settings;
    LoadStoredSettings(registry, settings);
    SetSave(registry, settings);  // a full save first
    settings.Default_Save_Settings = 1;
    SetSave(registry, settings);
    EXPECT_EQ(registry.ValueNames(RegistryRoot::CurrentUser, kSettingsKey),
              (std::vector<std::string>{"Save_Settings"}));
    EXPECT_EQ(registry.getdword(RegistryRoot::CurrentUser, kSettingsKey, "Save_Settings"), 1u);

    // The next start is a first run that remembers saving is off.
    Settings_Properties next;
    EXPECT_TRUE(LoadStoredSettings(registry, next));
    EXPECT_EQ(next.Default_Save_Settings, 1);
    EXPECT_EQ(next.Sce_Compile_Option, 3);
}

}  // namespace
}  // namespace kestrova
