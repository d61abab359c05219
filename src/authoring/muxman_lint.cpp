// The Muxman script linter: the grammar a Muxman script adds to the
// tokenizer's, and the references of its model. See script_lint.h.
//
// Names are scoped as the writers make them: a PGC, program or cell is
// unique within its language unit or title (every unit has its
// "DummyPGC"), a title within its domain, a scene and a segment within the
// script, a button within its highlight play ("Button1" stands in each).
#include <algorithm>
#include <unordered_map>

#include "authoring/muxman_schema.h"
#include "authoring/scenarist_schema.h"
#include "authoring/script_lint.h"
#include "dvd/command_text.h"
#include "platform/text.h"

namespace kestrova {

namespace {

std::string Dec(std::int64_t n) { return std::to_string(n); }

using B = MuxmanBlock;

// --- Grammar -------------------------------------------------------------------

class GrammarCheck {
public:
    GrammarCheck(const ScriptDocument& document, ScriptDiagnostics& diagnostics)
        : document_(document), diagnostics_(diagnostics) {}

    void Run() {
        if (document_.Nodes.empty()) return;
        std::size_t next = 0;  // the section expected next
        for (const ScriptNode& node : document_.Children(document_.Root())) {
            if (!Statement(node)) continue;
            const auto at = std::find(std::begin(kMuxmanSections), std::end(kMuxmanSections), Value(node));
            if (Key(node) != "Section" || at == std::end(kMuxmanSections)) {
                Report("grammar.unknown-key", node, [&] {
                    return Quoted(Whole(node)) +
                           " at depth 0: \"Section=Settings\", \"Section=Content\" or "
                           "\"Section=Navigation\" expected";
                });
                continue;
            }
            const auto index = static_cast<std::size_t>(at - std::begin(kMuxmanSections));
            if (index != next) {
                Report("grammar.section-order", node, [&] {
                    return Quoted(Whole(node)) +
                           (index < next ? " out of order or repeated"
                                         : " where " + Quoted("Section=" + std::string(kMuxmanSections[next])) +
                                               " is expected") +
                           ": the sections are Settings, Content and Navigation, once each, in this order";
                });
            }
            next = std::max(next, index + 1);
            if (!node.IsBlock()) {
                Report("grammar.block", node, [&] {
                    return Quoted(Whole(node)) + " opens a section: \"{\" expected on the next line at depth 0";
                });
                continue;
            }
            Block(node, MuxmanSchemaOf(B::Root).Blocks[index].Block);
        }
        if (next < std::size(kMuxmanSections)) {
            Say(diagnostics_, "grammar.section-order", document_.Path, std::max<std::uint32_t>(document_.LineCount, 1),
                [&] {
                    return "the file ends without \"Section=" + std::string(kMuxmanSections[next]) +
                           "\": the sections are Settings, Content and Navigation, in this order";
                });
        }
    }

private:
    template <class MakeText>
    void Report(std::string_view rule, const ScriptNode& node, MakeText&& text) {
        Say(diagnostics_, rule, document_.Path, node.Line, std::forward<MakeText>(text));
    }
    std::string_view Whole(const ScriptNode& node) const { return document_.Statement(node); }
    std::string_view Key(const ScriptNode& node) const { return document_.Key(node); }
    std::string_view Value(const ScriptNode& node) const { return document_.Value(node); }

    // False for a line that is no key=value statement, which it reports.
    bool Statement(const ScriptNode& node) {
        if (node.HasEquals()) return true;
        Report("grammar.statement", node, [&] {
            return (Key(node).empty() ? std::string("an empty line") : Quoted(Key(node)) + " has no \"=\"") +
                   ": key=value, \"{\" or \"}\" expected";
        });
        return false;
    }

    static const MuxmanBlockRule* FindBlock(const MuxmanSchema& schema, std::string_view key, std::string_view value) {
        for (const MuxmanBlockRule& rule : schema.Blocks) {
            if (KeyMatches(rule.Key, key) && KeyMatches(rule.Value, value)) return &rule;
        }
        return nullptr;
    }
    static bool KnowsKey(const MuxmanSchema& schema, std::string_view key) {
        return std::any_of(schema.Keys.begin(), schema.Keys.end(),
                           [key](std::string_view known) { return KeyMatches(known, key); });
    }

    // A command list's lines: "Pre" k ": " and the text, k its place.
    void CommandLines(const ScriptNode& block, const MuxmanSchema& schema) {
        std::size_t k = 0;
        for (const ScriptNode& node : document_.Children(block)) {
            ++k;
            if (node.IsBlock()) {
                Report("grammar.block", node, [&] {
                    return Quoted(Whole(node)) + " opens a block in " + std::string(schema.Name) +
                           ", which holds command lines only";
                });
            }
            if (Whole(node).empty()) {
                Report("grammar.statement", node,
                       [&] { return "an empty line in " + std::string(schema.Name) + ": a command line expected"; });
                continue;
            }
            if (schema.CommandLabel.empty()) continue;
            const std::string label = std::string(schema.CommandLabel) + Dec(static_cast<std::int64_t>(k)) + ": ";
            if (!Whole(node).starts_with(label)) {
                Report("grammar.command-label", node, [&] {
                    return Quoted(Whole(node)) + " in " + std::string(schema.Name) + ": " + Quoted(label) +
                           " expected in front of command " + Dec(static_cast<std::int64_t>(k));
                });
            }
        }
    }

    void Time(const ScriptNode& node, bool durationWords) {
        const std::string_view value = Value(node);
        if (durationWords && (value == "Actual" || value == "Default")) return;
        const MuxmanTime time = CheckMuxmanTime(value);
        if (time == MuxmanTime::Semicolon) {
            Report("oddity.time-semicolon", node,
                   [&] { return Quoted(Whole(node)) + ": \";\" before the frames, where the writers put \":\""; });
        } else if (time == MuxmanTime::Bad) {
            Report("value.time", node, [&] {
                return Quoted(Key(node)) + " holds " + Quoted(value) + ": a time HH:MM:SS:FF" +
                       (durationWords ? ", Actual or Default" : "") + " expected";
            });
        }
    }

    // The values the grammar knows more of than their key: times, names,
    // the capitals of the first PGC's UOP.
    void Field(const ScriptNode& node, B type) {
        const std::string_view key = Key(node);
        if (key == "Name") {
            const std::string_view name = Value(node);
            if (name.find_first_of(";,") != std::string_view::npos) {
                Report("value.name", node, [&] {
                    return "the name " + Quoted(name) +
                           " holds \";\" or \",\", which separate the parts of a command line";
                });
            }
        } else if (key == "UOP" && type == B::Pgc) {
            Report("oddity.uop-capitals", node, [&] {
                return Quoted(Whole(node)) + ": the first PGC writes \"UOP=\" where the other PGCs write \"Uop=\"";
            });
        } else if (type == B::Scene && key == "Scene Time") {
            Time(node, false);
        } else if ((type == B::SubpicturePlay || type == B::HighlightPlay) &&
                   (key == "Start" || key == "Duration" || key == "Select End Time")) {
            Time(node, false);
        } else if (type == B::VideoPlay && key == "Duration") {
            Time(node, true);
        }
    }

    void Block(const ScriptNode& block, B type) {
        const MuxmanSchema& schema = MuxmanSchemaOf(type);
        if (schema.HoldsCommands) {
            CommandLines(block, schema);
            return;
        }
        for (const ScriptNode& node : document_.Children(block)) {
            if (!Statement(node)) continue;
            if (node.IsBlock()) {
                if (const MuxmanBlockRule* rule = FindBlock(schema, Key(node), Value(node))) {
                    Block(node, rule->Block);
                } else if (KnowsKey(schema, Key(node))) {
                    Report("grammar.block", node, [&] {
                        return Quoted(Key(node)) + " takes a value in " + std::string(schema.Name) + ", not a block";
                    });
                } else {
                    Report("grammar.unknown-key", node,
                           [&] { return "unknown block " + Quoted(Whole(node)) + " in " + std::string(schema.Name); });
                }
                continue;
            }
            if (KnowsKey(schema, Key(node))) {
                Field(node, type);
            } else if (FindBlock(schema, Key(node), Value(node)) != nullptr) {
                Report("grammar.block", node, [&] {
                    return Quoted(Whole(node)) + " opens a block: \"{\" expected on the next line at depth " +
                           Dec(node.Depth);
                });
            } else {
                Report("grammar.unknown-key", node,
                       [&] { return "unknown key " + Quoted(Key(node)) + " in " + std::string(schema.Name); });
            }
        }
    }

    const ScriptDocument& document_;
    ScriptDiagnostics& diagnostics_;
};

// --- References ----------------------------------------------------------------

enum class ObjectKind { Pgc, Program, Cell, Title };

std::string_view KindName(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::Pgc:
        return "a PGC";
    case ObjectKind::Program:
        return "a program";
    case ObjectKind::Cell:
        return "a cell";
    case ObjectKind::Title:
        break;
    }
    return "a title";
}

// A named object of the navigation and the unit it sits in.
struct NavObject {
    ObjectKind Kind = ObjectKind::Pgc;
    ScriptPlace Place;
    int Domain = -1;                 // -1 for the first PGC
    int Language = -1;               // the language unit; -1 in titles and for titles
    int Title = -1;                  // the title; -1 in language units and for titles
    const ScriptPgc* Pgc = nullptr;  // a PGC's own record, a program's or cell's PGC

    bool SameUnit(const NavObject& other) const {
        return Domain == other.Domain && Language == other.Language && Title == other.Title;
    }
};

// The command in hand: its unit and PGC, and its list.
struct Caller {
    NavObject Unit;  // Domain, Language, Title
    const ScriptPgc* Pgc = nullptr;
    bool Button = false;
    std::string_view Label;  // "Pre", "Post", "Cell"
    std::size_t ListSize = 0;
};

class ReferenceCheck {
public:
    ReferenceCheck(const ScriptModel& model, const ScriptLintOptions& options, ScriptDiagnostics& diagnostics)
        : model_(model), options_(options), diagnostics_(diagnostics), small_(model.DvdRootDirectory.empty()) {}

    void Run() {
        IndexContent();
        IndexNavigation();
        CheckContent();
        CheckNavigation();
    }

private:
    const std::string& FileOf(const ScriptPlace& place) const {
        static const std::string kNone = "(script)";
        return place.File < model_.Files.size() ? model_.Files[place.File] : kNone;
    }

    template <class MakeText>
    void Report(std::string_view rule, const ScriptPlace& place, MakeText&& text) {
        Say(diagnostics_, rule, FileOf(place), place.Line, std::forward<MakeText>(text));
    }

    void Duplicate(std::string_view what, const std::string& name, const ScriptPlace& place, const ScriptPlace& first) {
        Report("ref.duplicate-name", place, [&] {
            return std::string(what) + " name " + Quoted(name) + " is already the name of line " + Dec(first.Line);
        });
    }

    // --- Tables ---

    struct SceneAt {
        const ScriptTrack* Track;
        std::size_t Index;
    };

    void IndexContent() {
        for (const ScriptPalette& palette : model_.Palettes) {
            const auto [at, added] = palettes_.try_emplace(palette.Name, &palette);
            if (!added) Duplicate("palette", palette.Name, palette.Place, at->second->Place);
        }
        std::unordered_map<std::string, const ScriptTrack*> segments;
        for (const ScriptTrackFolder& folder : model_.TrackFolders) {
            for (const ScriptTrack& track : folder.Tracks) {
                const auto [at, added] = segments.try_emplace(track.Name, &track);
                if (!added) Duplicate("segment", track.Name, track.Place, at->second->Place);
                for (std::size_t s = 0; s < track.Scenes.size(); ++s) {
                    const ScriptScene& scene = track.Scenes[s];
                    const auto [sat, sadded] = scenes_.try_emplace(scene.Name, SceneAt{&track, s});
                    if (!sadded)
                        Duplicate("scene", scene.Name, scene.Place, sat->second.Track->Scenes[sat->second.Index].Place);
                }
            }
        }
    }

    void Add(const std::string& name, const NavObject& object, std::string_view what) {
        std::vector<NavObject>& list = objects_[name];
        for (const NavObject& other : list) {
            if (other.SameUnit(object)) {
                Duplicate(what, name, object.Place, other.Place);
                return;
            }
        }
        list.push_back(object);
    }

    void IndexPgc(const ScriptPgc& pgc, NavObject unit) {
        unit.Kind = ObjectKind::Pgc;
        unit.Place = pgc.Place;
        unit.Pgc = &pgc;
        Add(pgc.Name, unit, "PGC");
        for (const ScriptProgram& program : pgc.Programs) {
            unit.Kind = ObjectKind::Program;
            unit.Place = program.Place;
            Add(program.Name, unit, "program");
            for (const ScriptCell& cell : program.Cells) {
                unit.Kind = ObjectKind::Cell;
                unit.Place = cell.Place;
                Add(cell.Name, unit, "cell");
            }
        }
    }

    void IndexNavigation() {
        const ScriptScenario& scenario = model_.Scenario;
        for (std::size_t d = 0; d < scenario.Domains.size(); ++d) {
            const ScriptDomain& domain = scenario.Domains[d];
            const int di = static_cast<int>(d);
            for (std::size_t l = 0; l < domain.Languages.size(); ++l) {
                for (const ScriptPgc& pgc : domain.Languages[l].Pgcs) {
                    IndexPgc(pgc, {ObjectKind::Pgc, {}, di, static_cast<int>(l), -1, nullptr});
                }
            }
            for (std::size_t t = 0; t < domain.Titles.size(); ++t) {
                const ScriptTitle& title = domain.Titles[t];
                Add(title.Name, {ObjectKind::Title, title.Place, di, -1, -1, nullptr}, "title");
                for (const ScriptPgc& pgc : title.Pgcs) {
                    IndexPgc(pgc, {ObjectKind::Pgc, {}, di, -1, static_cast<int>(t), nullptr});
                }
            }
        }
    }

    const std::vector<NavObject>* Find(const std::string& name) const {
        const auto at = objects_.find(name);
        return at == objects_.end() ? nullptr : &at->second;
    }

    // --- Content ---

    void CheckFile(const ScriptPlay& play, std::string_view what) {
        if (!options_.FileExists) return;
        if (play.File.empty()) {
            Report("file.missing", play.Place, [&] { return std::string(what) + " has an empty File="; });
            return;
        }
        auto [at, added] = files_.try_emplace(play.File, true);
        if (added) at->second = options_.FileExists(play.File);
        if (!at->second) {
            Report("file.missing", play.Place, [&] {
                return std::string(what) + ": the file " + Quoted(play.File) + " does not exist through the drive map";
            });
        }
    }

    static const ScriptButton* FindButton(const ScriptHighlight& highlight, const std::string& name) {
        for (const ScriptButton& button : highlight.Buttons) {
            if (button.Name == name) return &button;
        }
        return nullptr;
    }

    void CheckHighlight(const ScriptHighlight& highlight) {
        std::unordered_map<std::string, const ScriptButton*> names;
        for (const ScriptButton& button : highlight.Buttons) {
            const auto [at, added] = names.try_emplace(button.Name, &button);
            if (!added) Duplicate("button", button.Name, button.Place, at->second->Place);
            const std::pair<std::string_view, const std::string*> sides[] = {
                {"Left", &button.Left}, {"Right", &button.Right}, {"Up", &button.Up}, {"Down", &button.Down}};
            for (const auto& [side, name] : sides) {
                if (*name == "Nonexistent" || FindButton(highlight, *name) != nullptr) continue;
                Report("ref.neighbour", button.Place, [&] {
                    return "button " + Quoted(button.Name) + ": " + std::string(side) + " Button=" + *name +
                           " names no button of its highlight play";
                });
            }
        }
        const std::pair<std::string_view, const std::string*> forced[] = {{"Selected", &highlight.ForcedSelected},
                                                                          {"Activated", &highlight.ForcedActivated}};
        for (const auto& [what, name] : forced) {
            if (*name == "Nonexistent" || FindButton(highlight, *name) != nullptr) continue;
            Report("ref.forced-button", highlight.Play.Place, [&] {
                return "Forced " + std::string(what) + " Button=" + *name +
                       " names no button of the highlight play: a button's name or Nonexistent expected";
            });
        }
    }

    void CheckContent() {
        for (const ScriptTrackFolder& folder : model_.TrackFolders) {
            for (const ScriptTrack& track : folder.Tracks) {
                for (const ScriptPlay& play : track.VideoPlays) CheckFile(play, "video play");
                for (const ScriptStream& stream : track.AudioStreams) {
                    for (const ScriptPlay& play : stream.Plays) CheckFile(play, "audio play");
                }
                for (const ScriptStream& stream : track.SubpictureStreams) {
                    for (const ScriptPlay& play : stream.Plays) CheckFile(play, "sub-picture play");
                }
                for (const ScriptHighlight& highlight : track.Highlights) CheckHighlight(highlight);
            }
        }
    }

    // --- Navigation ---

    void CheckPalette(const ScriptPgc& pgc, bool first) {
        if (palettes_.count(pgc.Palette) != 0) return;
        if (first && pgc.Palette == "Palette1") {
            Report("oddity.fp-palette", pgc.Place,
                   [&] { return "the first PGC's Palette=Palette1 names no palette: the palette pool is empty"; });
            return;
        }
        Report("ref.palette", pgc.Place,
               [&] { return "PGC " + Quoted(pgc.Name) + ": Palette=" + pgc.Palette + " names no palette"; });
    }

    void CheckPgcLink(const ScriptPgc& pgc, const NavObject& unit, std::string_view key, const std::string& name) {
        if (name.empty() || (key == "GoUp" && name == "resume")) return;
        if (const auto* list = Find(name)) {
            for (const NavObject& object : *list) {
                if (object.Kind == ObjectKind::Pgc && object.SameUnit(unit)) return;
            }
        }
        Report("ref.pgc-link", pgc.Place, [&] {
            return "PGC " + Quoted(pgc.Name) + ": " + std::string(key) + " PGC=" + name +
                   " names no PGC of its language unit or title";
        });
    }

    // The highlight play of a cell's scene: by place where the segment has
    // a play per scene, by time in a video segment (the last play to start
    // by the scene's time). Stills whose plays are fewer than their scenes
    // all start at 0 and cannot be told apart: null.
    static const ScriptHighlight* HighlightOf(const SceneAt& scene) {
        const ScriptTrack& track = *scene.Track;
        if (track.Highlights.size() == track.Scenes.size()) return &track.Highlights[scene.Index];
        if (track.Kind != ScriptTrackKind::Video) return nullptr;
        const std::string& time = track.Scenes[scene.Index].SceneTime;
        const ScriptHighlight* found = nullptr;
        for (const ScriptHighlight& highlight : track.Highlights) {
            if (highlight.Play.StartTime <= time) found = &highlight;
        }
        return found;
    }

    void CheckMenuLines(const ScriptCell& cell, const ScriptMenu& menu, const ScriptHighlight& highlight) {
        const std::size_t lines = menu.Commands.size();
        for (const ScriptButton& button : highlight.Buttons) {
            // A button not named "Button" n has no line to count.
            if (button.Number < 1 || static_cast<std::size_t>(button.Number) <= lines) continue;
            Report("ref.menu-lines", menu.Place, [&] {
                return "cell " + Quoted(cell.Name) + ": the menu has " + Dec(static_cast<std::int64_t>(lines)) +
                       " lines, but the highlight play of " + Quoted(cell.LinkedScene) + " (line " +
                       Dec(highlight.Play.Place.Line) + ") has " + Quoted(button.Name) + ": line " +
                       Dec(button.Number) + " expected for it";
            });
            return;
        }
        for (std::size_t k = 1; k <= lines; ++k) {
            const ScriptCommand& line = menu.Commands[k - 1];
            const bool hasButton = std::any_of(highlight.Buttons.begin(), highlight.Buttons.end(),
                                               [k](const ScriptButton& b) { return b.Number == static_cast<int>(k); });
            if (hasButton || line.Text == "Nop") continue;
            Report("ref.menu-lines", line.Place, [&] {
                return "cell " + Quoted(cell.Name) + ": menu line " + Dec(static_cast<std::int64_t>(k)) + " " +
                       Quoted(line.Text) + " belongs to Button" + Dec(static_cast<std::int64_t>(k)) +
                       ", which the highlight play of " + Quoted(cell.LinkedScene) + " does not have: \"Nop\" expected";
            });
        }
    }

    void CheckPgc(const ScriptPgc& pgc, const NavObject& unit, bool first) {
        CheckPalette(pgc, first);
        CheckPgcLink(pgc, unit, "Next", pgc.NextPgc);
        CheckPgcLink(pgc, unit, "Prev", pgc.PrevPgc);
        CheckPgcLink(pgc, unit, "GoUp", pgc.GoupPgc);
        Caller caller{unit, &pgc, false, {}, 0};
        const std::pair<std::string_view, const std::vector<ScriptCommand>*> lists[] = {
            {"Pre", &pgc.PreCommands}, {"Post", &pgc.PostCommands}, {"Cell", &pgc.CellCommands}};
        for (const auto& [label, list] : lists) {
            caller.Label = label;
            caller.ListSize = list->size();
            for (const ScriptCommand& command : *list) CheckCommand(command, caller);
        }
        caller.Button = true;
        for (const ScriptProgram& program : pgc.Programs) {
            for (const ScriptCell& cell : program.Cells) {
                const auto scene = scenes_.find(cell.LinkedScene);
                if (scene == scenes_.end()) {
                    Report("ref.linked-scene", cell.Place, [&] {
                        return "cell " + Quoted(cell.Name) + ": Linked Scene=" + cell.LinkedScene +
                               " names no scene of a segment";
                    });
                }
                if (cell.CellCommand < 0 || static_cast<std::size_t>(cell.CellCommand) > pgc.CellCommands.size()) {
                    Report("ref.cell-command", cell.Place, [&] {
                        return "cell " + Quoted(cell.Name) + ": Command=Cell" + Dec(cell.CellCommand) + ", but PGC " +
                               Quoted(pgc.Name) + " has " + Dec(static_cast<std::int64_t>(pgc.CellCommands.size())) +
                               " cell commands";
                    });
                }
                const ScriptHighlight* highlight = scene == scenes_.end() ? nullptr : HighlightOf(scene->second);
                for (const ScriptMenu& menu : cell.Menus) {
                    if (highlight != nullptr) CheckMenuLines(cell, menu, *highlight);
                    for (const ScriptCommand& command : menu.Commands) CheckCommand(command, caller);
                }
            }
        }
    }

    void CheckPartOfTitle(const std::vector<ScriptReference>& items, const NavObject& unit, const std::string& name) {
        for (const ScriptReference& item : items) {
            if (const auto* list = Find(item.Name)) {
                if (std::any_of(list->begin(), list->end(), [&](const NavObject& o) {
                        return o.Kind == ObjectKind::Program && o.SameUnit(unit);
                    })) {
                    continue;
                }
            }
            Report("ref.part-of-title", item.Place,
                   [&] { return Quoted(name) + ": Part Of Title List Item=" + item.Name + " names no program of it"; });
        }
    }

    void CheckNavigation() {
        const ScriptScenario& scenario = model_.Scenario;
        if (scenario.FirstPgc) CheckPgc(*scenario.FirstPgc, {}, true);
        for (std::size_t d = 0; d < scenario.Domains.size(); ++d) {
            const ScriptDomain& domain = scenario.Domains[d];
            const int di = static_cast<int>(d);
            for (std::size_t l = 0; l < domain.Languages.size(); ++l) {
                const NavObject unit{ObjectKind::Pgc, {}, di, static_cast<int>(l), -1, nullptr};
                for (const ScriptPgc& pgc : domain.Languages[l].Pgcs) CheckPgc(pgc, unit, false);
                CheckPartOfTitle(domain.Languages[l].PartOfTitle, unit, domain.Languages[l].Label);
            }
            for (std::size_t t = 0; t < domain.Titles.size(); ++t) {
                const NavObject unit{ObjectKind::Pgc, {}, di, -1, static_cast<int>(t), nullptr};
                for (const ScriptPgc& pgc : domain.Titles[t].Pgcs) CheckPgc(pgc, unit, false);
                CheckPartOfTitle(domain.Titles[t].PartOfTitle, unit, domain.Titles[t].Name);
            }
        }
    }

    // --- Commands ---

    // "GoTo " followed by the label of the caller's list and a line in it.
    void CheckGoTo(const ScriptCommand& command, const Caller& caller) {
        const std::size_t at = command.Text.find("GoTo ");
        if (at == std::string::npos) return;
        std::string_view rest = std::string_view(command.Text).substr(at + 5);
        int line = 0;
        const bool labelled = rest.starts_with(caller.Label);
        if (labelled) {
            rest.remove_prefix(caller.Label.size());
            std::size_t digits = 0;
            while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9' && digits < 6) {
                line = line * 10 + (rest[digits] - '0');
                ++digits;
            }
        }
        if (labelled && line >= 1 && static_cast<std::size_t>(line) <= caller.ListSize) return;
        Report("ref.goto", command.Place, [&] {
            return Quoted(command.Text) + " in the " + std::string(caller.Label) + " list: \"GoTo " +
                   std::string(caller.Label) + "\" and a line from 1 to " +
                   Dec(static_cast<std::int64_t>(caller.ListSize)) + " expected";
        });
    }

    bool Fits(const NavObject& object, MuxmanTargetKind kind, const Caller& caller) const {
        const ScriptScenario& scenario = model_.Scenario;
        switch (kind) {
        case MuxmanTargetKind::Pgc:
            return object.Kind == ObjectKind::Pgc && object.SameUnit(caller.Unit);
        case MuxmanTargetKind::Program:
            return object.Kind == ObjectKind::Program && object.Pgc == caller.Pgc;
        case MuxmanTargetKind::Cell:
            return object.Kind == ObjectKind::Cell && object.Pgc == caller.Pgc;
        case MuxmanTargetKind::Title:
            return object.Kind == ObjectKind::Title &&
                   scenario.Domains[static_cast<std::size_t>(object.Domain)].Kind == ScriptDomainKind::TitleSet;
        case MuxmanTargetKind::VtsTitle:
            return object.Kind == ObjectKind::Title && object.Domain == caller.Unit.Domain;
        case MuxmanTargetKind::TitleProgram:
            return object.Kind == ObjectKind::Program && object.Title >= 0 && object.Domain == caller.Unit.Domain;
        case MuxmanTargetKind::VmgPgc:
            return object.Kind == ObjectKind::Pgc && object.Domain >= 0 &&
                   scenario.Domains[static_cast<std::size_t>(object.Domain)].Kind == ScriptDomainKind::VideoManager;
        case MuxmanTargetKind::None:
            break;
        }
        return false;
    }

    static std::string_view Expected(MuxmanTargetKind kind) {
        switch (kind) {
        case MuxmanTargetKind::Pgc:
            return "a PGC of the command's language unit or title";
        case MuxmanTargetKind::Program:
            return "a program of the command's PGC";
        case MuxmanTargetKind::Cell:
            return "a cell of the command's PGC";
        case MuxmanTargetKind::Title:
            return "a title of a title set";
        case MuxmanTargetKind::VtsTitle:
            return "a title of the command's title set";
        case MuxmanTargetKind::TitleProgram:
            return "a program of a title of the command's title set";
        case MuxmanTargetKind::VmgPgc:
            return "a PGC of the Video Manager";
        case MuxmanTargetKind::None:
            break;
        }
        return "an object";
    }

    void CheckCommand(const ScriptCommand& command, const Caller& caller) {
        const std::string& text = command.Text;
        if (text == "ERROR") {
            Report("oddity.error-line", command.Place, [&] {
                return "the command line reads ERROR: the translation found no target for the source's command";
            });
            return;
        }
        const MuxmanTarget target = FindMuxmanTarget(text);
        VmCommand vm;
        try {
            vm = ParseCommandText(DecoderText(text, target));
        } catch (const CommandTextError& fault) {
            if (text.find("LinkTopC, button=1") != std::string::npos) {
                Report("oddity.replaced-link", command.Place, [&] {
                    return Quoted(text) +
                           ": the link replaced by \"LinkTopC, button=1\" leaves the rest of the "
                           "decoder's text behind it";
                });
            } else {
                Report("command.mxp-text", command.Place, [&] {
                    return Quoted(text) + " is no command line: its names taken back to numbers, " +
                           Quoted(DecoderText(text, target)) + " in column " + Dec(fault.Column()) + ": " +
                           fault.Expected() + " expected";
                });
            }
            return;
        }
        if (text.find("SPECIAL_MENU_") != std::string::npos) {
            Report("command.mxp-text", command.Place, [&] {
                return Quoted(text) +
                       ": \"SPECIAL_MENU_\" stands untranslated, where the translation makes it a "
                       "LinkPGCN to the menu's PGC";
            });
            return;
        }
        if (!caller.Button) CheckGoTo(command, caller);
        // A title set's menu by number: the title set is one of a FULL script's.
        if (vm.Kind == CommandKind::JumpSS && vm.Space == SystemSpace::TitleSetMenu && vm.TitleSet > 0 && !small_) {
            std::string domain = std::to_string(vm.TitleSet);
            domain = "VTS" + std::string(domain.size() < 3 ? 3 - domain.size() : 0, '0') + domain;
            const auto& domains = model_.Scenario.Domains;
            if (std::none_of(domains.begin(), domains.end(), [&](const ScriptDomain& d) { return d.Name == domain; })) {
                Report("ref.vts-number", command.Place, [&] {
                    return Quoted(text) + " reaches title set " + Dec(vm.TitleSet) + ", but the script has no " +
                           Quoted("Item=" + domain);
                });
            }
        }
        if (target.TitleSetZero) {
            Report("oddity.jumpss-vts0", command.Place,
                   [&] { return Quoted(text) + ": vts_0 names no title set (the source's field is 0)"; });
        }
        if (target.VmgPgcByNumber) {
            Report("oddity.vmg-pgc-no-target", command.Place, [&] {
                return Quoted(text) + ": \"pgc=\" and a number stands untranslated, naming no PGC of the script";
            });
            return;
        }
        if (target.Kind == MuxmanTargetKind::None) return;
        const std::string name = text.substr(target.At, target.Length);
        const std::vector<NavObject>* found = name.empty() ? nullptr : Find(name);
        if (found != nullptr && std::any_of(found->begin(), found->end(),
                                            [&](const NavObject& o) { return Fits(o, target.Kind, caller); })) {
            return;
        }
        if (found == nullptr && small_ && !name.empty()) {
            Report("ref.outside-script", command.Place, [&] {
                return Quoted(text) + ": " + Quoted(name) + " is not in this small script (" +
                       std::string(Expected(target.Kind)) + " expected); the merge restores the source's command";
            });
            return;
        }
        Report("ref.command-target", command.Place, [&] {
            std::string says = name.empty() ? std::string(" names nothing") : ": " + Quoted(name);
            if (!name.empty())
                says += found == nullptr ? " names nothing"
                                         : " names " + std::string(KindName(found->front().Kind)) + " out of reach";
            return Quoted(text) + says + "; " + std::string(Expected(target.Kind)) + " expected";
        });
    }

    const ScriptModel& model_;
    const ScriptLintOptions& options_;
    ScriptDiagnostics& diagnostics_;
    const bool small_;  // a script of one VOB: no destination folder

    std::unordered_map<std::string, const ScriptPalette*> palettes_;
    std::unordered_map<std::string, SceneAt> scenes_;
    std::unordered_map<std::string, std::vector<NavObject>> objects_;
    std::unordered_map<std::string, bool> files_;  // whether each file exists, asked once
};

std::function<bool(const std::string&)> DriveFileExists(const platform::FileSystem& files) {
    // A path the drive map cannot place (no drive letter, an unmapped drive)
    // names no file either.
    return [&files](const std::string& file) {
        try {
            return files.FileExists(file);
        } catch (const Error&) {
            return false;
        }
    };
}

bool EndsWithIgnoreCase(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && platform::EqualsIgnoreCase(text.substr(text.size() - end.size()), end);
}

}  // namespace

void CheckMuxmanGrammar(const ScriptDocument& document, ScriptDiagnostics& diagnostics) {
    GrammarCheck(document, diagnostics).Run();
}

void CheckMuxmanReferences(const ScriptModel& model, const ScriptLintOptions& options, ScriptDiagnostics& diagnostics) {
    ReferenceCheck(model, options, diagnostics).Run();
}

LintedScript LintMuxmanFile(const platform::FileSystem& files, const std::string& path, ScriptDiagnostics& diagnostics,
                            const std::string& shownAs) {
    LintedScript script;
    script.Document = ReadScriptFile(files, path, diagnostics, shownAs);
    script.Model = ReadMuxmanModel(script.Document, diagnostics);
    CheckMuxmanGrammar(script.Document, diagnostics);
    ScriptLintOptions options;
    options.FileExists = DriveFileExists(files);
    CheckMuxmanReferences(script.Model, options, diagnostics);
    diagnostics.Finish();
    return script;
}

bool IsMuxmanScript(const std::string& path, const ScriptDocument& document) {
    if (EndsWithIgnoreCase(path, ".MXP")) return true;
    if (EndsWithIgnoreCase(path, ".SCP") || document.Nodes.empty() || document.Root().FirstChild == 0) return false;
    return document.Statement(document.Node(document.Root().FirstChild)) == "Section=Settings";
}

LintedScript LintScriptFile(const platform::FileSystem& files, const std::string& path, ScriptDiagnostics& diagnostics,
                            const std::string& shownAs) {
    LintedScript script;
    script.Document = ReadScriptFile(files, path, diagnostics, shownAs);
    ScriptLintOptions options;
    options.FileExists = DriveFileExists(files);
    if (IsMuxmanScript(path, script.Document)) {
        script.Model = ReadMuxmanModel(script.Document, diagnostics);
        CheckMuxmanGrammar(script.Document, diagnostics);
        CheckMuxmanReferences(script.Model, options, diagnostics);
    } else {
        script.Model = ReadScenaristModel(script.Document, diagnostics);
        CheckScenaristGrammar(script.Document, diagnostics);
        CheckScenaristReferences(script.Model, options, diagnostics);
    }
    diagnostics.Finish();
    return script;
}

}  // namespace kestrova
