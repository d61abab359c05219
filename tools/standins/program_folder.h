// A program folder laid out as an installation has it, for the pre-flight
// checks: each tool of the tool table that has an identity becomes a small
// PE file with that version resource in its folder, and a tool found by a
// registry value gets the value naming its folder; the blank subpicture
// frames PAL.bmp and NTSC.bmp lie beside the programs, and the short
// streams PAL.mpv and NTSC.mpv the title placeholders are made from. The "program-folder"
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

// The blank subpicture frames PAL.bmp (720x576) and NTSC.bmp (720x480).
void LayOutBlankFrames(const platform::FileSystem& files, const std::string& programFolder);

// PAL.mpv and NTSC.mpv: one group of black 4:3 pictures at 25 and at 29.97,
// MPEG-2 made by ffmpeg. False, with a note on stderr, when ffmpeg is not
// installed; throws Error when it fails.
struct Invocation;
bool MakeDummyStreams(const Invocation& call, const std::string& programFolder);

}  // namespace kestrova::standin
