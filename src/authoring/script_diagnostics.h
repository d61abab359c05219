// What the script reader and linter say about a script: one named rule per
// kind of fault, each with a fixed severity, and the diagnostics as lines
// of "file:line: severity: text [rule]". The known oddities of the scripts
// this system writes are rules of their own, below error, so that the
// script of a normal disc reads without errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

enum class Severity { Note, Warning, Error };

std::string_view SeverityName(Severity level);

struct ScriptRule {
    std::string_view Id;  // "grammar.crlf"
    Severity Level;
    std::string_view About;  // one line for the help text and the README
};

// Every rule, grammar first, then values, references, files and oddities.
std::span<const ScriptRule> ScriptRules();

struct ScriptDiagnostic {
    std::string_view Rule;
    Severity Level = Severity::Error;
    std::string File;
    std::uint32_t Line = 0;  // from 1
    std::string Text;

    // "file:line: error: text [rule]".
    std::string Format() const;
};

// The diagnostics of one or more scripts. A rule broken on many lines (a
// file with LF line ends breaks grammar.crlf on every line) keeps its first
// `perRule` diagnostics; Finish() adds one line per such rule with the
// count of the rest, and puts the list in the order of files and lines.
class ScriptDiagnostics {
public:
    explicit ScriptDiagnostics(std::size_t perRule = 25) : perRule_(perRule) {}

    // The rule must be one of ScriptRules(); its severity is the rule's.
    void Add(std::string_view rule, const std::string& file, std::uint32_t line, std::string text);
    // False when the rule has reached its limit: the caller may skip
    // building the text.
    bool Wants(std::string_view rule) const;
    void Finish();

    const std::vector<ScriptDiagnostic>& List() const { return list_; }
    std::size_t Count(Severity level) const;
    bool HasErrors() const { return Count(Severity::Error) > 0; }
    // Every diagnostic of the rule, those past the limit included.
    std::size_t CountOf(std::string_view rule) const;

private:
    struct Tally {
        std::string_view Rule;
        std::size_t Count = 0;
        std::string File;  // where the first diagnostic past the limit stands
        std::uint32_t Line = 0;
    };
    Tally& TallyOf(std::string_view rule);
    const Tally* FindTally(std::string_view rule) const;

    std::size_t perRule_;
    std::vector<ScriptDiagnostic> list_;
    std::vector<Tally> tallies_;
    std::size_t levels_[3] = {0, 0, 0};
};

// Adds a diagnostic, making its text only while the rule still lists lines.
template <class MakeText>
void Say(ScriptDiagnostics& diagnostics, std::string_view rule, const std::string& file, std::uint32_t line,
         MakeText&& text) {
    diagnostics.Add(rule, file, line, diagnostics.Wants(rule) ? text() : std::string());
}

// A text in double quotes, as the diagnostics show names and values.
inline std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

}  // namespace kestrova
