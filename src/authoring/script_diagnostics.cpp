// Rules and diagnostics of the script reader and linter: see
// script_diagnostics.h.
#include "authoring/script_diagnostics.h"

#include <algorithm>
#include <array>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr auto E = Severity::Error;
constexpr auto W = Severity::Warning;
constexpr auto N = Severity::Note;

constexpr std::array kRules = {
    ScriptRule{"grammar.empty-file", E, "the file holds no byte"},
    ScriptRule{"grammar.crlf", E, "every line ends in CR LF"},
    ScriptRule{"grammar.truncated", E, "the last line ends in CR LF: a file cut inside a line"},
    ScriptRule{"grammar.tabs", E, "lines are indented by tabs only"},
    ScriptRule{"grammar.depth", E, "a statement's tab depth is the number of blocks open around it"},
    ScriptRule{"grammar.brace", E, "a brace stands on a line of its own at the depth of the line that opens the block"},
    ScriptRule{"grammar.unbalanced", E, "every \"{\" has its \"}\" and no \"}\" is left over"},
    ScriptRule{"grammar.version-brace", E, "\"}    \" closes Object=Version and nothing else"},
    ScriptRule{"grammar.statement", E, "a line is key=value, \"{\" or \"}\""},
    ScriptRule{"grammar.control", E, "no control bytes but tab, CR and LF"},
    ScriptRule{"grammar.8bit", W, "7-bit text: the authoring tool reads 8-bit bytes in its own code page"},
    ScriptRule{"grammar.object-order", E,
               "objects Version, Data Folder, Track Folder, Scenario, Project Info, Default Setting, List, once each"},
    ScriptRule{"grammar.unknown-key", E, "each key and block is one its enclosing block knows"},
    ScriptRule{"grammar.block", E, "a block key opens a block and a value key does not"},
    ScriptRule{"grammar.section-order", E, "an MXP script holds Section=Settings, Content, Navigation, once each"},
    ScriptRule{
        "grammar.command-label", E,
        "a line of an MXP command list is labelled \"Pre\", \"Post\" or \"Cell\", its place in the list and \": \""},
    ScriptRule{"value.number", E, "numeric fields hold whole numbers"},
    ScriptRule{"value.time", E, "MXP times are HH:MM:SS:FF (Duration= of a video play also Actual or Default)"},
    ScriptRule{"value.name", E, "MXP names hold no \";\" or \",\", which separate the parts of a command line"},
    ScriptRule{"ref.duplicate-name", E,
               "data items, tracks, scenes, buttons, palettes and scenario objects have unique names"},
    ScriptRule{"ref.data", E, "Data= of a play names a data item of the play's kind"},
    ScriptRule{"ref.linked-scene", E, "Linked Scene= names a scene"},
    ScriptRule{"ref.palette", E, "Color Palette= (Palette= of an MXP PGC) names a palette"},
    ScriptRule{"ref.track-list", E, "the items of Menu Track List and Title Track List name tracks"},
    ScriptRule{"ref.part-of-title", E, "the items of Part of Title name programs of their title"},
    ScriptRule{"ref.pgc-link", E,
               "Next PGC=, Prev PGC= and Goup PGC= name PGCs of their domain (Goup: or _Resume_; MXP GoUp: or resume)"},
    ScriptRule{"ref.neighbour", E, "Left/Right/Up/Down Button= name buttons of the same highlight"},
    ScriptRule{
        "ref.forced-button", E,
        "Forced Selected Button= and Forced Activated Button= name a button of their highlight play, or Nonexistent"},
    ScriptRule{"ref.menu-lines", E,
               "an MXP cell's menu has line k for each Button k of its scene's highlight play; a line without a button "
               "is Nop"},
    ScriptRule{"ref.command-target", E,
               "the name an MXP command line reaches (LinkPGCN, LinkPGN, LinkCN, JumpTT, JumpVTS_TT, JumpVTS_PTT, "
               "JumpSS, CallSS) is an object of that kind within its reach"},
    ScriptRule{"ref.outside-script", N,
               "a small MXP script's command reaches an object outside it: the merge restores the source's command"},
    ScriptRule{"ref.to-action", E, "To Action= names the object of the kind its command reaches, and only then"},
    ScriptRule{"ref.cell-command", E, "Cell Command=k (MXP: Command=Cellk) lies within the PGC's cell command list"},
    ScriptRule{"ref.goto", E,
               "GoTo n and SetTmpPML's command line lie within the command's list (MXP: GoTo Pre n in Pre n's list)"},
    ScriptRule{"ref.title-number", E, "title numbers of jumps name titles of the script"},
    ScriptRule{"ref.vts-number", E, "title set numbers of jumps name title sets of the script"},
    ScriptRule{"ref.menu", W, "a jump to a menu finds a PGC with that Menu ID"},
    ScriptRule{"command.text", E, "Command= is a text the command decoder writes"},
    ScriptRule{"command.mxp-text", E,
               "an MXP command line, its names taken back to numbers, is a text the command decoder writes"},
    ScriptRule{"file.missing", E,
               "File= of a data item (unless Place Holder=Yes) or of an MXP play exists through the drive map"},
    ScriptRule{"oddity.button-error", W, "a button's To Action=ERROR: its target could not be resolved"},
    ScriptRule{"oddity.linkcn-target", W, "LinkCN's target is the cell's scene name and \"_c\", which names nothing"},
    ScriptRule{"oddity.shared-cell-name", N, "cells take their scene's name, so cells of several PGCs share it"},
    ScriptRule{"oddity.empty-command", W, "Command= empty: bytes the decoder does not know"},
    ScriptRule{"oddity.callss-language-name", W,
               "CallSS's target is \"VID_\" with the language name, while PGCs carry the code: it names nothing"},
    ScriptRule{"oddity.vmg-pgc-no-target", W,
               "JumpSS pgc_n and CallSS RSM=1, pgc=n get no To Action (MXP: pgc=n stands untranslated)"},
    ScriptRule{"oddity.unticked-dummy", W,
               "a dummy still under an empty output folder (\\NEW_M2V\\...): its domain was not ticked"},
    ScriptRule{"oddity.uop-empty-entry", W, "an empty line in a UOP list: prohibition bits 25 to 27"},
    ScriptRule{"oddity.error-line", W, "an MXP command line reads ERROR: the translation found no target"},
    ScriptRule{"oddity.replaced-link", W,
               "a link replaced by LinkTopC, button=1 leaves the rest of the decoder's text behind it"},
    ScriptRule{"oddity.jumpss-vts0", W, "JumpSS vts_0, ...: the source's title set field is 0, which names none"},
    ScriptRule{"oddity.fp-palette", W, "the first PGC's Palette=Palette1 where the pool has no Palette1"},
    ScriptRule{"oddity.uop-capitals", N, "the first PGC writes UOP= where the other PGCs write Uop="},
    ScriptRule{"oddity.time-semicolon", W, "an MXP time with \";\" before its frames, which the writers make \":\""},
};

}  // namespace

std::string_view SeverityName(Severity level) {
    switch (level) {
    case Severity::Note:
        return "note";
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        break;
    }
    return "error";
}

std::span<const ScriptRule> ScriptRules() { return kRules; }

std::string ScriptDiagnostic::Format() const {
    std::string out = File;
    if (Line > 0) out += ":" + std::to_string(Line);
    out += ": ";
    out += SeverityName(Level);
    out += ": " + Text + " [";
    out += Rule;
    out += "]";
    return out;
}

ScriptDiagnostics::Tally& ScriptDiagnostics::TallyOf(std::string_view rule) {
    for (Tally& tally : tallies_) {
        if (tally.Rule == rule) return tally;
    }
    const auto known = std::find_if(kRules.begin(), kRules.end(), [rule](const ScriptRule& r) { return r.Id == rule; });
    if (known == kRules.end()) throw Error("The script linter has no rule " + std::string(rule) + ".");
    tallies_.push_back(Tally{known->Id, 0, {}, 0});
    return tallies_.back();
}

const ScriptDiagnostics::Tally* ScriptDiagnostics::FindTally(std::string_view rule) const {
    for (const Tally& tally : tallies_) {
        if (tally.Rule == rule) return &tally;
    }
    return nullptr;
}

bool ScriptDiagnostics::Wants(std::string_view rule) const {
    const Tally* tally = FindTally(rule);
    return tally == nullptr || tally->Count < perRule_;
}

void ScriptDiagnostics::Add(std::string_view rule, const std::string& file, std::uint32_t line, std::string text) {
    Tally& tally = TallyOf(rule);
    const auto known =
        std::find_if(kRules.begin(), kRules.end(), [&](const ScriptRule& r) { return r.Id == tally.Rule; });
    ++levels_[static_cast<int>(known->Level)];
    if (tally.Count++ < perRule_) {
        list_.push_back({tally.Rule, known->Level, file, line, std::move(text)});
    } else if (tally.Count == perRule_ + 1) {
        tally.File = file;
        tally.Line = line;
    }
}

void ScriptDiagnostics::Finish() {
    for (Tally& tally : tallies_) {
        if (tally.Count <= perRule_ || tally.Line == 0) continue;
        const auto known =
            std::find_if(kRules.begin(), kRules.end(), [&](const ScriptRule& r) { return r.Id == tally.Rule; });
        list_.push_back({tally.Rule, known->Level, tally.File, tally.Line,
                         std::to_string(tally.Count - perRule_) + " more of this rule from here on, not listed"});
        tally.Line = 0;  // said once
    }
    std::stable_sort(list_.begin(), list_.end(), [](const ScriptDiagnostic& a, const ScriptDiagnostic& b) {
        return a.File != b.File ? a.File < b.File : a.Line < b.Line;
    });
}

std::size_t ScriptDiagnostics::Count(Severity level) const { return levels_[static_cast<int>(level)]; }

std::size_t ScriptDiagnostics::CountOf(std::string_view rule) const {
    const Tally* tally = FindTally(rule);
    return tally == nullptr ? 0 : tally->Count;
}

}  // namespace kestrova
