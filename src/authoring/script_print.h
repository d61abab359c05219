// The authoring model of either dialect as kestrova-inspect --script prints
// it (a Muxman script with its plays' files and looks): data folders
// and items, track folders with tracks, streams, highlights, buttons and
// scenes, the scenario's domains, language units, PGCs, programs, cells,
// menus and commands with their targets, titles, and the palettes. Each
// object carries the line it was read from. One tree, rendered as stable
// lines or as JSON by PrintNode.
#pragma once

#include "authoring/script_model.h"
#include "dvd/model_print.h"

namespace kestrova {

PrintNode ScriptModelTree(const ScriptModel& model);

}  // namespace kestrova
