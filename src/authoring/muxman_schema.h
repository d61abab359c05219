// The blocks of a Muxman script and the keys each knows, as the script
// writers write them, and the parts of its command lines. A block is
// known by its "key=value" line ("Item=Segment", "Section=Content"); a "%"
// in a key or a value stands for a run of digits ("Color %", "Item=VTS%").
// The lines of a command list ("Pre1: LinkPGCN VTS001EnglishPGC2") and of a
// menu (one bare command line per button) are commands, not key=value
// statements, even where they hold an "=".
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestrova {

enum class MuxmanBlock : std::uint8_t {
    Root,
    Settings,
    Palette,
    Content,
    Segment,
    VideoStream,
    VideoPlay,
    AudioStream,
    AudioPlay,
    SubpictureStream,
    SubpicturePlay,
    HighlightStream,
    HighlightPlay,
    ButtonColor,
    Button,
    SceneList,
    Scene,
    Navigation,
    Domain,
    Language,
    Title,
    Pgc,
    PreCommands,
    PostCommands,
    CellCommands,
    ProgramList,
    Program,
    Cell,
    Menu,
    PartOfTitle,
    Count
};

// A block a block may hold: its key and its value (patterns).
struct MuxmanBlockRule {
    std::string_view Key;
    std::string_view Value;
    MuxmanBlock Block;
};

struct MuxmanSchema {
    std::string_view Name;  // for messages: "a PGC"
    std::span<const std::string_view> Keys;
    std::span<const MuxmanBlockRule> Blocks;
    // A command list's label ("Pre", "Post", "Cell"); "" for a menu's bare
    // lines. Lines of such a block are commands.
    std::string_view CommandLabel;
    bool HoldsCommands = false;
};

const MuxmanSchema& MuxmanSchemaOf(MuxmanBlock block);

// The sections in the order a script holds them.
inline constexpr std::string_view kMuxmanSections[] = {"Settings", "Content", "Navigation"};

// --- Command lines ----------------------------------------------------------

// The kind of object the name in a command line reaches.
enum class MuxmanTargetKind : std::uint8_t {
    None,
    Pgc,           // LinkPGCN X: a PGC of the caller's language unit or title
    Program,       // LinkPGN X: a program of the caller's PGC
    Cell,          // LinkCN X: a cell of the caller's PGC
    Title,         // JumpTT X: a title of any title set
    VtsTitle,      // JumpVTS_TT X: a title of the caller's title set
    TitleProgram,  // JumpVTS_PTT X: a program of a title of the caller's title set
    VmgPgc,        // JumpSS X, CallSS RSM=n, X: a PGC of the Video Manager
};

// Where the name stands in a command line: the marker in front of it
// decides the kind; Length 0 with a kind is a marker with no name behind it.
struct MuxmanTarget {
    MuxmanTargetKind Kind = MuxmanTargetKind::None;
    std::size_t At = 0;
    std::size_t Length = 0;
    // The text of a target the translation left as the decoder wrote it:
    // "pgc=" n of a CallSS with resume cell 0, "vts_0" of a JumpSS.
    bool VmgPgcByNumber = false;
    bool TitleSetZero = false;
};

// The target of a translated command line. The name runs from its marker
// to the next ", " or " }" or to the end of the line.
MuxmanTarget FindMuxmanTarget(std::string_view command);

// The text as the command decoder wrote it before the translation, as far
// as it can be told: the name in place of a number ("1"), "GoTo Pre4" as
// "GoTo 4". Lines the translation made its own ("LinkTopC, button=1" in
// place of a link) may still differ.
std::string DecoderText(std::string_view command, const MuxmanTarget& target);

// A time "HH:MM:SS:FF". Semicolon: the frames follow ";" (as a drop-frame
// time is written), which the writers turn into ":".
enum class MuxmanTime { Good, Semicolon, Bad };
MuxmanTime CheckMuxmanTime(std::string_view text);

}  // namespace kestrova
