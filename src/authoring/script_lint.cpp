// The Scenarist script linter: the references of the model. See
// script_lint.h; the grammar is in script_grammar.cpp.
#include "authoring/script_lint.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "dvd/command_text.h"
#include "model/language_table.h"

namespace kestrova {

namespace {

std::string Dec(std::int64_t n) { return std::to_string(n); }

// --- References --------------------------------------------------------------

enum class ObjectKind { Domain, Pgc, Program, Title, Command };

std::string_view KindName(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::Domain:
        return "a domain";
    case ObjectKind::Pgc:
        return "a PGC";
    case ObjectKind::Program:
        return "a program";
    case ObjectKind::Title:
        return "a title";
    case ObjectKind::Command:
        return "a command";
    }
    return "an object";
}

// A named object of the scenario and where it sits.
struct ScenarioObject {
    ObjectKind Kind = ObjectKind::Domain;
    ScriptPlace Place;
    int Domain = -1;    // index into Domains; -1 for the first and resume PGCs
    int Language = -1;  // index into the domain's languages; -1 in titles
    int Title = -1;     // index into the domain's titles; -1 in menus
    int Index = 0;      // 1-based: a PGC in its language or title, a program in its PGC, a title in its domain
    const ScriptPgc* Pgc = nullptr;  // a PGC's own record, a program's PGC
};

// The command in hand: its domain, language unit or title, PGC and list.
struct Caller {
    int Domain = -1;
    int Language = -1;
    int Title = -1;
    const ScriptPgc* Pgc = nullptr;
    bool Button = false;
    std::size_t ListSize = 0;
};

std::string_view MenuName(MenuId menu) {
    switch (menu) {
    case MenuId::Root:
        return "Root Menu";
    case MenuId::Subpicture:
        return "Subpicture Menu";
    case MenuId::Audio:
        return "Audio Menu";
    case MenuId::Angle:
        return "Angle Menu";
    case MenuId::PTT:
        return "PTT Menu";
    case MenuId::Unknown:
        break;
    }
    return "";
}

class ReferenceCheck {
public:
    ReferenceCheck(const ScriptModel& model, const ScriptLintOptions& options, ScriptDiagnostics& diagnostics)
        : model_(model), options_(options), diagnostics_(diagnostics) {}

    void Run() {
        IndexData();
        IndexTracks();
        IndexPalettes();
        IndexScenario();
        CheckData();
        CheckTracks();
        CheckScenario();
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

    // Adds a name to a table; a name already there is ref.duplicate-name.
    template <class Table, class Value>
    void Unique(Table& table, const std::string& name, const ScriptPlace& place, std::string_view what, Value value) {
        const auto [at, added] = table.try_emplace(name, value);
        if (added) return;
        Report("ref.duplicate-name", place, [&] {
            return std::string(what) + " name " + Quoted(name) + " is already the name of line " +
                   Dec(PlaceOf(at->second).Line);
        });
    }

    static ScriptPlace PlaceOf(const ScriptDataItem* item) { return item->Place; }
    static ScriptPlace PlaceOf(const ScriptTrack* track) { return track->Place; }
    static ScriptPlace PlaceOf(const ScriptScene* scene) { return scene->Place; }
    static ScriptPlace PlaceOf(const ScriptPalette* palette) { return palette->Place; }
    static ScriptPlace PlaceOf(const ScenarioObject& object) { return object.Place; }
    static ScriptPlace PlaceOf(const std::pair<const ScriptButton*, const ScriptHighlight*>& b) {
        return b.first->Place;
    }

    // --- Tables ---

    void IndexData() {
        for (const ScriptDataFolder& folder : model_.DataFolders) {
            for (const ScriptDataItem& item : folder.Items) Unique(data_, item.Name, item.Place, "data item", &item);
        }
    }

    void IndexTracks() {
        std::size_t buttons = 0;
        for (const ScriptTrackFolder& folder : model_.TrackFolders) {
            for (const ScriptTrack& track : folder.Tracks) {
                for (const ScriptHighlight& highlight : track.Highlights) buttons += highlight.Buttons.size();
            }
        }
        buttons_.reserve(buttons);
        for (const ScriptTrackFolder& folder : model_.TrackFolders) {
            for (const ScriptTrack& track : folder.Tracks) {
                Unique(tracks_, track.Name, track.Place, "track", &track);
                for (const ScriptScene& scene : track.Scenes) Unique(scenes_, scene.Name, scene.Place, "scene", &scene);
                for (const ScriptHighlight& highlight : track.Highlights) {
                    for (const ScriptButton& button : highlight.Buttons) {
                        Unique(buttons_, button.Name, button.Place, "button", std::pair(&button, &highlight));
                    }
                }
            }
        }
    }

    void IndexPalettes() {
        for (const ScriptPalette& palette : model_.Palettes) {
            Unique(palettes_, palette.Name, palette.Place, "palette", &palette);
        }
    }

    void IndexPgc(const ScriptPgc& pgc, ScenarioObject object) {
        object.Kind = ObjectKind::Pgc;
        object.Place = pgc.Place;
        object.Pgc = &pgc;
        Unique(scenario_, pgc.Name, pgc.Place, "PGC", object);
        const auto commands = [&](const std::vector<ScriptCommand>& list) {
            for (const ScriptCommand& command : list) {
                Unique(scenario_, command.Name, command.Place, "command",
                       ScenarioObject{ObjectKind::Command, command.Place, object.Domain});
            }
        };
        commands(pgc.PreCommands);
        commands(pgc.PostCommands);
        commands(pgc.CellCommands);
        int index = 0;
        for (const ScriptProgram& program : pgc.Programs) {
            Unique(scenario_, program.Name, program.Place, "program",
                   ScenarioObject{ObjectKind::Program, program.Place, object.Domain, object.Language, object.Title,
                                  ++index, &pgc});
            // Cells take their scene's name, so several may share it.
            for (const ScriptCell& cell : program.Cells) {
                const auto [at, added] = cells_.try_emplace(cell.Name, &cell);
                if (added) continue;
                Report("oddity.shared-cell-name", cell.Place, [&] {
                    return "cell name " + Quoted(cell.Name) + " is also the name of the cell at line " +
                           Dec(at->second->Place.Line) + ": cells take their scene's name";
                });
            }
        }
    }

    void IndexScenario() {
        const ScriptScenario& scenario = model_.Scenario;
        if (scenario.FirstPgc) IndexPgc(*scenario.FirstPgc, {});
        if (scenario.ResumePgc) IndexPgc(*scenario.ResumePgc, {});
        for (std::size_t d = 0; d < scenario.Domains.size(); ++d) {
            const ScriptDomain& domain = scenario.Domains[d];
            const int di = static_cast<int>(d);
            Unique(scenario_, domain.Name, domain.Place, "domain",
                   ScenarioObject{ObjectKind::Domain, domain.Place, di});
            for (std::size_t l = 0; l < domain.Languages.size(); ++l) {
                const auto& pgcs = domain.Languages[l].Pgcs;
                for (std::size_t p = 0; p < pgcs.size(); ++p) {
                    IndexPgc(pgcs[p], {ObjectKind::Pgc, {}, di, static_cast<int>(l), -1, static_cast<int>(p + 1)});
                }
            }
            for (std::size_t t = 0; t < domain.Titles.size(); ++t) {
                const ScriptTitle& title = domain.Titles[t];
                Unique(scenario_, title.Name, title.Place, "title",
                       ScenarioObject{ObjectKind::Title, title.Place, di, -1, static_cast<int>(t),
                                      static_cast<int>(t + 1)});
                if (domain.Kind == ScriptDomainKind::TitleSet) titles_.push_back(&title);
                for (std::size_t p = 0; p < title.Pgcs.size(); ++p) {
                    IndexPgc(title.Pgcs[p],
                             {ObjectKind::Pgc, {}, di, -1, static_cast<int>(t), static_cast<int>(p + 1)});
                }
            }
        }
    }

    const ScenarioObject* Find(const std::string& name) const {
        const auto at = scenario_.find(name);
        return at == scenario_.end() ? nullptr : &at->second;
    }

    // --- Data, tracks ---

    void CheckData() {
        if (!options_.FileExists) return;
        std::unordered_map<std::string, bool> seen;
        for (const ScriptDataFolder& folder : model_.DataFolders) {
            for (const ScriptDataItem& item : folder.Items) {
                if (item.PlaceHolder) continue;
                if (item.File.empty()) {
                    Report("file.missing", item.Place,
                           [&] { return "data item " + Quoted(item.Name) + " has an empty File="; });
                    continue;
                }
                auto [at, added] = seen.try_emplace(item.File, true);
                if (added) at->second = options_.FileExists(item.File);
                if (!at->second && item.File.rfind("\\NEW_M2V\\", 0) == 0) {
                    Report("oddity.unticked-dummy", item.Place, [&] {
                        return "data item " + Quoted(item.Name) + ": " + Quoted(item.File) +
                               " has no folder in front: the dummy still of a domain that was not ticked";
                    });
                } else if (!at->second) {
                    Report("file.missing", item.Place, [&] {
                        return "data item " + Quoted(item.Name) + ": the file " + Quoted(item.File) +
                               " does not exist through the drive map";
                    });
                }
            }
        }
    }

    static std::string_view DataKindName(ScriptDataKind kind) {
        switch (kind) {
        case ScriptDataKind::Video:
            return "a video item";
        case ScriptDataKind::Still:
            return "an encoded still";
        case ScriptDataKind::Audio:
            return "an AC3 audio item";
        case ScriptDataKind::Subpicture:
            return "a sub-picture item";
        }
        return "a data item";
    }

    void CheckPlay(const ScriptPlay& play, std::string_view what, const ScriptDataKind* kind) {
        if (play.Data.empty() && kind == nullptr) return;  // a highlight play names no data
        const auto at = data_.find(play.Data);
        if (at == data_.end()) {
            Report("ref.data", play.Place,
                   [&] { return std::string(what) + " Data=" + play.Data + " names no data item"; });
        } else if (kind != nullptr && at->second->Kind != *kind) {
            Report("ref.data", play.Place, [&] {
                return std::string(what) + " Data=" + play.Data + " names " +
                       std::string(DataKindName(at->second->Kind)) + " (line " + Dec(at->second->Place.Line) +
                       "), where " + std::string(DataKindName(*kind)) + " is expected";
            });
        }
    }

    void CheckNeighbour(const ScriptButton& button, const ScriptHighlight& highlight, std::string_view side,
                        const std::string& name) {
        const auto at = buttons_.find(name);
        if (at != buttons_.end() && at->second.second == &highlight) return;
        Report("ref.neighbour", button.Place, [&] {
            return "button " + Quoted(button.Name) + ": " + std::string(side) + " Button=" + name +
                   (at == buttons_.end()
                        ? std::string(" names no button")
                        : " names a button of another highlight (line " + Dec(at->second.first->Place.Line) + ")");
        });
    }

    void CheckTracks() {
        static constexpr ScriptDataKind kAudio = ScriptDataKind::Audio;
        static constexpr ScriptDataKind kSubpicture = ScriptDataKind::Subpicture;
        static constexpr ScriptDataKind kVideo = ScriptDataKind::Video;
        static constexpr ScriptDataKind kStill = ScriptDataKind::Still;
        for (const ScriptTrackFolder& folder : model_.TrackFolders) {
            for (const ScriptTrack& track : folder.Tracks) {
                for (const ScriptStream& stream : track.AudioStreams) {
                    for (const ScriptPlay& play : stream.Plays) CheckPlay(play, "audio play", &kAudio);
                }
                for (const ScriptStream& stream : track.SubpictureStreams) {
                    for (const ScriptPlay& play : stream.Plays) CheckPlay(play, "sub-picture play", &kSubpicture);
                }
                for (const ScriptHighlight& highlight : track.Highlights) {
                    CheckPlay(highlight.Play, "highlight play", nullptr);
                    for (const ScriptButton& button : highlight.Buttons) {
                        CheckNeighbour(button, highlight, "Left", button.Left);
                        CheckNeighbour(button, highlight, "Right", button.Right);
                        CheckNeighbour(button, highlight, "Up", button.Up);
                        CheckNeighbour(button, highlight, "Down", button.Down);
                    }
                }
                for (const ScriptScene& scene : track.Scenes) {
                    if (palettes_.count(scene.ColorPalette) == 0) {
                        Report("ref.palette", scene.Place, [&] {
                            return "scene " + Quoted(scene.Name) + ": Color Palette=" + scene.ColorPalette +
                                   " names no palette of Object=List";
                        });
                    }
                }
                CheckPlay(track.Picture, "the track's picture play",
                          track.Kind == ScriptTrackKind::Video ? &kVideo : &kStill);
            }
        }
    }

    // --- Scenario ---

    void CheckTrackList(const std::vector<ScriptReference>& list, std::string_view what) {
        for (const ScriptReference& item : list) {
            if (tracks_.count(item.Name) != 0) continue;
            Report("ref.track-list", item.Place,
                   [&] { return std::string(what) + " Item=" + item.Name + " names no track"; });
        }
    }

    void CheckPgcLink(const ScriptPgc& pgc, int domain, std::string_view key, const std::string& name) {
        if (name.empty()) return;
        if (key == "Goup" && name == "_Resume_") {
            if (model_.Scenario.ResumePgc) return;
            Report("ref.pgc-link", pgc.Place, [&] {
                return "PGC " + Quoted(pgc.Name) + ": Goup PGC=_Resume_ but the scenario has no Resume PGC";
            });
            return;
        }
        const ScenarioObject* target = Find(name);
        if (target != nullptr && target->Kind == ObjectKind::Pgc && target->Domain == domain) return;
        Report("ref.pgc-link", pgc.Place, [&] {
            std::string text = "PGC " + Quoted(pgc.Name) + ": " + std::string(key) + " PGC=" + name;
            if (target == nullptr) return text + " names no PGC";
            if (target->Kind != ObjectKind::Pgc) return text + " names " + std::string(KindName(target->Kind));
            return text + " names a PGC of another domain";
        });
    }

    void CheckPgc(const ScriptPgc& pgc, Caller caller) {
        CheckPgcLink(pgc, caller.Domain, "Next", pgc.NextPgc);
        CheckPgcLink(pgc, caller.Domain, "Prev", pgc.PrevPgc);
        CheckPgcLink(pgc, caller.Domain, "Goup", pgc.GoupPgc);
        caller.Pgc = &pgc;
        for (const auto* list : {&pgc.PreCommands, &pgc.PostCommands, &pgc.CellCommands}) {
            caller.ListSize = list->size();
            for (const ScriptCommand& command : *list) CheckCommand(command, caller);
        }
        caller.Button = true;
        caller.ListSize = 1;
        for (const ScriptProgram& program : pgc.Programs) {
            for (const ScriptCell& cell : program.Cells) {
                if (scenes_.count(cell.LinkedScene) == 0) {
                    Report("ref.linked-scene", cell.Place, [&] {
                        return "cell " + Quoted(cell.Name) + ": Linked Scene=" + cell.LinkedScene + " names no scene";
                    });
                }
                if (cell.CellCommand < 0 || static_cast<std::size_t>(cell.CellCommand) > pgc.CellCommands.size()) {
                    Report("ref.cell-command", cell.Place, [&] {
                        return "cell " + Quoted(cell.Name) + ": Cell Command=" + Dec(cell.CellCommand) + ", but PGC " +
                               Quoted(pgc.Name) + " has " + Dec(static_cast<std::int64_t>(pgc.CellCommands.size())) +
                               " cell commands";
                    });
                }
                for (const ScriptMenu& menu : cell.Menus) {
                    for (const ScriptCommand& command : menu.Commands) CheckCommand(command, caller);
                }
            }
        }
    }

    void CheckScenario() {
        const ScriptScenario& scenario = model_.Scenario;
        if (scenario.FirstPgc) CheckPgc(*scenario.FirstPgc, {});
        if (scenario.ResumePgc) CheckPgc(*scenario.ResumePgc, {});
        for (std::size_t d = 0; d < scenario.Domains.size(); ++d) {
            const ScriptDomain& domain = scenario.Domains[d];
            const int di = static_cast<int>(d);
            CheckTrackList(domain.MenuTracks, "Menu Track List");
            CheckTrackList(domain.TitleTracks, "Title Track List");
            for (std::size_t l = 0; l < domain.Languages.size(); ++l) {
                for (const ScriptPgc& pgc : domain.Languages[l].Pgcs) CheckPgc(pgc, {di, static_cast<int>(l)});
            }
            for (std::size_t t = 0; t < domain.Titles.size(); ++t) {
                const ScriptTitle& title = domain.Titles[t];
                for (const ScriptPgc& pgc : title.Pgcs) CheckPgc(pgc, {di, -1, static_cast<int>(t)});
                for (const ScriptReference& item : title.PartOfTitle) {
                    const ScenarioObject* target = Find(item.Name);
                    if (target != nullptr && target->Kind == ObjectKind::Program && target->Domain == di &&
                        target->Title == static_cast<int>(t)) {
                        continue;
                    }
                    Report("ref.part-of-title", item.Place, [&] {
                        return "title " + Quoted(title.Name) + ": Part of Title Item=" + item.Name +
                               " names no program of the title";
                    });
                }
            }
        }
    }

    // --- Commands ---

    // The number of title sets, and the titles of title set n (from 1).
    int TitleSetCount() const {
        return static_cast<int>(
            std::count_if(model_.Scenario.Domains.begin(), model_.Scenario.Domains.end(),
                          [](const ScriptDomain& d) { return d.Kind == ScriptDomainKind::TitleSet; }));
    }
    const ScriptDomain* TitleSet(int n) const {
        for (const ScriptDomain& domain : model_.Scenario.Domains) {
            if (domain.Kind == ScriptDomainKind::TitleSet && --n == 0) return &domain;
        }
        return nullptr;
    }
    static bool HasMenu(const ScriptDomain& domain, std::string_view menu) {
        for (const ScriptLanguage& language : domain.Languages) {
            for (const ScriptPgc& pgc : language.Pgcs) {
                if (pgc.MenuId == menu) return true;
            }
        }
        return false;
    }

    // Jumps by number to title sets, titles and menus.
    void CheckNumbers(const ScriptCommand& command, const VmCommand& vm, const Caller& caller) {
        const auto menuMissing = [&](const ScriptDomain& domain, std::string_view menu) {
            if (menu.empty() || HasMenu(domain, menu)) return;
            Report("ref.menu", command.Place, [&] {
                return Quoted(command.Text) + " reaches the " + std::string(menu) + " of " + Quoted(domain.Name) +
                       ", where no PGC has Menu ID=" + std::string(menu);
            });
        };
        if ((vm.Kind == CommandKind::JumpSS || vm.Kind == CommandKind::CallSS) && vm.Space == SystemSpace::TitleMenu &&
            !model_.Scenario.Domains.empty()) {
            menuMissing(model_.Scenario.Domains.front(), "Title Menu");
        }
        if (vm.Kind == CommandKind::JumpSS && vm.Space == SystemSpace::TitleSetMenu && vm.TitleSet > 0) {
            const ScriptDomain* set = TitleSet(vm.TitleSet);
            if (set == nullptr) {
                Report("ref.vts-number", command.Place, [&] {
                    return Quoted(command.Text) + " reaches title set " + Dec(vm.TitleSet) + ", but the script has " +
                           Dec(TitleSetCount());
                });
                return;
            }
            if (vm.Title > 0 && static_cast<std::size_t>(vm.Title) > set->Titles.size()) {
                Report("ref.title-number", command.Place, [&] {
                    return Quoted(command.Text) + " names title " + Dec(vm.Title) + " of " + Quoted(set->Name) +
                           ", which has " + Dec(static_cast<std::int64_t>(set->Titles.size()));
                });
            }
            menuMissing(*set, MenuName(vm.Menu));
        }
        if (vm.Kind == CommandKind::CallSS && vm.Space == SystemSpace::TitleSetMenu && caller.Domain >= 0) {
            const ScriptDomain& domain = model_.Scenario.Domains[static_cast<std::size_t>(caller.Domain)];
            if (domain.Kind == ScriptDomainKind::TitleSet) menuMissing(domain, MenuName(vm.Menu));
        }
    }

    // The n-th cell of a PGC counted over its programs.
    static const ScriptCell* NthCell(const ScriptPgc& pgc, int n) {
        for (const ScriptProgram& program : pgc.Programs) {
            for (const ScriptCell& cell : program.Cells) {
                if (--n == 0) return &cell;
            }
        }
        return nullptr;
    }

    // What a VMG PGC's target looks like when the writer put the language's
    // name where its code belongs: "VID_English_P_2".
    bool NamesLanguage(std::string_view target) const {
        if (!target.starts_with("VID_")) return false;
        const std::size_t p = target.rfind("_P_");
        if (p == std::string_view::npos || p < 4) return false;
        const std::string_view language = target.substr(4, p - 4);
        if (!model_.Scenario.Domains.empty()) {
            for (const ScriptLanguage& l : model_.Scenario.Domains.front().Languages) {
                if (l.LanguageName == language) return true;
            }
        }
        for (const CLsDVD::Row& row : CLsDVD().SpareLanguage()) {
            if (row.Name != nullptr && language == row.Name) return true;
        }
        return false;
    }

    void CheckCommand(const ScriptCommand& command, const Caller& caller) {
        const std::string& target = command.Target;
        if (command.Text.empty()) {
            Report("oddity.empty-command", command.Place, [&] {
                return "command " + Quoted(command.Name) + ": Command= is empty (bytes the decoder does not know)";
            });
            if (!target.empty() && target != "ERROR") {
                Report("ref.to-action", command.Place, [&] { return "an empty command has To Action=" + target; });
            }
            return;
        }
        VmCommand vm;
        try {
            vm = ParseCommandText(command.Text);
        } catch (const CommandTextError& fault) {
            Report("command.text", command.Place, [&] {
                return "command " + Quoted(command.Name) + ": " + Quoted(command.Text) + " in column " +
                       Dec(fault.Column()) + ": " + fault.Expected() + " expected";
            });
            return;
        }
        if (!caller.Button && (vm.Kind == CommandKind::GoTo || vm.Kind == CommandKind::SetTmpPML) &&
            (vm.Line < 1 || static_cast<std::size_t>(vm.Line) > caller.ListSize)) {
            Report("ref.goto", command.Place, [&] {
                return Quoted(command.Text) + " goes to command " + Dec(vm.Line) + " of a list of " +
                       Dec(static_cast<std::int64_t>(caller.ListSize));
            });
        }
        CheckNumbers(command, vm, caller);

        enum class Need { None, Pgc, Program, Cell, Title, VtsTitle, TitleProgram, VmgPgc, VmgPgcUnresolved };
        Need need = Need::None;
        if (vm.Link.Type == LinkType::PGCN) {
            need = Need::Pgc;
        } else if (vm.Link.Type == LinkType::PGN) {
            need = Need::Program;
        } else if (vm.Link.Type == LinkType::CN) {
            need = Need::Cell;
        } else if (vm.Kind == CommandKind::JumpTT) {
            need = Need::Title;
        } else if (vm.Kind == CommandKind::JumpVTS_TT) {
            need = Need::VtsTitle;
        } else if (vm.Kind == CommandKind::JumpVTS_PTT) {
            need = Need::TitleProgram;
        } else if (vm.Space == SystemSpace::VmgPgc) {
            // The writer resolves only CallSS's "pgc_" form (a resume cell
            // above 0); "pgc=" and JumpSS's get no target.
            const bool resolved = vm.Kind == CommandKind::CallSS && command.Text.find("pgc_") != std::string::npos;
            need = resolved ? Need::VmgPgc : Need::VmgPgcUnresolved;
        }

        if (target == "ERROR") {
            if (caller.Button) {
                Report("oddity.button-error", command.Place, [&] {
                    return "command " + Quoted(command.Name) + ": To Action=ERROR, the target of " +
                           Quoted(command.Text) + " could not be resolved when the script was written";
                });
            } else {
                Report("ref.to-action", command.Place, [&] {
                    return "command " + Quoted(command.Name) +
                           ": To Action=ERROR in a PGC's list, where an unresolved target becomes Nop";
                });
            }
            return;
        }
        if (need == Need::None) {
            if (!target.empty()) {
                Report("ref.to-action", command.Place,
                       [&] { return Quoted(command.Text) + " reaches no object by name, but To Action=" + target; });
            }
            return;
        }
        if (need == Need::VmgPgcUnresolved && target.empty()) {
            Report("oddity.vmg-pgc-no-target", command.Place, [&] {
                return Quoted(command.Text) + " has an empty To Action: jumps to VMG PGCs of this form get no target";
            });
            return;
        }

        const ScenarioObject* object = target.empty() ? nullptr : Find(target);
        const auto wrong = [&](const std::string& expected) {
            Report("ref.to-action", command.Place, [&] {
                std::string text = Quoted(command.Text) + ": To Action=" + target;
                if (target.empty()) text = Quoted(command.Text) + " has an empty To Action";
                if (!target.empty() && object == nullptr) text += " names nothing";
                if (object != nullptr) text += " names " + std::string(KindName(object->Kind));
                return text + "; " + expected + " expected";
            });
        };
        switch (need) {
        case Need::Pgc: {
            const int n = vm.Link.Number;
            if (object != nullptr && object->Kind == ObjectKind::Pgc && object->Domain == caller.Domain &&
                object->Language == caller.Language && object->Title == caller.Title && object->Index == n) {
                return;
            }
            wrong("PGC " + Dec(n) + " of the command's own language unit");
            return;
        }
        case Need::Program: {
            const int n = vm.Link.Number;
            if (object != nullptr && object->Kind == ObjectKind::Program && object->Pgc == caller.Pgc &&
                object->Index == n) {
                return;
            }
            wrong("program " + Dec(n) + " of the command's own PGC");
            return;
        }
        case Need::Cell: {
            const ScriptCell* cell = caller.Pgc == nullptr ? nullptr : NthCell(*caller.Pgc, vm.Link.Number);
            if (cell != nullptr && target == cell->Name + "_c") {
                Report("oddity.linkcn-target", command.Place, [&] {
                    return Quoted(command.Text) + ": To Action=" + target +
                           " is the cell's scene name and \"_c\", which names nothing";
                });
                return;
            }
            wrong(cell == nullptr
                      ? "a cell within the PGC's " + Dec(static_cast<std::int64_t>(CellCount(caller.Pgc))) + " cells"
                      : Quoted(cell->Name + "_c"));
            return;
        }
        case Need::Title: {
            const int n = vm.Title;
            if (n < 1 || static_cast<std::size_t>(n) > titles_.size()) {
                Report("ref.title-number", command.Place, [&] {
                    return Quoted(command.Text) + " reaches title " + Dec(n) + ", but the script has " +
                           Dec(static_cast<std::int64_t>(titles_.size())) + " titles";
                });
                return;
            }
            if (target == titles_[static_cast<std::size_t>(n - 1)]->Name) return;
            wrong("title " + Dec(n) + ", " + Quoted(titles_[static_cast<std::size_t>(n - 1)]->Name));
            return;
        }
        case Need::VtsTitle:
        case Need::TitleProgram: {
            const int n = vm.Title;
            const ScriptDomain* domain =
                caller.Domain >= 0 ? &model_.Scenario.Domains[static_cast<std::size_t>(caller.Domain)] : nullptr;
            if (domain == nullptr || domain->Kind != ScriptDomainKind::TitleSet || n < 1 ||
                static_cast<std::size_t>(n) > domain->Titles.size()) {
                Report("ref.title-number", command.Place, [&] {
                    return Quoted(command.Text) + " reaches title " + Dec(n) + " of its title set, which has " +
                           Dec(domain == nullptr || domain->Kind != ScriptDomainKind::TitleSet
                                   ? 0
                                   : static_cast<std::int64_t>(domain->Titles.size()));
                });
                return;
            }
            if (need == Need::VtsTitle) {
                if (object != nullptr && object->Kind == ObjectKind::Title && object->Domain == caller.Domain &&
                    object->Index == n) {
                    return;
                }
                wrong("title " + Dec(n) + " of the title set");
                return;
            }
            if (object != nullptr && object->Kind == ObjectKind::Program && object->Domain == caller.Domain &&
                object->Title == n - 1) {
                return;
            }
            wrong("a program of title " + Dec(n) + " of the title set");
            return;
        }
        case Need::VmgPgc:
        case Need::VmgPgcUnresolved: {
            if (object != nullptr && object->Kind == ObjectKind::Pgc && object->Domain >= 0 &&
                model_.Scenario.Domains[static_cast<std::size_t>(object->Domain)].Kind ==
                    ScriptDomainKind::VideoManager) {
                return;
            }
            if (object == nullptr && NamesLanguage(target)) {
                Report("oddity.callss-language-name", command.Place, [&] {
                    return Quoted(command.Text) + ": To Action=" + target +
                           " carries the language's name where VMG PGCs carry its code, so it names nothing";
                });
                return;
            }
            wrong("a PGC of the Video Manager");
            return;
        }
        case Need::None:
            break;
        }
    }

    static std::size_t CellCount(const ScriptPgc* pgc) {
        std::size_t count = 0;
        if (pgc != nullptr) {
            for (const ScriptProgram& program : pgc->Programs) count += program.Cells.size();
        }
        return count;
    }

    const ScriptModel& model_;
    const ScriptLintOptions& options_;
    ScriptDiagnostics& diagnostics_;

    // Tables by name; std::string keys so that a look-up by std::string needs no copy.
    std::unordered_map<std::string, const ScriptDataItem*> data_;
    std::unordered_map<std::string, const ScriptTrack*> tracks_;
    std::unordered_map<std::string, const ScriptScene*> scenes_;
    std::unordered_map<std::string, std::pair<const ScriptButton*, const ScriptHighlight*>> buttons_;
    std::unordered_map<std::string, const ScriptPalette*> palettes_;
    std::unordered_map<std::string, ScenarioObject> scenario_;
    std::unordered_map<std::string, const ScriptCell*> cells_;
    std::vector<const ScriptTitle*> titles_;  // the titles of the title sets in order: title n is titles_[n - 1]
};

}  // namespace

void CheckScenaristReferences(const ScriptModel& model, const ScriptLintOptions& options,
                              ScriptDiagnostics& diagnostics) {
    ReferenceCheck(model, options, diagnostics).Run();
}

ScenaristScript LintScenaristFile(const platform::FileSystem& files, const std::string& path,
                                  ScriptDiagnostics& diagnostics, const std::string& shownAs) {
    ScenaristScript script;
    script.Document = ReadScriptFile(files, path, diagnostics, shownAs);
    script.Model = ReadScenaristModel(script.Document, diagnostics);
    CheckScenaristGrammar(script.Document, diagnostics);
    ScriptLintOptions options;
    // A path the drive map cannot place (no drive letter, an unmapped drive)
    // names no file either.
    options.FileExists = [&files](const std::string& file) {
        try {
            return files.FileExists(file);
        } catch (const Error&) {
            return false;
        }
    };
    CheckScenaristReferences(script.Model, options, diagnostics);
    diagnostics.Finish();
    return script;
}

}  // namespace kestrova
