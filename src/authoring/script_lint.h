// The linter of Scenarist and Muxman scripts (the Muxman checks below the
// Scenarist ones). Over the tree: the order of the objects, the keys each
// block knows, the brace that closes Object=Version.
// Over the model: every name a field gives names an object of the right
// kind (data items, scenes, palettes, tracks, programs, PGCs, buttons, the
// targets of commands), numbers stay within their lists, and every asset
// file exists. The rules and their severities are in
// script_diagnostics.h; the oddities of the scripts this system writes are
// rules below error of their own.
#pragma once

#include <functional>
#include <string>

#include "authoring/script_diagnostics.h"
#include "authoring/script_model.h"
#include "authoring/script_reader.h"
#include "platform/files.h"

namespace kestrova {

struct ScriptLintOptions {
    // Whether a data item's file (a drive path) exists; left empty, files
    // are not checked.
    std::function<bool(const std::string& path)> FileExists;
};

// The grammar a Scenarist script adds to the tokenizer's: grammar.statement,
// grammar.object-order, grammar.unknown-key, grammar.block,
// grammar.version-brace, oddity.uop-empty-entry.
void CheckScenaristGrammar(const ScriptDocument& document, ScriptDiagnostics& diagnostics);

// The references, numbers, commands and files of the model.
void CheckScenaristReferences(const ScriptModel& model, const ScriptLintOptions& options,
                              ScriptDiagnostics& diagnostics);

// A script read and linted: its tree and its model.
struct LintedScript {
    ScriptDocument Document;
    ScriptModel Model;
};
using ScenaristScript = LintedScript;

// Reads a script (a drive path) through the path space into its model and
// runs every check, files through the same file system. Diagnostics name
// the file as `shownAs`, or as the path when that is empty. Throws Error
// only when the file cannot be read; ends the diagnostics with Finish().
ScenaristScript LintScenaristFile(const platform::FileSystem& files, const std::string& path,
                                  ScriptDiagnostics& diagnostics, const std::string& shownAs = {});

// The grammar of a Muxman script over the tokenizer's: the sections and
// their order (grammar.section-order), the keys and blocks each block
// knows, the labels of command lists (grammar.command-label), times
// (value.time), names a command line could not hold (value.name), and the
// writers' spellings (oddity.uop-capitals, oddity.time-semicolon).
void CheckMuxmanGrammar(const ScriptDocument& document, ScriptDiagnostics& diagnostics);

// The references of a Muxman model: scenes, palettes, PGC links, buttons
// and their menu lines, the targets of command lines, play files. A small
// script (no destination folder) reaches objects outside itself: those
// targets are notes (ref.outside-script), since the merge puts the
// source's commands back.
void CheckMuxmanReferences(const ScriptModel& model, const ScriptLintOptions& options, ScriptDiagnostics& diagnostics);

// LintScenaristFile for a Muxman script.
LintedScript LintMuxmanFile(const platform::FileSystem& files, const std::string& path, ScriptDiagnostics& diagnostics,
                            const std::string& shownAs = {});

// True for a Muxman script: the path ends in ".MXP" (any case), or, for a
// path ending in neither ".MXP" nor ".SCP", the first statement is
// "Section=Settings".
bool IsMuxmanScript(const std::string& path, const ScriptDocument& document);

// Either dialect, by IsMuxmanScript; the file is read once.
LintedScript LintScriptFile(const platform::FileSystem& files, const std::string& path, ScriptDiagnostics& diagnostics,
                            const std::string& shownAs = {});

}  // namespace kestrova
