// The authoring model: what an authoring script says about a disc, as plain
// records. Data items (the asset files), tracks with their scenes and
// streams (what a cell can show, with its buttons), the scenario (domains,
// language units, PGCs, programs, cells, titles and the commands with the
// objects they reach) and the colour palettes. Objects refer to one another
// by name, as the scripts do; every object keeps the file and line it was
// read from, so that a check can point at it.
//
// Both dialects read into it. A Muxman script has no data items: its plays
// name their files, its segments are the tracks (in one folder, "Content"),
// its scenes carry a UOP mask in hexadecimal, and its command lists are
// labelled lines ("Pre1: ...") rather than items.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestrova {

// Where an object stands: File indexes ScriptModel::Files; Line counts from
// 1, 0 for an object not read from a file.
struct ScriptPlace {
    std::uint32_t File = 0;
    std::uint32_t Line = 0;
};

// --- Data items ------------------------------------------------------------

enum class ScriptDataKind { Video, Still, Audio, Subpicture };

struct ScriptDataItem {
    ScriptPlace Place;
    ScriptDataKind Kind = ScriptDataKind::Video;
    std::string Name;
    std::string File;  // a drive path
    bool PlaceHolder = false;
    std::string StartTime, EndTime;
    int Width = 0, Height = 0;  // pictures
    std::string AspectRatio;    // video and stills
    int BitRate = 0;            // audio
    std::string Channels;       // audio
    bool Lfe = false;           // audio
};

struct ScriptDataFolder {
    ScriptPlace Place;
    std::string Name;
    std::vector<ScriptDataItem> Items;
};

// --- Tracks ----------------------------------------------------------------

struct ScriptArea {
    int X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
};

// How a Muxman subpicture play shows: the bitmap's colours that become the
// pattern, first and second emphasis pixels ("Color 1(Pa)" to
// "Color 3(E2)", as written), then the palette indices and contrasts
// (0 to 15) of the four pixel codes in the order E2, E1, P, Bg.
struct ScriptSubpictureLook {
    std::string ForcedStart;  // "Yes", "No"
    std::string TimeCode;     // "PAL", "NTSC non-drop"
    int OriginX = 0, OriginY = 0;
    ScriptArea DisplayArea;
    std::array<std::string, 3> PixelColors;
    std::array<int, 4> Color{}, Contrast{};
};

// A stretch of a data item, or of a file, on a track.
struct ScriptPlay {
    ScriptPlace Place;
    std::string Data;  // the data item's name; empty for a highlight or a Muxman play
    std::string File;  // a Muxman play's file (a drive path)
    std::string StartTimeToVideo, StartTime, Duration;
    ScriptSubpictureLook Look;  // Muxman subpicture plays
};

struct ScriptStream {
    ScriptPlace Place;
    int StreamNumber = 0;
    std::string Language;
    int LanguageExtension = 0, Delay = 0;  // Muxman
    std::string DisplayMode;  // subpictures
    std::vector<ScriptPlay> Plays;
};

struct ScriptButton {
    ScriptPlace Place;
    std::string Name;
    int Number = 0;
    int ColorIndex = 0;
    bool AutoAction = false;
    std::vector<ScriptArea> Areas;      // one per highlight area written (a Muxman "Area n=" may be empty)
    std::string Left, Right, Up, Down;  // neighbours by name
};

// Colour indices (1 to 16) and contrasts (percent in a Scenarist script,
// 0 to 15 in a Muxman one) of a button colour group, in the order E2, E1,
// P, Bg.
struct ScriptColorGroup {
    std::array<int, 4> SelectionColor{}, SelectionContrast{}, ActionColor{}, ActionContrast{};
};

struct ScriptHighlight {
    ScriptPlay Play;
    std::string SelectEndTime;  // Muxman
    std::array<std::string, 3> ButtonModes;
    std::vector<ScriptColorGroup> ColorGroups;
    std::vector<ScriptButton> Buttons;
    int OffsetNumber = 0;
    int NumericalButtons = 0;
    std::string ForcedSelected, ForcedActivated;  // as written: a number, "Button" n, or "Nonexistent"
};

struct ScriptScene {
    ScriptPlace Place;
    std::string Name;
    std::string ColorPalette;  // a palette's name
    std::string SceneTime;
    std::vector<std::string> Uops;  // prohibited user operations, as written
    std::string Uop;                // Muxman: the mask in eight hexadecimal digits
};

enum class ScriptTrackKind { Video, StillMenu, SlideShow };

struct ScriptTrack {
    ScriptPlace Place;
    ScriptTrackKind Kind = ScriptTrackKind::Video;
    std::string Name;
    std::string DisplayMode;
    std::vector<ScriptStream> AudioStreams, SubpictureStreams;
    std::vector<ScriptHighlight> Highlights;
    std::vector<ScriptScene> Scenes;
    ScriptPlay Picture;  // the video or still play
    // Muxman: the plays of the video stream in order, and its standard.
    std::vector<ScriptPlay> VideoPlays;
    std::string Standard;
};

struct ScriptTrackFolder {
    ScriptPlace Place;
    std::string Name;
    std::vector<ScriptTrack> Tracks;
};

// --- Scenario --------------------------------------------------------------

struct ScriptCommand {
    ScriptPlace Place;
    std::string Name;
    std::string Text;    // the command as the decoder writes it
    std::string Target;  // the name of the object it reaches; empty for none
};

// The commands of a button group shown on a cell.
struct ScriptMenu {
    ScriptPlace Place;
    std::string Name;
    std::string LinkedHighlight;
    std::vector<ScriptCommand> Commands;  // one per button
};

struct ScriptCell {
    ScriptPlace Place;
    std::string Name;
    std::string LinkedScene;
    std::vector<ScriptMenu> Menus;
    int SeamlessFlag = 0;
    int StillTime = 0;
    int CellCommand = 0;  // 1-based into the PGC's cell commands; 0 for none
};

struct ScriptProgram {
    ScriptPlace Place;
    std::string Name;
    std::vector<ScriptCell> Cells;
};

struct ScriptPgc {
    ScriptPlace Place;
    std::string Name;
    bool Visible = true;
    std::vector<ScriptCommand> PreCommands, PostCommands, CellCommands;
    std::string NextPgc, PrevPgc, GoupPgc;  // names; empty for none
    std::string MenuId;                     // "Title Menu", "Root Menu", "No Menu", ...
    int StillTime = 0;
    std::vector<std::string> Uops;
    std::string Uop;      // Muxman: the mask in eight hexadecimal digits
    std::string Palette;  // Muxman: the palette's name
    std::vector<ScriptProgram> Programs;
};

struct ScriptReference {
    ScriptPlace Place;
    std::string Name;
};

struct ScriptLanguage {
    ScriptPlace Place;
    std::string Name;          // the language unit's code ("en")
    std::string LanguageName;  // "English"
    std::string Label;         // Muxman: the unit's "Name=", the domain and the language name ("VTS001English")
    std::vector<ScriptPgc> Pgcs;
    std::vector<ScriptReference> PartOfTitle;  // Muxman: programs of a title-like unit, by name
};

struct ScriptTitle {
    ScriptPlace Place;
    std::string Name;
    std::string Uop;  // Muxman
    std::vector<ScriptPgc> Pgcs;
    std::vector<ScriptReference> PartOfTitle;  // programs of the title, by name
};

enum class ScriptDomainKind { VideoManager, TitleSet };

struct ScriptDomain {
    ScriptPlace Place;
    ScriptDomainKind Kind = ScriptDomainKind::VideoManager;
    std::string Name;
    std::vector<ScriptLanguage> Languages;
    std::vector<ScriptReference> MenuTracks, TitleTracks;  // tracks, by name
    std::vector<ScriptTitle> Titles;
};

struct ScriptScenario {
    ScriptPlace Place;
    std::optional<ScriptPgc> FirstPgc, ResumePgc;
    std::vector<ScriptDomain> Domains;  // the Video Manager first, then the title sets in order
};

// --- Palettes --------------------------------------------------------------

struct ScriptColor {
    int Index = 0;
    int Red = 0, Green = 0, Blue = 0;
};

struct ScriptPalette {
    ScriptPlace Place;
    std::string Name;
    std::vector<ScriptColor> Colors;
};

// --- The whole -------------------------------------------------------------

enum class ScriptDialect { Scenarist, Muxman };

struct ScriptModel {
    ScriptDialect Dialect = ScriptDialect::Scenarist;
    std::vector<std::string> Files;  // the paths places point into
    int DataFormatVersion = 0;
    std::vector<ScriptDataFolder> DataFolders;
    std::vector<ScriptTrackFolder> TrackFolders;
    ScriptScenario Scenario;
    std::vector<ScriptPalette> Palettes;
    std::string DvdRootDirectory;  // where the authored VIDEO_TS goes ("Destination Folder" of Muxman)
};

}  // namespace kestrova
