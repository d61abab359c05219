// Settings store: the table of stored values and its load and save rules.
#include "job/settings.h"

namespace kestrova {

using platform::Registry;
using platform::RegistryRoot;

const std::vector<StoredSetting>& StoredSettings() {
    static const std::vector<StoredSetting> table = {
    {"CCEPassesIndex", &Settings_Properties::CCE_Passes_Index, 0},
    {"DOCCEMethod", &Settings_Properties::CCE_Method, 0},
    {"CCEBitrateIndex", &Settings_Properties::CCE_Average_Bitrate_Index, 0},
    {"Q_Factor", &Settings_Properties::CCE_Q_Factor_Index, 0},
    {"Field", &Settings_Properties::Field_Index, 0},
    {"Rejig", &Settings_Properties::Rejig_Index, 0},
    {"Compliant", &Settings_Properties::Compliant, 0},
    {"EncodeStills", &Settings_Properties::EncodeStills, 0},
    {"ECLAssets", &Settings_Properties::ECL_Index, 0},
    {"ProcessAssets", &Settings_Properties::ProcessAssets, 1},
    {"GUI", &Settings_Properties::GUI, 0},
    {"HCOriginal", &Settings_Properties::HCOriginal, 0},
    {"CCEPath", &Settings_Properties::CCEPath, ""},
    {"ProcoderPath", &Settings_Properties::ProcoderPath, ""},
    {"QuEncPath", &Settings_Properties::QuencPath, ""},
    {"RejigPath", &Settings_Properties::RejigPath, ""},
    {"UseCCE", &Settings_Properties::UseCCE, 0},
    {"UseProcoder", &Settings_Properties::UseProcoder, 0},
    {"UseQuenc", &Settings_Properties::UseQuenc, 0},
    {"UseRejig", &Settings_Properties::UseRejig, 0},
    {"Extreme", &Settings_Properties::Extreme, 0},
    {"Trellis", &Settings_Properties::Trellis, 0},
    {"Procoder_CQ", &Settings_Properties::Procoder_Index, 0},
    {"ConfirmAR", &Settings_Properties::ConfirmAR, 0},
    {"DeleteTemp", &Settings_Properties::DeleteTempFiles, 0},
    {"HCPath", &Settings_Properties::HCPath, ""},
    {"UseHC", &Settings_Properties::UseHC, 0},
    {"HCProfile", &Settings_Properties::HCProfile, 0},
    {"HCMatrix", &Settings_Properties::HCMatrix, 0},
    {"PixelThreshold", &Settings_Properties::PixelThreshold, 0},
    {"ShowCommands", &Settings_Properties::ShowCommands, 0},
    {"ShowLinks", &Settings_Properties::ShowLinks, 0},
    {"N", &Settings_Properties::N_Index, 0},
    {"M", &Settings_Properties::M_Index, 0},
    {"Sequence", &Settings_Properties::Sequence_Index, 0},
    {"Restrict_I_Frame", &Settings_Properties::Restrict_I_Frame, 0},
    {"Close_GOPs", &Settings_Properties::Close_Gops, 0},
    {"AutoGopSize", &Settings_Properties::AutoGopSize, 1},
    {"Matricies", &Settings_Properties::CCE_Matrix, 0},
    {"Quality_Setting", &Settings_Properties::CCE_Quality_Setting, 0},
    {"Scanning", &Settings_Properties::Scanning_Index, 0},
    {"Intra", &Settings_Properties::Intra_Index, 0},
    {"Templates", &Settings_Properties::Templates, 0},
    {"FrameType_Setting", &Settings_Properties::FrameType_Index, 0},
    {"Compile_Option", &Settings_Properties::Sce_Compile_Option, 3},
    {"Automate", &Settings_Properties::Automate, 1},
    {"Muxman", &Settings_Properties::Muxman, 0},
    {"SingleMXP", &Settings_Properties::SingleMXP, 0},
    {"RemovePGCCommands", &Settings_Properties::RemovePGCCommands, 0},
    {"RemoveLink", &Settings_Properties::RemoveLink, 0},
    {"RemoveButton", &Settings_Properties::RemoveButton, 0},
    {"ScenaidMode", &Settings_Properties::ScenaidMode, 0},
    {"RemoveAssets", &Settings_Properties::RemoveAssets, 0},
    {"RemoveAssetsVMG", &Settings_Properties::RemoveAssetsVMG, 0},
    {"AutoSelectVMG", &Settings_Properties::AutoSelectVMG, 0},
    {"AutoSelectVTS", &Settings_Properties::AutoSelectVTS, 0},
    {"MakeISO", &Settings_Properties::MakeISO, 0},
    {"DGDecode", &Settings_Properties::DGDecode, 0},
    {"AllHighlights", &Settings_Properties::HighlightsAll, 1},
    {"FirstHighlight", &Settings_Properties::HighlightsFirst, 0},
    {"ExamineHighlights", &Settings_Properties::ExamineHighlights, 0},
    {"AC3Correction", &Settings_Properties::Audio_Correct_AC3_Delay, 1},
    {"PadVobs", &Settings_Properties::Audio_Pad, 1},
    {"Soft", &Settings_Properties::Audio_SoftEncode, 0},
    {"BeSweet", &Settings_Properties::Audio_Besweet, 1},
    {"AC3Bitrate", &Settings_Properties::Audio_Bitrate_Index, 224},
    {"DeleteRegistryKey", &Settings_Properties::Audio_DeleteRegistryKey, 0},
    {"CorrectCRC", &Settings_Properties::Audio_CorrectCRC, 1},
    {"Strip", &Settings_Properties::Strip_UOP, 0},
    {"RunAppMinimized", &Settings_Properties::Default_Minimize_Kestrova, 0},
    {"Close", &Settings_Properties::Default_Close_Kestrova, 0},
    {"IntegrateDIF4U", &Settings_Properties::Default_DIF4U, 0},
    {"LOG_File", &Settings_Properties::Default_Enable_Log, 0},
    {"Save_Settings", &Settings_Properties::Default_Save_Settings, 0},
    {"Pause", &Settings_Properties::Default_Pause, 0},
    {"Threshold", &Settings_Properties::Default_Threshold_index, 0},
    {"Language", &Settings_Properties::Default_Language_Index, 0},
    {"VobCell_Threshold", &Settings_Properties::Default_Encode_Threshold, 0},
    {"Output_Destination", &Settings_Properties::Default_OutputDestination, 0},
    {"ReWriteSST", &Settings_Properties::Default_RewriteSST, 0},
    {"ReWriteSSTindex", &Settings_Properties::Default_SST_index, 0},
    {"SingleSST", &Settings_Properties::Default_SSTSingleThreshold, 0},
    {"EnableReBuilder", &Settings_Properties::EnableReBuilder, 0},
    {"ReBuilderPath", &Settings_Properties::RebuilderPath, ""},
    {"PreviewVOBS", &Settings_Properties::PreviewVOBS, 0},
    {"Contrast", &Settings_Properties::HighContrast, 0},
    {"Equalize", &Settings_Properties::Equalize, 0},
    {"CopyFiles", &Settings_Properties::CopyFiles, 0},
    {"Reverse", &Settings_Properties::Reverse, 0},
    {"SourceCopy", &Settings_Properties::SourceCopy, 0},
    {"NoCopy", &Settings_Properties::NoCopy, 0},
    {"UseDVD", &Settings_Properties::UseDVD, 0},
    {"DIF4UOverRide", &Settings_Properties::DIF4UOverRide, 0},
    {"DummyPGC", &Settings_Properties::DummyPGC, 0},
    {"SourceDrive", &Settings_Properties::SourceDrive, 0},
    {"SourceSet", &Settings_Properties::SourceSet, 0},
    {"DestDrive", &Settings_Properties::DestDrive, 0},
    {"DestSet", &Settings_Properties::DestSet, 0},
    {"SourceText", &Settings_Properties::SourceText, ""},
    {"DestText", &Settings_Properties::DestText, ""},
    {"WorkingSet", &Settings_Properties::WorkingSet, 0},
    {"WorkingText", &Settings_Properties::WorkingText, ""},
    {"DestDriveText", &Settings_Properties::DestDriveText, ""},
    {"No_ReEncode", &Settings_Properties::No_ReEncode, 0},
    {"Avisynth", &Settings_Properties::Avisynth_Version, ""},
    {"Convert", &Settings_Properties::Conversion, 0},
    {"AutoSelectConversion", &Settings_Properties::AutoSelectConversion, 0},
    {"Low_Pass_Filter", &Settings_Properties::Low_Pass_Filter_Index, 0},
    {"Vertical_Filter", &Settings_Properties::Vertical_Filter_Index, 0},
    {"Dithered", &Settings_Properties::Dithered_Index, 0},
    {"Quantizer", &Settings_Properties::Quantizer_Index, 0},
    {"Low_Pass", &Settings_Properties::Low_Pass, 0},
    {"Vertical", &Settings_Properties::Vertical, 0},
    {"Dither", &Settings_Properties::Dither, 0},
    {"AC3Threshold", &Settings_Properties::Audio_AC3_Encode_Threshold_Index, 0},
    {"SoftEncode", &Settings_Properties::Audio_SoftEncode_Path, ""},
    };
    return table;
}

std::string getstring(const Registry& registry, RegistryRoot root, const std::string& key, const std::string& name) {
    return registry.getstring(root, key, name);
}

void savestring(Registry& registry, RegistryRoot root, const std::string& key, const std::string& name,
                const std::string& text) {
    registry.savestring(root, key, name, text);
}

std::uint32_t getdword(const Registry& registry, RegistryRoot root, const std::string& key, const std::string& name) {
    return registry.getdword(root, key, name);
}

void SaveDword(Registry& registry, RegistryRoot root, const std::string& key, const std::string& name,
               std::uint32_t value) {
    registry.SaveDword(root, key, name, value);
}

void DeleteKey(Registry& registry, RegistryRoot root, const std::string& key) { registry.DeleteKey(root, key); }

void ApplyFirstRunSettings(Settings_Properties& settings) {
    for (const auto& stored : StoredSettings()) {
        if (auto number = std::get_if<std::int16_t Settings_Properties::*>(&stored.Field)) {
            settings.*(*number) = static_cast<std::int16_t>(std::get<int>(stored.FirstRun));
        } else {
            settings.*std::get<std::string Settings_Properties::*>(stored.Field) = std::get<const char*>(stored.FirstRun);
        }
    }
    settings.Sce_Minimize_Compile = 0;
    settings.Sce_Minimize_Script_Import = 0;
}

std::int16_t AudioBitrateFromIndex(std::int16_t ac3Bitrate) {
    switch (ac3Bitrate) {
        case 128: case 160: case 192: case 224: case 256: case 320: case 384: case 448:
            return ac3Bitrate;
        default:
            return 0;
    }
}

bool LoadStoredSettings(const Registry& registry, Settings_Properties& settings) {
    const auto saveSettings = static_cast<std::int16_t>(getdword(registry, RegistryRoot::CurrentUser, kSettingsKey,
                                                                 "Save_Settings"));
    if (saveSettings == 2) {
        for (const auto& stored : StoredSettings()) {
            if (auto number = std::get_if<std::int16_t Settings_Properties::*>(&stored.Field)) {
                // The stored dword is handed to its 16-bit field as it is; no
                // value check, as a list index goes to its list unchanged.
                settings.*(*number) = static_cast<std::int16_t>(
                    getdword(registry, RegistryRoot::CurrentUser, kSettingsKey, stored.Value));
            } else {
                settings.*std::get<std::string Settings_Properties::*>(stored.Field) =
                    getstring(registry, RegistryRoot::CurrentUser, kSettingsKey, stored.Value);
            }
        }
        settings.Sce_Minimize_Compile =
            getdword(registry, RegistryRoot::CurrentUser, kSettingsKey, "Minimize_Compile") > 0 ? 1 : 0;
        settings.Sce_Minimize_Script_Import =
            getdword(registry, RegistryRoot::CurrentUser, kSettingsKey, "Minimize_Import") > 0 ? 1 : 0;
        if (settings.CCE_Method == 3) settings.CCE_Method = 2;
        settings.Audio_Bitrate = AudioBitrateFromIndex(settings.Audio_Bitrate_Index);
        return false;
    }

    ApplyFirstRunSettings(settings);
    if (saveSettings == 1) settings.Default_Save_Settings = 1;
    if (settings.Default_Save_Settings == 0) settings.Default_Save_Settings = 2;
    settings.Audio_Bitrate = AudioBitrateFromIndex(settings.Audio_Bitrate_Index);
    return true;
}

void SaveEverySetting(Registry& registry, const Settings_Properties& settings) {
    Registry::DeferSave once(registry);
    for (const auto& stored : StoredSettings()) {
        if (auto number = std::get_if<std::int16_t Settings_Properties::*>(&stored.Field)) {
            // A negative 16-bit value is kept as its 32-bit pattern, as a
            // registry dword holds it.
            SaveDword(registry, RegistryRoot::CurrentUser, kSettingsKey, stored.Value,
                      static_cast<std::uint32_t>(static_cast<std::int32_t>(settings.*(*number))));
        } else {
            savestring(registry, RegistryRoot::CurrentUser, kSettingsKey, stored.Value,
                       settings.*std::get<std::string Settings_Properties::*>(stored.Field));
        }
    }
    SaveDword(registry, RegistryRoot::CurrentUser, kSettingsKey, "Minimize_Compile",
              settings.Sce_Minimize_Compile != 0 ? 1 : 0);
    SaveDword(registry, RegistryRoot::CurrentUser, kSettingsKey, "Minimize_Import",
              settings.Sce_Minimize_Script_Import != 0 ? 1 : 0);
    savestring(registry, RegistryRoot::CurrentUser, kSettingsKey, "Encode_Setting", "");
}

void SetSave(Registry& registry, const Settings_Properties& settings) {
    if (settings.Default_Save_Settings == 2) {
        SaveEverySetting(registry, settings);
        return;
    }
    Registry::DeferSave once(registry);
    DeleteKey(registry, RegistryRoot::CurrentUser, kSettingsKey);
    SaveDword(registry, RegistryRoot::CurrentUser, kSettingsKey, "Save_Settings", 1);
}

}  // namespace kestrova
