// The blocks of a Scenarist script and the keys each knows, as the script
// writers write them: for each kind of block its value keys and the blocks
// it may hold, each block known by its "key=value" line. A "%" in a key
// stands for a run of digits ("Button Color %", "Color %").
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kestrova {

enum class ScenaristBlock : std::uint8_t {
    Root,
    // Objects
    Version,
    DataObject,
    TrackObject,
    Scenario,
    ProjectInfo,
    DefaultSetting,
    PaletteObject,
    // Data items
    DataFolderList,
    DataFolder,
    AssetList,
    VideoAsset,
    AudioAsset,
    SubpictureAsset,
    Size,
    ConversionRule,
    Conversion,
    Rgb,
    DcsStream,
    DisplayStart,
    DisplayStop,
    Rectangle,
    PixelArea,
    ColorSet,
    // Tracks
    TrackFolderList,
    TrackFolder,
    TrackList,
    Track,
    AudioStreamList,
    AudioStream,
    Play,
    SubpictureStreamList,
    SubpictureStream,
    SubpicturePlay,
    HighlightStream,
    HighlightPlay,
    ButtonColor,
    ButtonList,
    Button,
    SceneList,
    Scene,
    Uop,
    PictureStream,
    // Scenario
    EmptyList,
    VtsList,
    Domain,
    DualScene,
    ReferenceList,
    LanguageList,
    Language,
    PgcList,
    Pgc,
    CommandList,
    Command,
    AudioAttributes,
    AudioAttribute,
    SubpictureAttributes,
    SubpictureAttribute,
    ProgramList,
    Program,
    CellList,
    Cell,
    MenuList,
    Menu,
    TitleList,
    Title,
    // Project info, default settings, palettes
    Jacket,
    TextData,
    LayoutInfo,
    DiscInfo,
    DvdVideoInfo,
    RegionalArea,
    DiscImage,
    Leadin,
    Encryption,
    EncryptKey,
    Cmi,
    CmiList,
    DataEditor,
    StillSettings,
    DefaultSubpicture,
    SubtitleText,
    TrackEditor,
    LanguageSettings,
    Palette,
    Count
};

// A block a block may hold: its key (a pattern) and its value (exact).
struct ScenaristBlockRule {
    std::string_view Key;
    std::string_view Value;
    ScenaristBlock Block;
};

struct ScenaristSchema {
    std::string_view Name;  // for messages: "a PGC"
    std::span<const std::string_view> Keys;
    std::span<const ScenaristBlockRule> Blocks;
};

const ScenaristSchema& SchemaOf(ScenaristBlock block);

// True when the key fits the pattern, "%" taking one or more digits.
bool KeyMatches(std::string_view pattern, std::string_view key);

}  // namespace kestrova
