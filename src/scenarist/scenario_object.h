// The scenario of a script: the disc's navigation as a tree of objects
// (first play, Video Manager, title sets, languages, PGCs, programs, cells,
// menus, titles), with the source's commands pointing at other objects by
// name.
#pragma once

#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// Writes "Object=Scenario". Reads run.Titles, which the dummy tracks filled.
void GenerateLayout(JobContext& job, ScenaristRun& run, ScriptFile& file);

}  // namespace kestrova
