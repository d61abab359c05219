// The scenario of a script: the disc's navigation as a tree of objects
// (first play, Video Manager, title sets, languages, PGCs, programs, cells,
// menus, titles), with the source's commands pointing at other objects by
// name.
#pragma once

#include <string_view>

#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// Writes "Object=Scenario". Reads run.Titles, which the dummy tracks filled.
// A cell's still time and command come from its PGC's NewCellPause and
// NewCellCommand, one element per cell the PGC plays: the PGC's Read flags
// are cleared at the start, and each cell written takes the first unread
// element, so every script of a run gets the same values. Sets
// run.DummySceneLinked for a domain one of whose cells shows the dummy
// scene.
void GenerateLayout(JobContext& job, ScenaristRun& run, ScriptFile& file);

// The audio and subpicture attribute lists of a PGC. domainKind is "VIDEO"
// for the Video Manager, whose PGC fields stand at depth 6, or "VTS" for a
// title set (depth 7).
void GenerateLayoutExtra(const JobContext& job, ScriptFile& file, const PGC_Number_Properties& pgc,
                         std::string_view domainKind);

}  // namespace kestrova
