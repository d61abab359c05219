// The two one-row records every stage reads its options from: `Settings`,
// the user's lasting choices kept in the registry, and `Temp_Settings`, the
// state of one process and job. The stored values, their names and their
// first-run values are one table, so loading, saving and the first run can
// never disagree about a value.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "model/collection.h"
#include "platform/registry.h"

namespace kestrova {

// Flags of this record are numbers, 1 for true.
struct Settings_Properties {
    // Stored under software\Kestrova\settings, in the order of the table.
    std::int16_t CCE_Passes_Index = 0;
    std::int16_t CCE_Method = 0;
    std::int16_t CCE_Average_Bitrate_Index = 0;
    std::int16_t CCE_Q_Factor_Index = 0;
    std::int16_t Field_Index = 0;
    std::int16_t Rejig_Index = 0;
    std::int16_t Compliant = 0;
    std::int16_t EncodeStills = 0;
    std::int16_t ECL_Index = 0;
    std::int16_t ProcessAssets = 0;
    std::int16_t GUI = 0;
    std::int16_t HCOriginal = 0;
    std::string CCEPath;
    std::string ProcoderPath;
    std::string QuencPath;
    std::string RejigPath;
    std::int16_t UseCCE = 0;
    std::int16_t UseProcoder = 0;
    std::int16_t UseQuenc = 0;
    std::int16_t UseRejig = 0;
    std::int16_t Extreme = 0;
    std::int16_t Trellis = 0;
    std::int16_t Procoder_Index = 0;
    std::int16_t ConfirmAR = 0;
    std::int16_t DeleteTempFiles = 0;
    std::string HCPath;
    std::int16_t UseHC = 0;
    std::int16_t HCProfile = 0;
    std::int16_t HCMatrix = 0;
    std::int16_t PixelThreshold = 0;
    std::int16_t ShowCommands = 0;
    std::int16_t ShowLinks = 0;
    std::int16_t N_Index = 0;
    std::int16_t M_Index = 0;
    std::int16_t Sequence_Index = 0;
    std::int16_t Restrict_I_Frame = 0;
    std::int16_t Close_Gops = 0;
    std::int16_t AutoGopSize = 0;
    std::int16_t CCE_Matrix = 0;
    std::int16_t CCE_Quality_Setting = 0;
    std::int16_t Scanning_Index = 0;
    std::int16_t Intra_Index = 0;
    std::int16_t Templates = 0;
    std::int16_t FrameType_Index = 0;
    std::int16_t Sce_Compile_Option = 0;
    std::int16_t Automate = 0;
    std::int16_t Muxman = 0;
    std::int16_t SingleMXP = 0;
    std::int16_t RemovePGCCommands = 0;
    std::int16_t RemoveLink = 0;
    std::int16_t RemoveButton = 0;
    std::int16_t ScenaidMode = 0;
    std::int16_t RemoveAssets = 0;
    std::int16_t RemoveAssetsVMG = 0;
    std::int16_t AutoSelectVMG = 0;
    std::int16_t AutoSelectVTS = 0;
    std::int16_t MakeISO = 0;
    std::int16_t DGDecode = 0;
    std::int16_t HighlightsAll = 0;
    std::int16_t HighlightsFirst = 0;
    std::int16_t ExamineHighlights = 0;
    std::int16_t Audio_Correct_AC3_Delay = 0;
    std::int16_t Audio_Pad = 0;
    std::int16_t Audio_SoftEncode = 0;
    std::int16_t Audio_Besweet = 0;
    std::int16_t Audio_Bitrate_Index = 0;
    std::int16_t Audio_DeleteRegistryKey = 0;
    std::int16_t Audio_CorrectCRC = 0;
    std::int16_t Strip_UOP = 0;
    std::int16_t Default_Minimize_Kestrova = 0;
    std::int16_t Default_Close_Kestrova = 0;
    std::int16_t Default_DIF4U = 0;
    std::int16_t Default_Enable_Log = 0;
    std::int16_t Default_Save_Settings = 0;
    std::int16_t Default_Pause = 0;
    std::int16_t Default_Threshold_index = 0;
    std::int16_t Default_Language_Index = 0;
    std::int16_t Default_Encode_Threshold = 0;
    std::int16_t Default_OutputDestination = 0;
    std::int16_t Default_RewriteSST = 0;
    std::int16_t Default_SST_index = 0;
    std::int16_t Default_SSTSingleThreshold = 0;
    std::int16_t EnableReBuilder = 0;
    std::string RebuilderPath;
    std::int16_t PreviewVOBS = 0;
    std::int16_t HighContrast = 0;
    std::int16_t Equalize = 0;
    std::int16_t CopyFiles = 0;
    std::int16_t Reverse = 0;
    std::int16_t SourceCopy = 0;
    std::int16_t NoCopy = 0;
    std::int16_t UseDVD = 0;
    std::int16_t DIF4UOverRide = 0;
    std::int16_t DummyPGC = 0;
    std::int16_t SourceDrive = 0;
    std::int16_t SourceSet = 0;
    std::int16_t DestDrive = 0;
    std::int16_t DestSet = 0;
    std::string SourceText;
    std::string DestText;
    std::int16_t WorkingSet = 0;
    std::string WorkingText;
    std::string DestDriveText;
    std::int16_t No_ReEncode = 0;
    std::string Avisynth_Version;
    std::int16_t Conversion = 0;
    std::int16_t AutoSelectConversion = 0;
    std::int16_t Low_Pass_Filter_Index = 0;
    std::int16_t Vertical_Filter_Index = 0;
    std::int16_t Dithered_Index = 0;
    std::int16_t Quantizer_Index = 0;
    std::int16_t Low_Pass = 0;
    std::int16_t Vertical = 0;
    std::int16_t Dither = 0;
    std::int16_t Audio_AC3_Encode_Threshold_Index = 0;
    std::string Audio_SoftEncode_Path;

    // Stored as the two values Minimize_Compile and Minimize_Import.
    std::int16_t Sce_Minimize_Compile = 0;
    std::int16_t Sce_Minimize_Script_Import = 0;

    // The values a stored list index stands for, worked out when the option
    // lists are loaded.
    std::int16_t CCE_Passes = 0;
    std::int16_t CCE_Average_Bitrate = 0;
    std::int16_t CCE_Q_Factor = 0;
    std::string Field;
    std::int16_t ECL_Assets = 0;
    std::int16_t Procoder_CQ = 0;
    std::int16_t Rejig_Quality = 0;
    std::int16_t m = 0;
    std::int16_t N = 0;
    std::int16_t Sequence = 0;
    std::int16_t Low_Pass_Filter = 0;
    std::int16_t Vertical_Filter = 0;
    std::int16_t Dithered = 0;
    std::int16_t Quantizer = 0;
    std::string Scanning;
    std::int16_t Intra = 0;
    std::string FrameType;
    std::int64_t Default_Threshold = 0;  // bytes, from the megabyte text of the list
    std::int32_t Default_Encode = 0;
    std::int16_t Default_SSTThreshold = 0;
    std::int16_t Default_SSTSingle = 0;
    std::int16_t Audio_Bitrate = 0;

    // Not stored.
    std::string Start_OutputDir;
    std::string Encoder;
    std::int16_t CCE_Close_Gops = 0;
    std::int16_t CCE_Scanning_Order = 0;
    std::int16_t CCE_Resolution = 0;
    std::int16_t CCE_Setting = 0;
    std::string Encode_Setting;
    std::string Default_Language;
    std::int16_t Default_Copy = 0;
    std::int16_t Default_Min_CCE = 0;
    std::int16_t Audio_AC3_Encode_Threshold = 0;
    std::int16_t No_ReEncodeSave = 0;
    std::int16_t ProgressiveFlag = 0;
    std::int16_t ScanningFlag = 0;
    std::int16_t Detailed = 0;
    std::string Avisynth_Dvd2avi_Version;
};

// Flags of this record are 0 and -1.
struct Temp_Settings_Properties {
    std::int16_t Control = 0;  // flag
    std::int16_t CCE = 0;  // flag
    std::int16_t Rejig = 0;  // flag
    std::int16_t OnePass = 0;  // flag
    std::int16_t MultiPass = 0;  // flag
    std::int16_t Passes = 0;
    std::int16_t Start = 0;  // flag
    std::int16_t Pause = 0;  // flag
    std::int16_t RoBa = 0;  // flag
    std::int16_t Rejig_Compression = 0;
    std::int32_t Ave_Bitrate = 0;
    std::int16_t Minimize = 0;  // flag
    std::int16_t Deinterlace = 0;  // flag
    std::int32_t Threshold = 0;
    std::string CurrentLanguage;
    std::int16_t StreamCount = 0;
    std::string FilePath;
    std::string Root;
    std::int16_t Files_Encoded = 0;  // flag
    std::string RootFolder;
    std::string DriveRoot;
    std::int64_t FolderSize = 0;
    std::string Location;
    std::int16_t Progress = 0;
    std::string cProcedure;
    std::int16_t ProgressCounter = 0;
    std::int16_t TotalMenus = 0;
    std::int16_t CurrentMenu = 0;
    std::int16_t Demuxing = 0;  // flag
    std::string CurrentFolder;
    std::int32_t SubSize = 0;
    std::int16_t ZipCount = 0;
    std::int16_t AudioEncoding = 0;  // flag
    std::int16_t AudioCount = 0;
    std::int16_t SoftTest = 0;  // flag
    std::int16_t CCEBatch = 0;
    std::string CCEBatchPath;
    std::int16_t CCEInstance = 0;
    std::int16_t Encoding = 0;  // flag
    std::int16_t VideoCount = 0;
    std::int16_t PlaceHolderTest = 0;  // flag
    std::int16_t Scan = 0;  // flag
    std::int16_t WindowState = 0;  // flag
    std::string CurrentProcedure;
    std::int16_t Activate = 0;  // flag
    std::int16_t Film = 0;  // flag
    std::int16_t ConvertAudio = 0;  // flag
    std::int16_t AudioBitrate = 0;
    std::string AudioChannels;
    std::int16_t MultiChannel = 0;  // flag
    std::int16_t RecoveryVTS = 0;
    std::int16_t RecoveryModule = 0;
    std::int16_t Recover = 0;  // flag
    std::string RecoveryLanguage;
    std::int16_t ResumePGC = 0;  // flag
    std::int16_t StreamReduction = 0;
    std::string CCEVersion;
    std::int16_t CCEBasic = 0;  // flag
    std::int16_t CCERetail = 0;  // flag
    std::string CCEPath;
    std::int16_t Works = 0;  // flag
    std::string ProductName;
    std::int16_t MaxTitles = 0;
    std::int16_t ForcedStrip = 0;  // flag
    std::int16_t Pgcdemux = 0;  // flag
    std::int16_t NoAuthor = 0;  // flag
    std::int16_t MuxScripts = 0;  // flag
    std::string DoitCommand;
    std::string TempDrive;
    std::int16_t LoadOnly = 0;  // flag
    std::string FolderOnly;
    std::int16_t FolderString = 0;  // flag
    std::int16_t ScriptFailure = 0;  // flag
    std::int64_t RemainingFiles = 0;
    std::int16_t TemporaryOriginal = 0;  // flag
    std::int16_t AlternateGUI = 0;  // flag
    std::int16_t ResetDVDDEC = 0;  // flag
    std::int16_t DifFromINI = 0;  // flag
};

using Settings = Collection<Settings_Properties>;
using Temp_Settings = Collection<Temp_Settings_Properties>;

// One stored value: its registry name, the field it fills, and what a first
// run starts from.
struct StoredSetting {
    const char* Value;
    std::variant<std::int16_t Settings_Properties::*, std::string Settings_Properties::*> Field;
    std::variant<int, const char*> FirstRun;
};

const std::vector<StoredSetting>& StoredSettings();

inline constexpr const char* kSettingsKey = "software\\Kestrova\\settings";
inline constexpr const char* kProgramKey = "Software\\Kestrova";

// The registry access of the settings, by the names the rest of the
// program uses. Absent values read as 0 and empty.
std::string getstring(const platform::Registry& registry, platform::RegistryRoot root, const std::string& key,
                      const std::string& name);
void savestring(platform::Registry& registry, platform::RegistryRoot root, const std::string& key,
                const std::string& name, const std::string& text);
std::uint32_t getdword(const platform::Registry& registry, platform::RegistryRoot root, const std::string& key,
                       const std::string& name);
void SaveDword(platform::Registry& registry, platform::RegistryRoot root, const std::string& key,
               const std::string& name, std::uint32_t value);
void DeleteKey(platform::Registry& registry, platform::RegistryRoot root, const std::string& key);

// Reads the stored settings into the record: every value when
// Save_Settings is 2, else the first-run values (and Default_Save_Settings
// becomes 2 so the next save keeps them). Returns true for a first run.
bool LoadStoredSettings(const platform::Registry& registry, Settings_Properties& settings);

// Applies the first-run column of the table.
void ApplyFirstRunSettings(Settings_Properties& settings);

// Writes every stored value, in one save of the hive.
void SaveEverySetting(platform::Registry& registry, const Settings_Properties& settings);

// Before each job and at the end of the program: everything is saved when
// Default_Save_Settings is 2; otherwise the settings key is removed and only
// Save_Settings = 1 is kept, so the next start begins from first-run values.
void SetSave(platform::Registry& registry, const Settings_Properties& settings);

// The audio bitrate the stored AC3Bitrate stands for: one of the list's
// eight rates, or 0 (no entry ticked) for another number.
std::int16_t AudioBitrateFromIndex(std::int16_t ac3Bitrate);

}  // namespace kestrova
