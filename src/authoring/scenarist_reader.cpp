// The reader of a Scenarist script's tree into the authoring model: see
// script_reader.h.
#include <algorithm>
#include <array>
#include <charconv>

#include "authoring/script_reader.h"

namespace kestrova {

namespace {


class ModelReader {
public:
    ModelReader(const ScriptDocument& document, ScriptDiagnostics& diagnostics, ScriptModel& model)
        : document_(document), diagnostics_(diagnostics), model_(model) {}

    void Read() {
        model_.Files.push_back(document_.Path);
        for (const ScriptNode& object : Children(document_.Root())) {
            if (Key(object) != "Object" || !object.IsBlock()) continue;
            if (Value(object) == "Version") {
                for (const ScriptNode& c : Children(object)) {
                    if (Key(c) == "Data Format Version") model_.DataFormatVersion = Number(c);
                }
            } else if (Value(object) == "Data Folder") {
                for (const ScriptNode& folder : Items(List(object, "Data"), "Data Folder")) DataFolder(folder);
            } else if (Value(object) == "Track Folder") {
                for (const ScriptNode& folder : Items(List(object, "Tracks"), "Track Folder")) TrackFolder(folder);
            } else if (Value(object) == "Scenario") {
                Scenario(object);
            } else if (Value(object) == "Project Info") {
                for (const ScriptNode& c : Children(List(object, "Layout Information"))) {
                    if (Key(c) == "DVD Root Directory") model_.DvdRootDirectory = Text(c);
                }
            } else if (Value(object) == "List") {
                for (const ScriptNode& palette : Items(&object, "Color Palette")) Palette(palette);
            }
        }
    }

private:
    // The blocks "Item=<type>" of a list (all items for an empty type).
    class ItemRange {
    public:
        ItemRange(const ScriptDocument& document, const ScriptNode* list, std::string_view type)
            : document_(document), list_(list), type_(type) {}
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
                while (at_ != 0) {
                    const ScriptNode& node = range_->document_.Node(at_);
                    const ScriptDocument& document = range_->document_;
                    if (node.IsBlock() && document.Key(node) == "Item" &&
                        (range_->type_.empty() || document.Value(node) == range_->type_)) {
                        return;
                    }
                    at_ = node.NextSibling;
                }
            }
            const ItemRange* range_;
            std::uint32_t at_;
        };
        Iterator begin() const { return {this, list_ == nullptr ? 0 : list_->FirstChild}; }
        Iterator end() const { return {this, 0}; }

    private:
        const ScriptDocument& document_;
        const ScriptNode* list_;
        std::string_view type_;
    };

    ScriptDocument::ChildRange Children(const ScriptNode& node) const { return document_.Children(node); }
    ScriptDocument::ChildRange Children(const ScriptNode* node) const {
        return node == nullptr ? ScriptDocument::ChildRange(&document_.Nodes, 0) : document_.Children(*node);
    }
    ItemRange Items(const ScriptNode* list, std::string_view type = {}) const { return {document_, list, type}; }

    // The first block of the key among a node's children.
    const ScriptNode* List(const ScriptNode& node, std::string_view key) const {
        for (const ScriptNode& c : Children(node)) {
            if (c.IsBlock() && Key(c) == key) return &c;
        }
        return nullptr;
    }

    ScriptPlace At(const ScriptNode& node) const { return {0, node.Line}; }
    std::string_view Key(const ScriptNode& node) const { return document_.Key(node); }
    std::string_view Value(const ScriptNode& node) const { return document_.Value(node); }
    std::string Text(const ScriptNode& node) const { return std::string(Value(node)); }

    int Number(const ScriptNode& node, std::string_view unit = {}) {
        std::string_view value = Value(node);
        if (!unit.empty() && value.size() > unit.size() && value.substr(value.size() - unit.size()) == unit) {
            value.remove_suffix(unit.size());
        }
        int number = 0;
        const auto [end, fault] = std::from_chars(value.data(), value.data() + value.size(), number);
        if (fault == std::errc() && end == value.data() + value.size() && !value.empty()) return number;
        Say(diagnostics_, "value.number", document_.Path, node.Line, [&] {
            return Quoted(Key(node)) + " holds " + Quoted(Value(node)) + ": a whole number" +
                   (unit.empty() ? std::string() : " followed by " + Quoted(unit)) + " expected";
        });
        return 0;
    }

    std::vector<std::string> Uops(const ScriptNode& block) const {
        std::vector<std::string> uops;
        for (const ScriptNode& c : Children(block)) uops.emplace_back(document_.Statement(c));
        return uops;
    }

    void DataFolder(const ScriptNode& node) {
        ScriptDataFolder& folder = model_.DataFolders.emplace_back();
        folder.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (Key(c) == "Name") folder.Name = Text(c);
        }
        for (const ScriptNode& item : Items(List(node, "Data"))) {
            ScriptDataItem data;
            if (Value(item) == "Video") {
                data.Kind = ScriptDataKind::Video;
            } else if (Value(item) == "Encoded Still") {
                data.Kind = ScriptDataKind::Still;
            } else if (Value(item) == "AC3 Audio") {
                data.Kind = ScriptDataKind::Audio;
            } else if (Value(item) == "Sub-Picture") {
                data.Kind = ScriptDataKind::Subpicture;
            } else {
                continue;
            }
            data.Place = At(item);
            for (const ScriptNode& c : Children(item)) {
                const std::string_view key = Key(c);
                if (c.IsBlock()) continue;
                if (key == "Place Holder") {
                    data.PlaceHolder = Value(c) == "Yes";
                } else if (key == "Name") {
                    data.Name = Text(c);
                } else if (key == "File") {
                    data.File = Text(c);
                } else if (key == "Data Start Time") {
                    data.StartTime = Text(c);
                } else if (key == "Data End Time") {
                    data.EndTime = Text(c);
                } else if (key == "Width") {
                    data.Width = Number(c);
                } else if (key == "Height") {
                    data.Height = Number(c);
                } else if (key == "Aspect Ratio") {
                    data.AspectRatio = Text(c);
                } else if (key == "Bit rate" && data.Kind == ScriptDataKind::Audio) {
                    data.BitRate = Number(c);
                } else if (key == "Channel") {
                    data.Channels = Text(c);
                } else if (key == "LFE On") {
                    data.Lfe = Value(c) == "Yes";
                }
            }
            folder.Items.push_back(std::move(data));
        }
    }

    void Play(const ScriptNode& node, ScriptPlay& play) {
        play.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (c.IsBlock()) continue;
            if (Key(c) == "Data") {
                play.Data = Text(c);
            } else if (Key(c) == "Start Time To Video") {
                play.StartTimeToVideo = Text(c);
            } else if (Key(c) == "Start Time") {
                play.StartTime = Text(c);
            } else if (Key(c) == "Duration") {
                play.Duration = Text(c);
            }
        }
    }

    void Streams(const ScriptNode* list, std::vector<ScriptStream>& streams) {
        for (const ScriptNode& node : Items(list)) {
            ScriptStream& stream = streams.emplace_back();
            stream.Place = At(node);
            for (const ScriptNode& c : Children(node)) {
                if (c.IsBlock()) {
                    if (Key(c) == "Item") Play(c, stream.Plays.emplace_back());
                } else if (Key(c) == "Stream Number") {
                    stream.StreamNumber = Number(c);
                } else if (Key(c) == "Language") {
                    stream.Language = Text(c);
                } else if (Key(c) == "Display Mode") {
                    stream.DisplayMode = Text(c);
                }
            }
        }
    }

    void ColorSet(const ScriptNode* block, std::array<int, 4>& values, std::string_view unit) {
        static constexpr std::array<std::string_view, 4> kKeys = {"Color 1(E2)", "Color 2(E1)", "Color 3(P)",
                                                                  "Color 4(Bg)"};
        for (const ScriptNode& c : Children(block)) {
            const auto at = std::find(kKeys.begin(), kKeys.end(), Key(c));
            if (at != kKeys.end() && !c.IsBlock())
                values[static_cast<std::size_t>(at - kKeys.begin())] = Number(c, unit);
        }
    }

    void Button(const ScriptNode& node, ScriptButton& button) {
        button.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key.starts_with("Highlight Area No.")) {
                    ScriptArea& area = button.Areas.emplace_back();
                    for (const ScriptNode& corner : Children(c)) {
                        if (Key(corner) == "X1") area.X1 = Number(corner);
                        if (Key(corner) == "Y1") area.Y1 = Number(corner);
                        if (Key(corner) == "X2") area.X2 = Number(corner);
                        if (Key(corner) == "Y2") area.Y2 = Number(corner);
                    }
                }
            } else if (key == "Name") {
                button.Name = Text(c);
            } else if (key == "Button Number") {
                button.Number = Number(c);
            } else if (key == "Color Index") {
                button.ColorIndex = Number(c);
            } else if (key == "Auto Action Mode") {
                button.AutoAction = Value(c) == "Yes";
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
                if (key.starts_with("Button Color ")) {
                    ScriptColorGroup& group = highlight.ColorGroups.emplace_back();
                    ColorSet(List(c, "Selection Color"), group.SelectionColor, {});
                    ColorSet(List(c, "Selection Contrast"), group.SelectionContrast, " %");
                    ColorSet(List(c, "Action Color"), group.ActionColor, {});
                    ColorSet(List(c, "Action Contrast"), group.ActionContrast, " %");
                } else if (key == "Buttons") {
                    highlight.Buttons.reserve(36);
                    for (const ScriptNode& button : Items(&c, "Button"))
                        Button(button, highlight.Buttons.emplace_back());
                }
            } else if (key.starts_with("Button Mode ") && key.size() == 13 && key[12] >= '1' && key[12] <= '3') {
                highlight.ButtonModes[static_cast<std::size_t>(key[12] - '1')] = Text(c);
            } else if (key == "Offset Number") {
                highlight.OffsetNumber = Number(c);
            } else if (key == "# of Numerical Select Buttons") {
                highlight.NumericalButtons = Number(c);
            } else if (key == "Forced Selected Button #") {
                highlight.ForcedSelected = Text(c);
            } else if (key == "Forced Activated Button #") {
                highlight.ForcedActivated = Text(c);
            }
        }
    }

    void Track(const ScriptNode& node, ScriptTrack& track) {
        track.Place = At(node);
        if (Value(node) == "Still Menu Track") track.Kind = ScriptTrackKind::StillMenu;
        if (Value(node) == "Slide Show Track") track.Kind = ScriptTrackKind::SlideShow;
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (!c.IsBlock()) {
                if (key == "Name") track.Name = Text(c);
                if (key == "Display Mode") track.DisplayMode = Text(c);
            } else if (key == "Audio Streams") {
                Streams(&c, track.AudioStreams);
            } else if (key == "Sub-Picture Streams") {
                Streams(&c, track.SubpictureStreams);
            } else if (key == "Highlight Stream") {
                for (const ScriptNode& play : Items(&c)) Highlight(play, track.Highlights.emplace_back());
            } else if (key == "Scenes") {
                for (const ScriptNode& s : Items(&c, "Scene")) {
                    ScriptScene& scene = track.Scenes.emplace_back();
                    scene.Place = At(s);
                    for (const ScriptNode& f : Children(s)) {
                        if (f.IsBlock()) {
                            if (Key(f) == "UOP") scene.Uops = Uops(f);
                        } else if (Key(f) == "Name") {
                            scene.Name = Text(f);
                        } else if (Key(f) == "Color Palette") {
                            scene.ColorPalette = Text(f);
                        } else if (Key(f) == "Scene Time") {
                            scene.SceneTime = Text(f);
                        }
                    }
                }
            } else if (key == "Still Stream" || key == "Video Stream") {
                for (const ScriptNode& play : Items(&c)) Play(play, track.Picture);
            }
        }
    }

    void TrackFolder(const ScriptNode& node) {
        ScriptTrackFolder& folder = model_.TrackFolders.emplace_back();
        folder.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (Key(c) == "Name" && !c.IsBlock()) folder.Name = Text(c);
        }
        for (const ScriptNode& track : Items(List(node, "Tracks"))) {
            if (Value(track) == "Video Track" || Value(track) == "Still Menu Track" ||
                Value(track) == "Slide Show Track") {
                Track(track, folder.Tracks.emplace_back());
            }
        }
    }

    void Commands(const ScriptNode& list, std::vector<ScriptCommand>& commands) {
        for (const ScriptNode& node : Items(&list, "Command")) {
            ScriptCommand& command = commands.emplace_back();
            command.Place = At(node);
            for (const ScriptNode& c : Children(node)) {
                if (c.IsBlock()) continue;
                if (Key(c) == "Name") {
                    command.Name = Text(c);
                } else if (Key(c) == "Command") {
                    command.Text = Text(c);
                } else if (Key(c) == "To Action") {
                    command.Target = Text(c);
                }
            }
        }
    }

    void Cell(const ScriptNode& node, ScriptCell& cell) {
        cell.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key != "Menu List") continue;
                for (const ScriptNode& m : Items(&c, "Menu")) {
                    ScriptMenu& menu = cell.Menus.emplace_back();
                    menu.Place = At(m);
                    for (const ScriptNode& f : Children(m)) {
                        if (f.IsBlock()) {
                            if (Key(f) == "Command List") Commands(f, menu.Commands);
                        } else if (Key(f) == "Name") {
                            menu.Name = Text(f);
                        } else if (Key(f) == "Linked Highlight") {
                            menu.LinkedHighlight = Text(f);
                        }
                    }
                }
            } else if (key == "Name") {
                cell.Name = Text(c);
            } else if (key == "Linked Scene") {
                cell.LinkedScene = Text(c);
            } else if (key == "Seamless Flag") {
                cell.SeamlessFlag = Number(c);
            } else if (key == "Cell Still Time") {
                cell.StillTime = Number(c);
            } else if (key == "Cell Command") {
                cell.CellCommand = Number(c);
            }
        }
    }

    void Pgc(const ScriptNode& node, ScriptPgc& pgc) {
        pgc.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (c.IsBlock()) {
                if (key == "Pre Command") {
                    Commands(c, pgc.PreCommands);
                } else if (key == "Post Command") {
                    Commands(c, pgc.PostCommands);
                } else if (key == "Cell Command") {
                    Commands(c, pgc.CellCommands);
                } else if (key == "UOP") {
                    pgc.Uops = Uops(c);
                } else if (key == "Program List") {
                    for (const ScriptNode& p : Items(&c, "Program")) {
                        ScriptProgram& program = pgc.Programs.emplace_back();
                        program.Place = At(p);
                        for (const ScriptNode& f : Children(p)) {
                            if (Key(f) == "Name" && !f.IsBlock()) program.Name = Text(f);
                        }
                        for (const ScriptNode& cell : Items(List(p, "Cell List"), "Cell")) {
                            Cell(cell, program.Cells.emplace_back());
                        }
                    }
                }
            } else if (key == "Name") {
                pgc.Name = Text(c);
            } else if (key == "Is Visible") {
                pgc.Visible = Value(c) != "No";
            } else if (key == "Next PGC") {
                pgc.NextPgc = Text(c);
            } else if (key == "Prev PGC") {
                pgc.PrevPgc = Text(c);
            } else if (key == "Goup PGC") {
                pgc.GoupPgc = Text(c);
            } else if (key == "Menu ID") {
                pgc.MenuId = Text(c);
            } else if (key == "PGC Still Time") {
                pgc.StillTime = Number(c);
            }
        }
    }

    void References(const ScriptNode& list, std::vector<ScriptReference>& references) const {
        for (const ScriptNode& c : Children(list)) {
            if (Key(c) == "Item" && !c.IsBlock()) references.push_back({At(c), Text(c)});
        }
    }

    void Domain(const ScriptNode& node, ScriptDomainKind kind) {
        ScriptDomain& domain = model_.Scenario.Domains.emplace_back();
        domain.Place = At(node);
        domain.Kind = kind;
        for (const ScriptNode& c : Children(node)) {
            const std::string_view key = Key(c);
            if (!c.IsBlock()) {
                if (key == "Name") domain.Name = Text(c);
            } else if (key == "Language List") {
                for (const ScriptNode& l : Items(&c, "Language")) {
                    ScriptLanguage& language = domain.Languages.emplace_back();
                    language.Place = At(l);
                    for (const ScriptNode& f : Children(l)) {
                        if (f.IsBlock()) {
                            if (Key(f) != "PGC List") continue;
                            for (const ScriptNode& p : Items(&f, "PGC")) Pgc(p, language.Pgcs.emplace_back());
                        } else if (Key(f) == "Name") {
                            language.Name = Text(f);
                        } else if (Key(f) == "Language Name") {
                            language.LanguageName = Text(f);
                        }
                    }
                }
            } else if (key == "Menu Track List") {
                References(c, domain.MenuTracks);
            } else if (key == "Title Track List") {
                References(c, domain.TitleTracks);
            } else if (key == "Title List") {
                for (const ScriptNode& t : Items(&c, "Title")) {
                    ScriptTitle& title = domain.Titles.emplace_back();
                    title.Place = At(t);
                    for (const ScriptNode& f : Children(t)) {
                        if (!f.IsBlock()) {
                            if (Key(f) == "Name") title.Name = Text(f);
                        } else if (Key(f) == "PGC List") {
                            for (const ScriptNode& p : Items(&f, "PGC")) Pgc(p, title.Pgcs.emplace_back());
                        } else if (Key(f) == "Part of Title") {
                            References(f, title.PartOfTitle);
                        }
                    }
                }
            }
        }
    }

    void Scenario(const ScriptNode& node) {
        ScriptScenario& scenario = model_.Scenario;
        scenario.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (!c.IsBlock()) continue;
            if (Key(c) == "First PGC") {
                Pgc(c, scenario.FirstPgc.emplace());
            } else if (Key(c) == "Resume PGC") {
                Pgc(c, scenario.ResumePgc.emplace());
            } else if (Key(c) == "Video Manager") {
                Domain(c, ScriptDomainKind::VideoManager);
            } else if (Key(c) == "VTS List") {
                for (const ScriptNode& vts : Items(&c, "VTS")) Domain(vts, ScriptDomainKind::TitleSet);
            }
        }
    }

    void Palette(const ScriptNode& node) {
        ScriptPalette& palette = model_.Palettes.emplace_back();
        palette.Place = At(node);
        for (const ScriptNode& c : Children(node)) {
            if (!c.IsBlock()) {
                if (Key(c) == "Name") palette.Name = Text(c);
                continue;
            }
            if (!Key(c).starts_with("Color ")) continue;
            ScriptColor& color = palette.Colors.emplace_back();
            const std::string_view digits = Key(c).substr(6);
            std::from_chars(digits.data(), digits.data() + digits.size(), color.Index);
            for (const ScriptNode& f : Children(c)) {
                if (Key(f) == "Red") color.Red = Number(f);
                if (Key(f) == "Green") color.Green = Number(f);
                if (Key(f) == "Blue") color.Blue = Number(f);
            }
        }
    }

    const ScriptDocument& document_;
    ScriptDiagnostics& diagnostics_;
    ScriptModel& model_;
};

}  // namespace

ScriptModel ReadScenaristModel(const ScriptDocument& document, ScriptDiagnostics& diagnostics) {
    ScriptModel model;
    if (document.Nodes.empty()) return model;
    ModelReader(document, diagnostics, model).Read();
    return model;
}

}  // namespace kestrova
