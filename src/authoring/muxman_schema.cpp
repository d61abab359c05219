// The key table of Muxman scripts and the parts of their command lines:
// see muxman_schema.h. The keys and block lines are those the writers
// write, their spellings included ("Contr", "Numeric Selected Buttons",
// "UOP" in the first PGC beside "Uop" in the others).
#include "authoring/muxman_schema.h"

#include <array>

namespace kestrova {

namespace {

using B = MuxmanBlock;
using Keys = std::string_view;
using Rule = MuxmanBlockRule;

constexpr Rule kRootBlocks[] = {
    {"Section", "Settings", B::Settings}, {"Section", "Content", B::Content}, {"Section", "Navigation", B::Navigation}};

// --- Settings ----------------------------------------------------------------

constexpr Keys kSettingsKeys[] = {"Destination Folder"};
constexpr Rule kSettingsBlocks[] = {{"Item", "Palette", B::Palette}};
constexpr Keys kPaletteKeys[] = {"Name", "Color %"};

// --- Content -----------------------------------------------------------------

constexpr Rule kContentBlocks[] = {{"Item", "Segment", B::Segment}};
constexpr Keys kSegmentKeys[] = {"Name", "Display Mode"};
constexpr Rule kSegmentBlocks[] = {
    {"Item", "Video Stream", B::VideoStream},
    {"Item", "Audio Stream", B::AudioStream},
    {"Item", "Sub-Picture Stream", B::SubpictureStream},
    {"Item", "Highlight Stream", B::HighlightStream},
    {"Item", "Scene List", B::SceneList},
};
constexpr Keys kVideoStreamKeys[] = {"Coding Mode", "Standard", "CC Field 1", "CC Field 2"};
constexpr Rule kVideoStreamBlocks[] = {{"Item", "Video Play", B::VideoPlay}};
constexpr Keys kVideoPlayKeys[] = {"File", "Duration"};
constexpr Keys kAudioStreamKeys[] = {"Stream Number", "Language", "Language Extension", "Delay"};
constexpr Rule kAudioStreamBlocks[] = {{"Item", "Audio Play", B::AudioPlay}};
constexpr Keys kFileKey[] = {"File"};
constexpr Keys kSubpictureStreamKeys[] = {"Stream Number", "Language", "Language Extension", "Display Mode"};
constexpr Rule kSubpictureStreamBlocks[] = {{"Item", "Sub-Picture Play", B::SubpicturePlay}};
constexpr Keys kSubpicturePlayKeys[] = {"File",        "Start",       "Forced Start", "Time Code",
                                        "Duration",    "Origin",      "Display Area", "Color 1(Pa)",
                                        "Color 2(E1)", "Color 3(E2)", "Color",        "Contr"};
constexpr Rule kHighlightStreamBlocks[] = {{"Item", "Highlight Play", B::HighlightPlay}};
constexpr Keys kHighlightPlayKeys[] = {"Start",
                                       "Duration",
                                       "Select End Time",
                                       "Button Mode %",
                                       "Offset",
                                       "Numeric Selected Buttons",
                                       "Forced Selected Button",
                                       "Forced Activated Button"};
constexpr Rule kHighlightPlayBlocks[] = {{"Item", "Button Color %", B::ButtonColor}, {"Item", "Button", B::Button}};
constexpr Keys kButtonColorKeys[] = {"Selection Color", "Selection Contr", "Action Color", "Action Contr"};
constexpr Keys kButtonKeys[] = {"Name",        "Color Index",  "Auto Action Mode", "Area %",
                                "Left Button", "Right Button", "Up Button",        "Down Button"};
constexpr Rule kSceneListBlocks[] = {{"Item", "Scene", B::Scene}};
constexpr Keys kSceneKeys[] = {"Name", "Scene Time", "Uop"};

// --- Navigation --------------------------------------------------------------

constexpr Rule kNavigationBlocks[] = {
    {"Item", "First PGC", B::Pgc}, {"Item", "VMG", B::Domain}, {"Item", "VTS%", B::Domain}};
constexpr Rule kDomainBlocks[] = {{"Item", "Language", B::Language}, {"Item", "Title", B::Title}};
constexpr Keys kLanguageKeys[] = {"Name", "Language"};
constexpr Rule kUnitBlocks[] = {{"Item", "PGC", B::Pgc}, {"Item", "Part Of Title List", B::PartOfTitle}};
constexpr Keys kTitleKeys[] = {"Name", "Uop"};
constexpr Keys kPgcKeys[] = {"Name",         "Menu ID",        "Uop",      "UOP",
                             "Next PGC",     "Prev PGC",       "GoUp PGC", "PG Playback Mode",
                             "Repeat Times", "PGC Still Time", "Palette"};
constexpr Rule kPgcBlocks[] = {{"Item", "Pre Commands", B::PreCommands},
                               {"Item", "Post Commands", B::PostCommands},
                               {"Item", "Cell Commands", B::CellCommands},
                               {"Item", "Program List", B::ProgramList}};
constexpr Rule kProgramListBlocks[] = {{"Item", "Program", B::Program}};
constexpr Keys kNameKey[] = {"Name"};
constexpr Rule kProgramBlocks[] = {{"Item", "Cell", B::Cell}};
constexpr Keys kCellKeys[] = {"Name", "Linked Scene", "Command", "Cell Still Time", "Access Restriction Flag"};
constexpr Rule kCellBlocks[] = {{"Item", "Menu", B::Menu}};
constexpr Keys kItemKey[] = {"Item"};

constexpr std::span<const Keys> kNone{};
constexpr std::span<const Rule> kNoBlocks{};

constexpr std::array<MuxmanSchema, static_cast<std::size_t>(B::Count)> kSchemas = [] {
    std::array<MuxmanSchema, static_cast<std::size_t>(B::Count)> t{};
    const auto set = [&t](B block, std::string_view name, std::span<const Keys> keys, std::span<const Rule> blocks) {
        t[static_cast<std::size_t>(block)] = {name, keys, blocks, {}, false};
    };
    set(B::Root, "the file", kNone, kRootBlocks);
    set(B::Settings, "Section=Settings", kSettingsKeys, kSettingsBlocks);
    set(B::Palette, "a palette", kPaletteKeys, kNoBlocks);
    set(B::Content, "Section=Content", kNone, kContentBlocks);
    set(B::Segment, "a segment", kSegmentKeys, kSegmentBlocks);
    set(B::VideoStream, "a video stream", kVideoStreamKeys, kVideoStreamBlocks);
    set(B::VideoPlay, "a video play", kVideoPlayKeys, kNoBlocks);
    set(B::AudioStream, "an audio stream", kAudioStreamKeys, kAudioStreamBlocks);
    set(B::AudioPlay, "an audio play", kFileKey, kNoBlocks);
    set(B::SubpictureStream, "a sub-picture stream", kSubpictureStreamKeys, kSubpictureStreamBlocks);
    set(B::SubpicturePlay, "a sub-picture play", kSubpicturePlayKeys, kNoBlocks);
    set(B::HighlightStream, "a highlight stream", kNone, kHighlightStreamBlocks);
    set(B::HighlightPlay, "a highlight play", kHighlightPlayKeys, kHighlightPlayBlocks);
    set(B::ButtonColor, "a button colour", kButtonColorKeys, kNoBlocks);
    set(B::Button, "a button", kButtonKeys, kNoBlocks);
    set(B::SceneList, "a scene list", kNone, kSceneListBlocks);
    set(B::Scene, "a scene", kSceneKeys, kNoBlocks);
    set(B::Navigation, "Section=Navigation", kNone, kNavigationBlocks);
    set(B::Domain, "a domain", kNone, kDomainBlocks);
    set(B::Language, "a language", kLanguageKeys, kUnitBlocks);
    set(B::Title, "a title", kTitleKeys, kUnitBlocks);
    set(B::Pgc, "a PGC", kPgcKeys, kPgcBlocks);
    set(B::PreCommands, "a pre command list", kNone, kNoBlocks);
    set(B::PostCommands, "a post command list", kNone, kNoBlocks);
    set(B::CellCommands, "a cell command list", kNone, kNoBlocks);
    set(B::ProgramList, "a program list", kNone, kProgramListBlocks);
    set(B::Program, "a program", kNameKey, kProgramBlocks);
    set(B::Cell, "a cell", kCellKeys, kCellBlocks);
    set(B::Menu, "a menu", kNone, kNoBlocks);
    set(B::PartOfTitle, "a part of title list", kItemKey, kNoBlocks);
    t[static_cast<std::size_t>(B::PreCommands)].CommandLabel = "Pre";
    t[static_cast<std::size_t>(B::PostCommands)].CommandLabel = "Post";
    t[static_cast<std::size_t>(B::CellCommands)].CommandLabel = "Cell";
    for (B list : {B::PreCommands, B::PostCommands, B::CellCommands, B::Menu}) {
        t[static_cast<std::size_t>(list)].HoldsCommands = true;
    }
    return t;
}();

// The end of a name: the next ", " or " }", or the end of the line.
std::size_t NameEnd(std::string_view text, std::size_t from) {
    std::size_t end = text.size();
    for (std::string_view stop : {std::string_view(", "), std::string_view(" }")}) {
        const std::size_t at = text.find(stop, from);
        if (at != std::string_view::npos && at < end) end = at;
    }
    return end;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

const MuxmanSchema& MuxmanSchemaOf(MuxmanBlock block) { return kSchemas[static_cast<std::size_t>(block)]; }

MuxmanTarget FindMuxmanTarget(std::string_view command) {
    struct Marker {
        std::string_view Text;
        MuxmanTargetKind Kind;
    };
    // A line holds one link or jump; "JumpTT " is no part of "JumpVTS_TT ".
    static constexpr Marker kMarkers[] = {
        {"LinkPGCN ", MuxmanTargetKind::Pgc},
        {"LinkPGN ", MuxmanTargetKind::Program},
        {"LinkCN ", MuxmanTargetKind::Cell},
        {"JumpVTS_TT ", MuxmanTargetKind::VtsTitle},
        {"JumpVTS_PTT ", MuxmanTargetKind::TitleProgram},
        {"JumpTT ", MuxmanTargetKind::Title},
    };
    MuxmanTarget target;
    for (const Marker& marker : kMarkers) {
        const std::size_t at = command.find(marker.Text);
        if (at == std::string_view::npos) continue;
        target.Kind = marker.Kind;
        target.At = at + marker.Text.size();
        target.Length = NameEnd(command, target.At) - target.At;
        return target;
    }
    // JumpSS and CallSS name a VMG PGC where the decoder wrote "pgc_" n;
    // their other places (first play, the title menu, a title set's menu)
    // stand as the decoder wrote them.
    static constexpr std::string_view kSystemPlaces[] = {"FP_DOM",    "TitleMenu", "RootMenu", "Sub-pictureMenu",
                                                         "AudioMenu", "AngleMenu", "PTT_Menu"};
    const auto place = [&](std::size_t from) {
        const std::size_t end = NameEnd(command, from);
        const std::string_view name = command.substr(from, end - from);
        for (std::string_view known : kSystemPlaces) {
            if (name == known) return;
        }
        if (name.starts_with("vts_")) {
            target.TitleSetZero = name == "vts_0";
            return;
        }
        target.Kind = MuxmanTargetKind::VmgPgc;
        target.At = from;
        target.Length = end - from;
        target.VmgPgcByNumber = name.starts_with("pgc=");
    };
    if (const std::size_t at = command.find("JumpSS "); at != std::string_view::npos) {
        place(at + 7);
    } else if (const std::size_t call = command.find("CallSS"); call != std::string_view::npos) {
        // "CallSS RSM=n, X", or "CallSS, RSM=1, M" for a menu: X is the last part.
        const std::size_t last = command.rfind(", ");
        if (last != std::string_view::npos && last > call) place(last + 2);
    }
    return target;
}

std::string DecoderText(std::string_view command, const MuxmanTarget& target) {
    std::string text;
    if (target.Kind == MuxmanTargetKind::None || target.VmgPgcByNumber) {
        text = command;
    } else {
        std::string_view number = "1";
        if (target.Kind == MuxmanTargetKind::TitleProgram) number = "ptt_1 @ vts_ttn_1";
        if (target.Kind == MuxmanTargetKind::VmgPgc) number = "pgc_1";
        text = std::string(command.substr(0, target.At)) + std::string(number) +
               std::string(command.substr(target.At + target.Length));
    }
    // "GoTo Pre4" is the decoder's "GoTo 4".
    const std::size_t goTo = text.find("GoTo ");
    if (goTo != std::string::npos) {
        std::size_t label = goTo + 5, end = label;
        while (end < text.size() && ((text[end] >= 'A' && text[end] <= 'Z') || (text[end] >= 'a' && text[end] <= 'z')))
            ++end;
        if (end < text.size() && IsDigit(text[end])) text.erase(label, end - label);
    }
    return text;
}

MuxmanTime CheckMuxmanTime(std::string_view text) {
    if (text.size() != 11) return MuxmanTime::Bad;
    for (std::size_t i = 0; i < 11; ++i) {
        if (i % 3 == 2) {
            if (text[i] == ':') continue;
            if (i == 8 && text[i] == ';') continue;
            return MuxmanTime::Bad;
        }
        if (!IsDigit(text[i])) return MuxmanTime::Bad;
    }
    return text[8] == ';' ? MuxmanTime::Semicolon : MuxmanTime::Good;
}

}  // namespace kestrova
