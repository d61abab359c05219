// The state of one run of the Muxman script writer: the mode, the script
// being written, the titles the menus reach and the flags the writers and
// the merge hand each other.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "authoring/scenario_helpers.h"
#include "authoring/script_file.h"

namespace kestrova {

struct MuxmanRun {
    // SingleMXP as the run began: one FULL script for the disc (true), or a
    // small script per VOB authored by itself.
    bool Full = false;
    // The script being written: Muxman.MXP, or the small script of the VOB
    // in hand. Every writer writes through WSF.
    std::unique_ptr<ScriptFile> File;
    // The titles the menus reach (GetTitleArray), filled before the
    // navigation is written.
    TitleArray Titles;
    // Set by TranslateCommand when it replaced a link's target by another
    // link, cleared when it kept the target; CheckButtons reads it.
    bool LinkChanged = false;
    // A run of Muxman left no VIDEO_TS.IFO, or the job was closed during the
    // merge: later VOBs are neither scripted nor run.
    bool MuxmanStopped = false;
    // The merge found a domain without cells.
    bool MuxmanFailed = false;
};

// One line at a depth of the run's script.
void WSF(MuxmanRun& run, int depth, std::string_view text);

}  // namespace kestrova
