// The reader of a Muxman script's tree into the authoring model: see
// script_reader.h. The settings give the destination folder and the
// palettes; each segment of the content a track of the one folder
// "Content"; the navigation the first PGC and the domains, whose language
// units ("Item=Language") and titles ("Item=Title") hold the PGCs.
//
// Command lines are read whole from the statement: the tokenizer splits a
// line at its first "=", which a command line ("Pre1: SetSTN audio=2")
// may hold as any other character.
#include <array>
#include <charconv>

#include "authoring/muxman_schema.h"
#include "authoring/script_reader.h"

namespace kestrova {

namespace {

class MuxmanReader {
public:
    MuxmanReader(const ScriptDocument& document, ScriptDiagnostics& diagnostics, ScriptModel& model)
        : document_(document), diagnostics_(diagnostics), model_(model) {}

    void Read() {
        model_.Dialect = ScriptDialect::Muxman;
        model_.Files.push_back(document_.Path);
        for (const ScriptNode& section : Children(document_.Root())) {
            if (Key(section) != "Section" || !section.IsBlock()) continue;
            if (Value(section) == "Settings") {
                Settings(section);
            } else if (Value(section) == "Content") {
                ScriptTrackFolder& folder = model_.TrackFolders.emplace_back();
                folder.Place = At(section);
                folder.Name = "Content";
                for (const ScriptNode& segment : Blocks(section, "Segment"))
                    Segment(segment, folder.Tracks.emplace_back());
            } else if (Value(section) == "Navigation") {
                Navigation(section);
            }
        }
    }

private:
    // The blocks "Item=<type>" among a node's children, in order.
    class ItemRange {
    public:
        ItemRange(const ScriptDocument& document, std::uint32_t first, std::string_view type)
            : document_(document), first_(first), type_(type) {}
        class Iterator {
        public:
            Iterator(const ItemRange* range, std::uint32_t at) : range_(range), at_(at) { Skip(); }
            const ScriptNode& operator*() const { return range_->document_.Node(at_); }
            Iterator& operator++() {
                at_ = range_->document_.Node(at_).NextSibling;
                Skip();
                return *this;
            }
            bool operator!=(const Iterator& other) const { return at_ != other.at_; }

        private:
            void Skip() {
                const ScriptDocument& document = range_->document_;
                while (at_ != 0) {
                    const ScriptNode& node = document.Node(at_);
                    if (node.IsBlock() && document.Key(node) == "Item" && document.Value(node) == range_->type_) return;
                    at_ = node.NextSibling;
                }
            }
            const ItemRange* range_;
            std::uint32_t at_;
        };
        Iterator begin() const { return {this, first_}; }
        Iterator end() const { return {this, 0}; }

    private:
        const ScriptDocument& document_;
        std::uint32_t first_;
        std::string_view type_;
    };

    ScriptDocument::ChildRange Children(const ScriptNode& node) const { return document_.Children(node); }
    ItemRange Blocks(const ScriptNode& node, std::string_view type) const { return {document_, node.FirstChild, type}; }
    ScriptPlace At(const ScriptNode& node) const { return {0, node.Line}; }
    std::string_view Key(const ScriptNode& node) const { return document_.Key(node); }
    std::string_view Value(const ScriptNode& node) const { return document_.Value(node); }
    std::string Text(const ScriptNode& node) const { return std::string(Value(node)); }
    // A value field: a statement with "=" that opens no block.
    static bool IsField(const ScriptNode& node) { return node.HasEquals() && !node.IsBlock(); }

    void NotANumber(const ScriptNode& node, std::string_view expected) {
        Say(diagnostics_, "value.number", document_.Path, node.Line, [&] {
            return Quoted(Key(node)) + " holds " + Quoted(Value(node)) + ": " + std::string(expected) + " expected";
        });
    }

    static bool ParseInt(std::string_view text, int& number) {
        const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
        return fault == std::errc() && end == text.data() + text.size() && !text.empty();
    }

    int Number(const ScriptNode& node) {
        int number = 0;
        if (ParseInt(Value(node), number)) return number;
        NotANumber(node, "a whole number");
        return 0;
    }

    // A run of whole numbers apart by commas and blanks ("0, 0, 255",
    // "1 2 3 0", "10,20,110,60"): false, reported, unless the count fits.
    template <std::size_t N>
    bool Numbers(const ScriptNode& node, std::array<int, N>& values, std::string_view expected) {
        const std::string_view text = Value(node);
        std::size_t count = 0, at = 0;
        bool good = true;
        while (good && at < text.size()) {
            std::size_t end = at;
            while (end < text.size() && text[end] != ',' && text[end] != ' ') ++end;
            int number = 0;
            if (count == N || !ParseInt(text.substr(at, end - at), number)) {
                good = false;
                break;
            }
            values[count++] = number;
            at = end;
            while (at < text.size() && (text[at] == ',' || text[at] == ' ')) ++at;
        }
        if (good && count == N) return true;
        NotANumber(node, expected);
        return false;
    }

    bool Area(const ScriptNode& node, ScriptArea& area) {
        std::array<int, 4> corners{};
        if (!Numbers(node, corners, "four whole numbers x1,y1,x2,y2")) return false;
        area = {corners[0], corners[1], corners[2], corners[3]};
        return true;
    }

    // --- Settings ---

    void Settings(const ScriptNode& section) {
        for (const ScriptNode& c : Children(section)) {
            if (IsField(c) && Key(c) == "Destination Folder") model_.DvdRootDirectory = Text(c);
        }
        for (const ScriptNode& item : Blocks(section, "Palette")) {
            ScriptPalette& palette = model_.Palettes.emplace_back();
            palette.Place = At(item);
            for (const ScriptNode& c : Children(item)) {
                if (!IsField(c)) continue;
                const std::string_view key = Key(c);
                if (key == "Name") {
                    palette.Name = Text(c);
                } else if (key.starts_with("Color ")) {
                    ScriptColor color;
                    std::array<int, 3> rgb{};
                    if (!ParseInt(key.substr(6), color.Index) || !Numbers(c, rgb, "three whole numbers r, g, b")) {
                        continue;
                    }
                    color.Red = rgb[0];
                    color.Green = rgb[1];
                    color.Blue = rgb[2];
                    palette.Colors.push_back(color);
                }
            }
        }
    }

    // --- Content ---

    void Stream(const ScriptNode& node, ScriptStream& stream, std::string_view playType) {
        stream.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (!IsField(c)) continue;
            const std::string_view key = Key(c);
            if (key == "Stream Number") {
                stream.StreamNumber = Number(c);
            } else if (key == "Language") {
                stream.Language = Text(c);
            } else if (key == "Language Extension") {
                stream.LanguageExtension = Number(c);
            } else if (key == "Delay") {
                stream.Delay = Number(c);
            } else if (key == "Display Mode") {
                stream.DisplayMode = Text(c);
            }
        }
        for (const ScriptNode& item : Blocks(node, playType)) Play(item, stream.Plays.emplace_back());
    }

    void Play(const ScriptNode& node, ScriptPlay& play) {
        play.Place = At(node);
        ScriptSubpictureLook& look = play.Look;
        for (const ScriptNode& c : Children(node)) {
            if (!IsField(c)) continue;
            const std::string_view key = Key(c);
            if (key == "File") {
                play.File = Text(c);
            } else if (key == "Start") {
                play.StartTime = Text(c);
            } else if (key == "Duration") {
                play.Duration = Text(c);
            } else if (key == "Forced Start") {
                look.ForcedStart = Text(c);
            } else if (key == "Time Code") {
                look.TimeCode = Text(c);
            } else if (key == "Origin") {
                std::array<int, 2> origin{};
                if (Numbers(c, origin, "two whole numbers x,y")) {
                    look.OriginX = origin[0];
                    look.OriginY = origin[1];
                }
            } else if (key == "Display Area") {
                Area(c, look.DisplayArea);
            } else if (key == "Color 1(Pa)") {
                look.PixelColors[0] = Text(c);
            } else if (key == "Color 2(E1)") {
                look.PixelColors[1] = Text(c);
            } else if (key == "Color 3(E2)") {
                look.PixelColors[2] = Text(c);
            } else if (key == "Color") {
                Numbers(c, look.Color, "four whole numbers E2 E1 P Bg");
            } else if (key == "Contr") {
                Numbers(c, look.Contrast, "four whole numbers E2 E1 P Bg");
            }
        }
    }

    void Button(const ScriptNode& node, ScriptButton& button) {
        button.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (!IsField(c)) continue;
            const std::string_view key = Key(c);
            if (key == "Name") {
                button.Name = Text(c);
                // Buttons keep their source numbers: "Button3".
                if (button.Name.starts_with("Button")) ParseInt(std::string_view(button.Name).substr(6), button.Number);
            } else if (key == "Color Index") {
                button.ColorIndex = Number(c);
            } else if (key == "Auto Action Mode") {
                button.AutoAction = Value(c) == "Yes";
            } else if (key.starts_with("Area ")) {
                // "Area 2=" and "Area 3=" of a button with fewer areas stand empty.
                ScriptArea area;
                if (!Value(c).empty() && Area(c, area)) button.Areas.push_back(area);
            } else if (key == "Left Button") {
                button.Left = Text(c);
            } else if (key == "Right Button") {
                button.Right = Text(c);
            } else if (key == "Up Button") {
                button.Up = Text(c);
            } else if (key == "Down Button") {
                button.Down = Text(c);
            }
        }
    }

    void Highlight(const ScriptNode& node, ScriptHighlight& highlight) {
        Play(node, highlight.Play);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key != "Item") continue;
                if (Value(c).starts_with("Button Color ")) {
                    ScriptColorGroup& group = highlight.ColorGroups.emplace_back();
                    for (const ScriptNode& f : Children(c)) {
                        if (!IsField(f)) continue;
                        const std::string_view field = Key(f);
                        const std::string_view expected = "four whole numbers E2 E1 P Bg";
                        if (field == "Selection Color") Numbers(f, group.SelectionColor, expected);
                        if (field == "Selection Contr") Numbers(f, group.SelectionContrast, expected);
                        if (field == "Action Color") Numbers(f, group.ActionColor, expected);
                        if (field == "Action Contr") Numbers(f, group.ActionContrast, expected);
                    }
                } else if (Value(c) == "Button") {
                    Button(c, highlight.Buttons.emplace_back());
                }
            } else if (!c.HasEquals()) {
                continue;
            } else if (key.starts_with("Button Mode ") && key.size() == 13 && key[12] >= '1' && key[12] <= '3') {
                highlight.ButtonModes[static_cast<std::size_t>(key[12] - '1')] = Text(c);
            } else if (key == "Select End Time") {
                highlight.SelectEndTime = Text(c);
            } else if (key == "Offset") {
                highlight.OffsetNumber = Number(c);
            } else if (key == "Numeric Selected Buttons") {
                highlight.NumericalButtons = Number(c);
            } else if (key == "Forced Selected Button") {
                highlight.ForcedSelected = Text(c);
            } else if (key == "Forced Activated Button") {
                highlight.ForcedActivated = Text(c);
            }
        }
    }

    void Segment(const ScriptNode& node, ScriptTrack& track) {
        track.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (IsField(c)) {
                if (Key(c) == "Name") track.Name = Text(c);
                if (Key(c) == "Display Mode") track.DisplayMode = Text(c);
            }
        }
        for (const ScriptNode& video : Blocks(node, "Video Stream")) {
            for (const ScriptNode& c : Children(video)) {
                if (IsField(c) && Key(c) == "Standard") track.Standard = Text(c);
            }
            for (const ScriptNode& play : Blocks(video, "Video Play")) Play(play, track.VideoPlays.emplace_back());
        }
        // One play of the whole file is a video segment; stills play for
        // Muxman's default time, slides for theirs.
        if (track.VideoPlays.size() != 1 || track.VideoPlays[0].Duration != "Actual") {
            track.Kind = ScriptTrackKind::SlideShow;
            for (const ScriptPlay& play : track.VideoPlays) {
                if (play.Duration == "Default") track.Kind = ScriptTrackKind::StillMenu;
            }
        }
        for (const ScriptNode& c : Blocks(node, "Audio Stream"))
            Stream(c, track.AudioStreams.emplace_back(), "Audio Play");
        for (const ScriptNode& c : Blocks(node, "Sub-Picture Stream")) {
            Stream(c, track.SubpictureStreams.emplace_back(), "Sub-Picture Play");
        }
        for (const ScriptNode& stream : Blocks(node, "Highlight Stream")) {
            for (const ScriptNode& play : Blocks(stream, "Highlight Play"))
                Highlight(play, track.Highlights.emplace_back());
        }
        for (const ScriptNode& list : Blocks(node, "Scene List")) {
            for (const ScriptNode& s : Blocks(list, "Scene")) {
                ScriptScene& scene = track.Scenes.emplace_back();
                scene.Place = At(s);
                for (const ScriptNode& f : Children(s)) {
                    if (!IsField(f)) continue;
                    if (Key(f) == "Name") scene.Name = Text(f);
                    if (Key(f) == "Scene Time") scene.SceneTime = Text(f);
                    if (Key(f) == "Uop") scene.Uop = Text(f);
                }
            }
        }
    }

    // --- Navigation ---

    // The lines of a command list ("Pre1: text") or of a menu (bare text).
    void Commands(const ScriptNode& list, std::vector<ScriptCommand>& commands, bool labelled) {
        for (const ScriptNode& c : Children(list)) {
            if (c.IsBlock()) continue;
            ScriptCommand& command = commands.emplace_back();
            command.Place = At(c);
            std::string_view text = document_.Statement(c);
            const std::size_t colon = labelled ? text.find(": ") : std::string_view::npos;
            if (colon != std::string_view::npos) {
                command.Name = text.substr(0, colon);
                text.remove_prefix(colon + 2);
            }
            command.Text = text;
            const MuxmanTarget target = FindMuxmanTarget(text);
            if (target.Kind != MuxmanTargetKind::None && !target.VmgPgcByNumber) {
                command.Target = text.substr(target.At, target.Length);
            }
        }
    }

    void Cell(const ScriptNode& node, ScriptCell& cell) {
        cell.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key == "Item" && Value(c) == "Menu") {
                    ScriptMenu& menu = cell.Menus.emplace_back();
                    menu.Place = At(c);
                    Commands(c, menu.Commands, false);
                }
            } else if (!c.HasEquals()) {
                continue;
            } else if (key == "Name") {
                cell.Name = Text(c);
            } else if (key == "Linked Scene") {
                cell.LinkedScene = Text(c);
            } else if (key == "Cell Still Time") {
                cell.StillTime = Number(c);
            } else if (key == "Command") {
                // "Command=Cell3" plays cell command 3; "Command=" none.
                const std::string_view value = Value(c);
                if (!value.empty() && (!value.starts_with("Cell") || !ParseInt(value.substr(4), cell.CellCommand))) {
                    cell.CellCommand = 0;
                    NotANumber(c, "\"Cell\" and a whole number, or nothing");
                }
            }
        }
    }

    void Pgc(const ScriptNode& node, ScriptPgc& pgc) {
        pgc.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key != "Item") continue;
                const std::string_view type = Value(c);
                if (type == "Pre Commands") {
                    Commands(c, pgc.PreCommands, true);
                } else if (type == "Post Commands") {
                    Commands(c, pgc.PostCommands, true);
                } else if (type == "Cell Commands") {
                    Commands(c, pgc.CellCommands, true);
                } else if (type == "Program List") {
                    for (const ScriptNode& p : Blocks(c, "Program")) {
                        ScriptProgram& program = pgc.Programs.emplace_back();
                        program.Place = At(p);
                        for (const ScriptNode& f : Children(p)) {
                            if (IsField(f) && Key(f) == "Name") program.Name = Text(f);
                        }
                        for (const ScriptNode& cell : Blocks(p, "Cell")) Cell(cell, program.Cells.emplace_back());
                    }
                }
            } else if (!c.HasEquals()) {
                continue;
            } else if (key == "Name") {
                pgc.Name = Text(c);
            } else if (key == "Menu ID") {
                pgc.MenuId = Text(c);
            } else if (key == "Uop" || key == "UOP") {
                pgc.Uop = Text(c);
            } else if (key == "Next PGC") {
                pgc.NextPgc = Text(c);
            } else if (key == "Prev PGC") {
                pgc.PrevPgc = Text(c);
            } else if (key == "GoUp PGC") {
                pgc.GoupPgc = Text(c);
            } else if (key == "PGC Still Time") {
                pgc.StillTime = Number(c);
            } else if (key == "Palette") {
                pgc.Palette = Text(c);
            }
        }
    }

    void PartOfTitle(const ScriptNode& unit, std::vector<ScriptReference>& references) const {
        for (const ScriptNode& list : Blocks(unit, "Part Of Title List")) {
            for (const ScriptNode& c : Children(list)) {
                if (IsField(c) && Key(c) == "Item") references.push_back({At(c), Text(c)});
            }
        }
    }

    void Navigation(const ScriptNode& section) {
        ScriptScenario& scenario = model_.Scenario;
        scenario.Place = At(section);
        for (const ScriptNode& c : Children(section)) {
            if (!c.IsBlock() || Key(c) != "Item") continue;
            const std::string_view type = Value(c);
            if (type == "First PGC") {
                Pgc(c, scenario.FirstPgc.emplace());
                continue;
            }
            if (type != "VMG" && !type.starts_with("VTS")) continue;
            ScriptDomain& domain = scenario.Domains.emplace_back();
            domain.Place = At(c);
            domain.Kind = type == "VMG" ? ScriptDomainKind::VideoManager : ScriptDomainKind::TitleSet;
            domain.Name = type;
            for (const ScriptNode& item : Children(c)) {
                if (!item.IsBlock() || Key(item) != "Item") continue;
                if (Value(item) == "Language") {
                    ScriptLanguage& language = domain.Languages.emplace_back();
                    language.Place = At(item);
                    for (const ScriptNode& f : Children(item)) {
                        if (!IsField(f)) continue;
                        if (Key(f) == "Name") language.Label = Text(f);
                        if (Key(f) == "Language") language.Name = Text(f);
                    }
                    // The unit's name is the domain's and the language's: "VTS001English".
                    language.LanguageName = language.Label;
                    if (language.Label.starts_with(domain.Name)) language.LanguageName.erase(0, domain.Name.size());
                    for (const ScriptNode& p : Blocks(item, "PGC")) Pgc(p, language.Pgcs.emplace_back());
                    PartOfTitle(item, language.PartOfTitle);
                } else if (Value(item) == "Title") {
                    ScriptTitle& title = domain.Titles.emplace_back();
                    title.Place = At(item);
                    for (const ScriptNode& f : Children(item)) {
                        if (!IsField(f)) continue;
                        if (Key(f) == "Name") title.Name = Text(f);
                        if (Key(f) == "Uop") title.Uop = Text(f);
                    }
                    for (const ScriptNode& p : Blocks(item, "PGC")) Pgc(p, title.Pgcs.emplace_back());
                    PartOfTitle(item, title.PartOfTitle);
                }
            }
        }
    }

    const ScriptDocument& document_;
    ScriptDiagnostics& diagnostics_;
    ScriptModel& model_;
};

}  // namespace

ScriptModel ReadMuxmanModel(const ScriptDocument& document, ScriptDiagnostics& diagnostics) {
    ScriptModel model;
    model.Dialect = ScriptDialect::Muxman;
    if (document.Nodes.empty()) return model;
    MuxmanReader(document, diagnostics, model).Read();
    return model;
}

}  // namespace kestrova
