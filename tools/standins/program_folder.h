// A program folder laid out as an installation has it, for the pre-flight
// checks: each tool of the tool table that has an identity becomes a small
// PE file with that version resource in its folder, and a tool found by a
// registry value gets the value naming its folder; the blank subpicture
// frames PAL.bmp and NTSC.bmp lie beside the programs. The "program-folder"
// personality and the tests' program folders both lay out through here.
#pragma once

#include <map>
#include <string>

#include "platform/files.h"
#include "platform/registry.h"

namespace kestrova::standin {

// By tool file name: a version ("3.5.0.0") to give the tool instead of the
// table's, or "" to leave it out (its registry value too).
using ToolVersions = std::map<std::string, std::string>;

// Lays the tools out under `programFolder`, a drive path. Throws Error for
// a name in `versions` that the table does not know or a version that is
// not four numbers.
void LayOutTools(const platform::FileSystem& files, platform::Registry& registry, const std::string& programFolder,
                 const ToolVersions& versions = {});

}  // namespace kestrova::standin
