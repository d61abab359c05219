// The key table of Scenarist scripts: see scenarist_schema.h. The keys and
// block lines are those the script writers write, typos included ("Goup
// PGC", "Langues", "Sream").
#include "authoring/scenarist_schema.h"

#include <array>

namespace kestrova {

namespace {

using B = ScenaristBlock;
using Keys = std::string_view;
using Rule = ScenaristBlockRule;

// --- Objects ----------------------------------------------------------------

constexpr Rule kRootBlocks[] = {
    {"Object", "Version", B::Version},          {"Object", "Data Folder", B::DataObject},
    {"Object", "Track Folder", B::TrackObject}, {"Object", "Scenario", B::Scenario},
    {"Object", "Project Info", B::ProjectInfo}, {"Object", "Default Setting", B::DefaultSetting},
    {"Object", "List", B::PaletteObject},
};
constexpr Keys kVersionKeys[] = {
    "Name",          "Major Version",  "Minor Version", "Bug Fix Version", "Data Format Version",
    "Build Version", "Edition Version"};
constexpr Keys kNameKey[] = {"Name"};

// --- Data items ------------------------------------------------------------

constexpr Rule kDataObjectBlocks[] = {{"Data", "List", B::DataFolderList}};
constexpr Rule kDataFolderListBlocks[] = {{"Item", "Data Folder", B::DataFolder}};
constexpr Rule kDataFolderBlocks[] = {{"Data", "List", B::AssetList}};
constexpr Rule kAssetListBlocks[] = {
    {"Item", "Video", B::VideoAsset},
    {"Item", "Encoded Still", B::VideoAsset},
    {"Item", "AC3 Audio", B::AudioAsset},
    {"Item", "Sub-Picture", B::SubpictureAsset},
};
constexpr Keys kVideoAssetKeys[] = {
    "Place Holder",    "Comment",       "Name",           "Resolution",      "Drop Type",
    "Data Start Time", "Data End Time", "File",           "Width",           "Height",
    "Is Encoded",      "Encode Type",   "Size",           "Aspect Ratio",    "Picture Structure",
    "GOP Size",        "GOP Structure", "Bit rate",       "Average Bitrate", "Minimum Bitrate",
    "Bitrate Type",    "Icon Time",     "Line21 Switch1", "Line21 File1",    "Line21 Switch2",
    "Line21 File2",
};
constexpr Keys kAudioAssetKeys[] = {"Place Holder", "Comment",         "Name",          "Resolution",
                                    "Drop Type",    "Data Start Time", "Data End Time", "File",
                                    "Audio Type",   "Bit rate",        "Channel",       "LFE On"};
constexpr Keys kSubpictureAssetKeys[] = {"Place Holder",    "Comment",       "Name", "Resolution", "Drop Type",
                                         "Data Start Time", "Data End Time", "File", "Width",      "Height",
                                         "Is Encoded",      "Size Type",     "Type", "Image Type"};
constexpr Rule kSubpictureAssetBlocks[] = {
    {"Screen Size", "Size", B::Size},
    {"Conversion Rule", "Conversion Rule", B::ConversionRule},
    {"Data Stream", "DCS Stream", B::DcsStream},
};
constexpr Keys kSizeKeys[] = {"X", "Y"};
constexpr Rule kConversionRuleBlocks[] = {
    {"Color 4(Bg)", "Conversion", B::Conversion},
    {"Color 3(P)", "Conversion", B::Conversion},
    {"Color 2(E1)", "Conversion", B::Conversion},
    {"Color 1(E2)", "Conversion", B::Conversion},
};
constexpr Keys kRgbKeys[] = {"Red", "Green", "Blue"};
constexpr Rule kConversionBlocks[] = {{"RGB Color", "RGB", B::Rgb}};
constexpr Rule kDcsStreamBlocks[] = {{"Item", "Display Start", B::DisplayStart},
                                     {"Item", "Display Stop", B::DisplayStop}};
constexpr Keys kDisplayStartKeys[] = {"Data",     "Start Time To Video", "Resolution", "Drop Type", "Start Time",
                                      "Duration", "Forced Start"};
constexpr Rule kDisplayStartBlocks[] = {
    {"Image Area", "Image Area", B::Rectangle}, {"Display Area", "Display Area", B::Rectangle},
    {"Pixel Area", "Pixel Area", B::PixelArea}, {"Color", "Color", B::ColorSet},
    {"Contrast", "Contrast", B::ColorSet},
};
constexpr Keys kDisplayStopKeys[] = {"Data",      "Start Time To Video", "Resolution",
                                     "Drop Type", "Start Time",          "Duration"};
constexpr Keys kRectangleKeys[] = {"X1", "Y1", "X2", "Y2"};
constexpr Keys kPixelAreaKeys[] = {"Top", "Bottom"};
constexpr Keys kColorSetKeys[] = {"Color 1(E2)", "Color 2(E1)", "Color 3(P)", "Color 4(Bg)"};

// --- Tracks ------------------------------------------------------------------

constexpr Rule kTrackObjectBlocks[] = {{"Tracks", "List", B::TrackFolderList}};
constexpr Rule kTrackFolderListBlocks[] = {{"Item", "Track Folder", B::TrackFolder}};
constexpr Rule kTrackFolderBlocks[] = {{"Tracks", "List", B::TrackList}};
constexpr Rule kTrackListBlocks[] = {
    {"Item", "Video Track", B::Track},
    {"Item", "Still Menu Track", B::Track},
    {"Item", "Slide Show Track", B::Track},
};
constexpr Keys kTrackKeys[] = {"Name", "Display Mode"};
constexpr Rule kTrackBlocks[] = {
    {"Audio Streams", "List", B::AudioStreamList},
    {"Sub-Picture Streams", "List", B::SubpictureStreamList},
    {"Highlight Stream", "Highlight Stream", B::HighlightStream},
    {"Scenes", "List", B::SceneList},
    {"Still Stream", "Slide Show Stream", B::PictureStream},
    {"Still Stream", "Slide Menu Stream", B::PictureStream},
    {"Video Stream", "Main Video Stream", B::PictureStream},
};
constexpr Rule kAudioStreamListBlocks[] = {{"Item", "Audio Stream", B::AudioStream}};
constexpr Keys kAudioStreamKeys[] = {"Stream Number", "Language", "Synchronization"};
constexpr Rule kAudioStreamBlocks[] = {{"Item", "Audio Play", B::Play}};
constexpr Keys kPlayKeys[] = {"Data", "Start Time To Video", "Resolution", "Start Time", "Drop Type", "Duration"};
constexpr Rule kSubpictureStreamListBlocks[] = {{"Item", "Sub-Picture Stream", B::SubpictureStream}};
constexpr Keys kSubpictureStreamKeys[] = {"Stream Number", "Display Mode", "Language"};
constexpr Rule kSubpictureStreamBlocks[] = {{"Item", "Sub-Picture Play", B::SubpicturePlay}};
constexpr Keys kSubpicturePlayKeys[] = {"Data",     "Start Time To Video", "Resolution",        "Drop Type",
                                        "Duration", "Start Time",          "Subpicture Repeat", "Repeat Interval"};
constexpr Keys kStreamNumberKey[] = {"Stream Number"};
constexpr Rule kHighlightStreamBlocks[] = {{"Item", "Highlight Play", B::HighlightPlay}};
constexpr Keys kHighlightPlayKeys[] = {
    "Data",
    "Start Time To Video",
    "Resolution",
    "Drop Type",
    "Duration",
    "Start Time",
    "Button Mode %",
    "End Time of Select",
    "Offset Number",
    "# of Numerical Select Buttons",
    "Forced Selected Button #",
    "Forced Activated Button #",
};
constexpr Rule kHighlightPlayBlocks[] = {
    {"Button Color %", "Button Color", B::ButtonColor},
    {"Buttons", "List", B::ButtonList},
    {"Screen Size", "Size", B::Size},
};
constexpr Rule kButtonColorBlocks[] = {
    {"Selection Color", "Color", B::ColorSet},
    {"Selection Contrast", "Contrast", B::ColorSet},
    {"Action Color", "Color", B::ColorSet},
    {"Action Contrast", "Contrast", B::ColorSet},
};
constexpr Rule kButtonListBlocks[] = {{"Item", "Button", B::Button}};
constexpr Keys kButtonKeys[] = {"Name",        "Button Number", "Color Index", "Auto Action Mode",
                                "Left Button", "Right Button",  "Up Button",   "Down Button"};
constexpr Rule kButtonBlocks[] = {{"Highlight Area No.%", "Rectangle", B::Rectangle}};
constexpr Rule kSceneListBlocks[] = {{"Item", "Scene", B::Scene}};
constexpr Keys kSceneKeys[] = {"Name", "Color Palette", "Angle Type", "Scene Time"};
constexpr Rule kUopBlock[] = {{"UOP", "", B::Uop}};
constexpr Keys kUopKeys[] = {
    "UOP0  Time_Play(), Time_Search()",
    "UOP1  PTT_Play(), PTT_Search()",
    "UOP2  TitlePlay()",
    "UOP3  Stop()",
    "UOP4  GoUp()",
    "UOP5  Time_Search(), PTT_Search()",
    "UOP6  PrevPG_Search(), TopPG_Search()",
    "UOP7  NextPG_Search()",
    "UOP8  Forward_Scan()",
    "UOP9  Backward_Search()",
    "UOP10  Menu_Call(Title)",
    "UOP11  Menu_Call(Root)",
    "UOP12  Menu_Call(Sub-picture)",
    "UOP13  Menu_Call(Audio)",
    "UOP14  Menu_Call(Angle)",
    "UOP15  Menu_Call(PTT)",
    "UOP16  Resume()",
    "UOP17  Button_Select()",
    "UOP18  Still_Off()",
    "UOP19  Pause_On()",
    "UOP20  Audio_Sream_Change()",
    "UOP21  Sub-picture_Sream_Change()",
    "UOP22  Angle_Change()",
    "UOP23  Karaoke_Audio()",
    "UOP24  Video_Presentation()",
};
constexpr Rule kPictureStreamBlocks[] = {
    {"Item", "Slide Show Play", B::Play},
    {"Item", "Still Menu Play", B::Play},
    {"Item", "Main Video Play", B::Play},
};

// --- Scenario ----------------------------------------------------------------

constexpr Keys kPlacedKeys[] = {"Name", "Is Visible", "Left Point", "Top Point"};
constexpr Rule kScenarioBlocks[] = {
    {"First PGC", "First PGC", B::Pgc},
    {"Resume PGC", "Resume PGC", B::Pgc},
    {"Video Manager", "Video Manager", B::Domain},
    {"VTS List", "List", B::VtsList},
    {"Parental List", "List", B::EmptyList},
};
constexpr Rule kVtsListBlocks[] = {{"Item", "VTS", B::Domain}};
constexpr Keys kDomainKeys[] = {"Name", "Is Visible", "Left Point", "Top Point", "Source Picture Letterboxed"};
constexpr Rule kDomainBlocks[] = {
    {"Language List", "List", B::LanguageList},
    {"Menu Track List", "Reference List", B::ReferenceList},
    {"Parental List", "Reference List", B::ReferenceList},
    {"Title Track List", "Reference List", B::ReferenceList},
    {"Title List", "List", B::TitleList},
    {"Dual Scene", "Dual Scene", B::DualScene},
};
constexpr Keys kDualSceneKeys[] = {"Scene Domain", "Scene Video Space", "Scene"};
constexpr Keys kItemKey[] = {"Item"};
constexpr Rule kLanguageListBlocks[] = {{"Item", "Language", B::Language}};
constexpr Keys kLanguageKeys[] = {"Name", "Is Visible", "Left Point", "Top Point", "Language Name"};
constexpr Rule kPgcListBlock[] = {{"PGC List", "List", B::PgcList}};
constexpr Rule kPgcListBlocks[] = {{"Item", "PGC", B::Pgc}};
constexpr Keys kPgcKeys[] = {"Name",     "Is Visible", "Left Point",       "Top Point",    "Next PGC",      "Prev PGC",
                             "Goup PGC", "Menu ID",    "PG Playback Mode", "Repeat Times", "PGC Still Time"};
constexpr Rule kPgcBlocks[] = {
    {"Pre Command", "List", B::CommandList},     {"Post Command", "List", B::CommandList},
    {"Cell Command", "List", B::CommandList},    {"UOP", "", B::Uop},
    {"Audio Attribute", "", B::AudioAttributes}, {"Subpicture Attribute", "", B::SubpictureAttributes},
    {"Program List", "List", B::ProgramList},
};
constexpr Rule kCommandListBlocks[] = {{"Item", "Command", B::Command}};
constexpr Keys kCommandKeys[] = {"Name", "Is Visible", "Left Point", "Top Point", "Command", "To Action"};
constexpr Rule kAudioAttributesBlocks[] = {{"Audio Attribute #%", "PGC Audio Attr", B::AudioAttribute}};
constexpr Keys kAudioAttributeKeys[] = {"Stream Number", "Decoding Stream Number #%"};
constexpr Rule kSubpictureAttributesBlocks[] = {
    {"Subpicture Attribute #%", "PGC Sub-Picture Attr", B::SubpictureAttribute}};
constexpr Keys kSubpictureAttributeKeys[] = {
    "Stream Number",
    "Decoding Stream Number for 4:3 #%",
    "Decoding Stream Number for Wide #%",
    "Decoding Stream Number for Letterbox #%",
    "Decoding Stream Number for Pan-scan #%",
};
constexpr Rule kProgramListBlocks[] = {{"Item", "Program", B::Program}};
constexpr Rule kProgramBlocks[] = {{"Cell List", "List", B::CellList}};
constexpr Rule kCellListBlocks[] = {{"Item", "Cell", B::Cell}};
constexpr Keys kCellKeys[] = {"Name",
                              "Is Visible",
                              "Left Point",
                              "Top Point",
                              "Linked Scene",
                              "Seamless Flag",
                              "Access Restriction Flag",
                              "Cell Type",
                              "Cell Still Time",
                              "Cell Command"};
constexpr Rule kCellBlocks[] = {{"Menu List", "List", B::MenuList}};
constexpr Rule kMenuListBlocks[] = {{"Item", "Menu", B::Menu}};
constexpr Keys kMenuKeys[] = {"Name", "Is Visible", "Left Point", "Top Point", "Linked Highlight"};
constexpr Rule kMenuBlocks[] = {{"Command List", "List", B::CommandList}};
constexpr Rule kTitleListBlocks[] = {{"Item", "Title", B::Title}};
constexpr Rule kTitleBlocks[] = {{"PGC List", "List", B::PgcList},
                                 {"Part of Title", "Reference List", B::ReferenceList}};

// --- Project info ------------------------------------------------------------

constexpr Rule kProjectInfoBlocks[] = {
    {"Jacket Information", "Jacket Info", B::Jacket},
    {"Text Data Information", "Text Data Info", B::TextData},
    {"Layout Information", "Layout Info", B::LayoutInfo},
    {"Disc Information", "Disc Info", B::DiscInfo},
    {"Encryption Information", "Encryption Info", B::Encryption},
};
constexpr Keys kJacketKeys[] = {
    "Jacket Information exists", "NTSC Large File", "NTSC Medium File", "NTSC Small File", "PAL Large File",
    "PAL Medium File",           "PAL Small File"};
constexpr Keys kTextDataKeys[] = {"Text Data exists", "Text Data File"};
constexpr Keys kLayoutInfoKeys[] = {"Target Directory", "Disc Image Directory", "Multiplexer Directory",
                                    "DVD Root Directory"};
constexpr Keys kDiscInfoKeys[] = {"Disc Type"};
constexpr Rule kDiscInfoBlocks[] = {
    {"DVD Video Information", "", B::DvdVideoInfo},
    {"Disc Image Information", "", B::DiscImage},
    {"Leadin Information", "", B::Leadin},
};
constexpr Keys kDvdVideoInfoKeys[] = {"Volume Number",       "Number of Volumes", "Disc Side",
                                      "Number of Disc Side", "Layer Type",        "Track Path",
                                      "Disc Size",           "Provider ID",       "Pos Code"};
constexpr Rule kDvdVideoInfoBlocks[] = {{"Regional Area", "", B::RegionalArea}};
constexpr Keys kRegionalAreaKeys[] = {"Regional Code #%"};
constexpr Keys kDiscImageKeys[] = {"PC Directory", "First File of Second Layer", "Volume Name", "File System",
                                   "File Names"};
constexpr Keys kLeadinKeys[] = {"BCA Flag", "Disc Manufacturing File", "Contents Provider File"};
constexpr Keys kEncryptionKeys[] = {"CSS Directory"};
constexpr Rule kEncryptionBlocks[] = {
    {"Disc Key", "Encrypt Key", B::EncryptKey},
    {"Video Manager Key", "Encrypt Key", B::EncryptKey},
    {"Jacket Information Key", "Encrypt Key", B::EncryptKey},
    {"Title Key", "List", B::EmptyList},
    {"Video Manager CMI", "CMI Information", B::Cmi},
    {"Title CMI", "List", B::CmiList},
};
constexpr Keys kEncryptKeyKeys[] = {"Encrypt Key"};
constexpr Keys kCmiKeys[] = {"CPM", "CP_SEC", "CGMS", "APS"};
constexpr Rule kCmiListBlocks[] = {{"Item", "CMI Information", B::Cmi}};

// --- Default setting and palettes ------------------------------------------

constexpr Rule kDefaultSettingBlocks[] = {
    {"Default Setting of Data Editor", "Default Setting of Data Editor", B::DataEditor},
    {"Default Setting of Track Editor", "Default Setting of Track Editor", B::TrackEditor},
};
constexpr Keys kDataEditorKeys[] = {"Resolution", "Drop Type"};
constexpr Rule kDataEditorBlocks[] = {
    {"Default Still", "Still Settings", B::StillSettings},
    {"Default Subpicture", "Sub-picture Settings", B::DefaultSubpicture},
    {"Default Subtitle Text", "Default Subtitle Text", B::SubtitleText},
};
constexpr Keys kStillSettingsKeys[] = {"Still Bit rate", "Still Encode Type", "Still Size", "Still Aspect Ratio"};
constexpr Rule kDefaultSubpictureBlocks[] = {
    {"Default Subpicture Conversion Rule", "Conversion Rule", B::ConversionRule},
    {"Default Subpicture Color", "Color", B::ColorSet},
    {"Default Subpicture Contrast", "Contrast", B::ColorSet},
};
constexpr Keys kSubtitleTextKeys[] = {"Name",      "Bold",      "Italic", "Underline",
                                      "Font Size", "Alignment", "Anchor", "Image Type"};
constexpr Rule kSubtitleTextBlocks[] = {
    {"Default Text Color", "Color", B::ColorSet},
    {"Default Text Contrast", "Contrast", B::ColorSet},
};
constexpr Rule kTrackEditorBlocks[] = {
    {"Button Color %", "Button Color", B::ButtonColor},
    {"4 By 3 Language Settings", "Track Editor Langues Settings", B::LanguageSettings},
    {"16 By 9 Language Settings", "Track Editor Langues Settings", B::LanguageSettings},
    {"4 By 3 Panscan Language Settings", "Track Editor Langues Settings", B::LanguageSettings},
};
constexpr Rule kLanguageSettingsBlocks[] = {
    {"Audio Streams", "List", B::EmptyList},
    {"Sub-picture Streams", "List", B::EmptyList},
};
constexpr Rule kPaletteObjectBlocks[] = {{"Item", "Color Palette", B::Palette}};
constexpr Rule kPaletteBlocks[] = {{"Color %", "RGB", B::Rgb}};

constexpr std::span<const Keys> kNone{};
constexpr std::span<const Rule> kNoBlocks{};

constexpr std::array<ScenaristSchema, static_cast<std::size_t>(B::Count)> kSchemas = [] {
    std::array<ScenaristSchema, static_cast<std::size_t>(B::Count)> t{};
    const auto set = [&t](B block, std::string_view name, std::span<const Keys> keys, std::span<const Rule> blocks) {
        t[static_cast<std::size_t>(block)] = {name, keys, blocks};
    };
    set(B::Root, "the file", kNone, kRootBlocks);
    set(B::Version, "Object=Version", kVersionKeys, kNoBlocks);
    set(B::DataObject, "Object=Data Folder", kNameKey, kDataObjectBlocks);
    set(B::TrackObject, "Object=Track Folder", kNameKey, kTrackObjectBlocks);
    set(B::Scenario, "Object=Scenario", kPlacedKeys, kScenarioBlocks);
    set(B::ProjectInfo, "Object=Project Info", kNone, kProjectInfoBlocks);
    set(B::DefaultSetting, "Object=Default Setting", kNone, kDefaultSettingBlocks);
    set(B::PaletteObject, "Object=List", kNone, kPaletteObjectBlocks);
    set(B::DataFolderList, "a data folder list", kNone, kDataFolderListBlocks);
    set(B::DataFolder, "a data folder", kNameKey, kDataFolderBlocks);
    set(B::AssetList, "a data item list", kNone, kAssetListBlocks);
    set(B::VideoAsset, "a video item", kVideoAssetKeys, kNoBlocks);
    set(B::AudioAsset, "an audio item", kAudioAssetKeys, kNoBlocks);
    set(B::SubpictureAsset, "a sub-picture item", kSubpictureAssetKeys, kSubpictureAssetBlocks);
    set(B::Size, "a size", kSizeKeys, kNoBlocks);
    set(B::ConversionRule, "a conversion rule", kNone, kConversionRuleBlocks);
    set(B::Conversion, "a conversion", kRgbKeys, kConversionBlocks);
    set(B::Rgb, "an RGB colour", kRgbKeys, kNoBlocks);
    set(B::DcsStream, "a DCS stream", kNone, kDcsStreamBlocks);
    set(B::DisplayStart, "a display start", kDisplayStartKeys, kDisplayStartBlocks);
    set(B::DisplayStop, "a display stop", kDisplayStopKeys, kNoBlocks);
    set(B::Rectangle, "a rectangle", kRectangleKeys, kNoBlocks);
    set(B::PixelArea, "a pixel area", kPixelAreaKeys, kNoBlocks);
    set(B::ColorSet, "a colour or contrast set", kColorSetKeys, kNoBlocks);
    set(B::TrackFolderList, "a track folder list", kNone, kTrackFolderListBlocks);
    set(B::TrackFolder, "a track folder", kNameKey, kTrackFolderBlocks);
    set(B::TrackList, "a track list", kNone, kTrackListBlocks);
    set(B::Track, "a track", kTrackKeys, kTrackBlocks);
    set(B::AudioStreamList, "an audio stream list", kNone, kAudioStreamListBlocks);
    set(B::AudioStream, "an audio stream", kAudioStreamKeys, kAudioStreamBlocks);
    set(B::Play, "a play", kPlayKeys, kNoBlocks);
    set(B::SubpictureStreamList, "a sub-picture stream list", kNone, kSubpictureStreamListBlocks);
    set(B::SubpictureStream, "a sub-picture stream", kSubpictureStreamKeys, kSubpictureStreamBlocks);
    set(B::SubpicturePlay, "a sub-picture play", kSubpicturePlayKeys, kNoBlocks);
    set(B::HighlightStream, "a highlight stream", kStreamNumberKey, kHighlightStreamBlocks);
    set(B::HighlightPlay, "a highlight play", kHighlightPlayKeys, kHighlightPlayBlocks);
    set(B::ButtonColor, "a button colour", kNone, kButtonColorBlocks);
    set(B::ButtonList, "a button list", kNone, kButtonListBlocks);
    set(B::Button, "a button", kButtonKeys, kButtonBlocks);
    set(B::SceneList, "a scene list", kNone, kSceneListBlocks);
    set(B::Scene, "a scene", kSceneKeys, kUopBlock);
    set(B::Uop, "a UOP list", kUopKeys, kNoBlocks);
    set(B::PictureStream, "a picture stream", kStreamNumberKey, kPictureStreamBlocks);
    set(B::EmptyList, "an empty list", kNone, kNoBlocks);
    set(B::VtsList, "the VTS list", kNone, kVtsListBlocks);
    set(B::Domain, "a domain", kDomainKeys, kDomainBlocks);
    set(B::DualScene, "a dual scene", kDualSceneKeys, kNoBlocks);
    set(B::ReferenceList, "a reference list", kItemKey, kNoBlocks);
    set(B::LanguageList, "a language list", kNone, kLanguageListBlocks);
    set(B::Language, "a language", kLanguageKeys, kPgcListBlock);
    set(B::PgcList, "a PGC list", kNone, kPgcListBlocks);
    set(B::Pgc, "a PGC", kPgcKeys, kPgcBlocks);
    set(B::CommandList, "a command list", kNone, kCommandListBlocks);
    set(B::Command, "a command", kCommandKeys, kNoBlocks);
    set(B::AudioAttributes, "the audio attributes", kNone, kAudioAttributesBlocks);
    set(B::AudioAttribute, "an audio attribute", kAudioAttributeKeys, kNoBlocks);
    set(B::SubpictureAttributes, "the sub-picture attributes", kNone, kSubpictureAttributesBlocks);
    set(B::SubpictureAttribute, "a sub-picture attribute", kSubpictureAttributeKeys, kNoBlocks);
    set(B::ProgramList, "a program list", kNone, kProgramListBlocks);
    set(B::Program, "a program", kPlacedKeys, kProgramBlocks);
    set(B::CellList, "a cell list", kNone, kCellListBlocks);
    set(B::Cell, "a cell", kCellKeys, kCellBlocks);
    set(B::MenuList, "a menu list", kNone, kMenuListBlocks);
    set(B::Menu, "a menu", kMenuKeys, kMenuBlocks);
    set(B::TitleList, "a title list", kNone, kTitleListBlocks);
    set(B::Title, "a title", kPlacedKeys, kTitleBlocks);
    set(B::Jacket, "the jacket information", kJacketKeys, kNoBlocks);
    set(B::TextData, "the text data information", kTextDataKeys, kNoBlocks);
    set(B::LayoutInfo, "the layout information", kLayoutInfoKeys, kNoBlocks);
    set(B::DiscInfo, "the disc information", kDiscInfoKeys, kDiscInfoBlocks);
    set(B::DvdVideoInfo, "the DVD video information", kDvdVideoInfoKeys, kDvdVideoInfoBlocks);
    set(B::RegionalArea, "the regional area", kRegionalAreaKeys, kNoBlocks);
    set(B::DiscImage, "the disc image information", kDiscImageKeys, kNoBlocks);
    set(B::Leadin, "the lead-in information", kLeadinKeys, kNoBlocks);
    set(B::Encryption, "the encryption information", kEncryptionKeys, kEncryptionBlocks);
    set(B::EncryptKey, "an encrypt key", kEncryptKeyKeys, kNoBlocks);
    set(B::Cmi, "a CMI information", kCmiKeys, kNoBlocks);
    set(B::CmiList, "the title CMI list", kNone, kCmiListBlocks);
    set(B::DataEditor, "the data editor's defaults", kDataEditorKeys, kDataEditorBlocks);
    set(B::StillSettings, "the still settings", kStillSettingsKeys, kNoBlocks);
    set(B::DefaultSubpicture, "the sub-picture settings", kNone, kDefaultSubpictureBlocks);
    set(B::SubtitleText, "the subtitle text defaults", kSubtitleTextKeys, kSubtitleTextBlocks);
    set(B::TrackEditor, "the track editor's defaults", kNone, kTrackEditorBlocks);
    set(B::LanguageSettings, "the language settings", kNone, kLanguageSettingsBlocks);
    set(B::Palette, "a colour palette", kNameKey, kPaletteBlocks);
    return t;
}();

}  // namespace

const ScenaristSchema& SchemaOf(ScenaristBlock block) { return kSchemas[static_cast<std::size_t>(block)]; }

bool KeyMatches(std::string_view pattern, std::string_view key) {
    std::size_t k = 0;
    for (std::size_t p = 0; p < pattern.size(); ++p) {
        if (pattern[p] != '%') {
            if (k >= key.size() || key[k] != pattern[p]) return false;
            ++k;
            continue;
        }
        const std::size_t digits = k;
        while (k < key.size() && key[k] >= '0' && key[k] <= '9') ++k;
        if (k == digits) return false;
    }
    return k == key.size();
}

}  // namespace kestrova
