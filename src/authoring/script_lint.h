// The linter of Scenarist scripts. Over the tree: the order of the
// objects, the keys each block knows, the brace that closes Object=Version.
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

struct ScenaristScript {
    ScriptDocument Document;
    ScriptModel Model;
};

// Reads a script (a drive path) through the path space into its model and
// runs every check, files through the same file system. Diagnostics name
// the file as `shownAs`, or as the path when that is empty. Throws Error
// only when the file cannot be read; ends the diagnostics with Finish().
ScenaristScript LintScenaristFile(const platform::FileSystem& files, const std::string& path,
                                  ScriptDiagnostics& diagnostics, const std::string& shownAs = {});

}  // namespace kestrova
