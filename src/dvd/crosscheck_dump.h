// The menu side of the DVD model, with the first-play and title PGCs read
// beside it, in the line format shared with a second, independent reader
// (libdvdread), so a test can diff the two over real discs: one fact a line,
// file by file in reading order.
#pragma once

#include <string>

#include "dvd/title_pgcs.h"
#include "job/context.h"

namespace kestrova {

// The dump of every domain of DiscModel with the title map, the first-play
// PGC behind the VMG's menus and each title set's PGCs behind its menus.
// Expects a full read of every IFO file with language "ALL".
std::string CrossCheckDump(const JobContext& job, const PlaybackPGCs& playback);

// The IFO file name of a DiscModel position: "VIDEO_TS.IFO" for 1,
// "VTS_nn_0.IFO" for n + 1.
std::string IfoNameOfDomain(int domain);

}  // namespace kestrova
