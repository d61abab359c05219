// The Settings and Navigation sections of a Muxman script: the destination
// and palettes, the first PGC, each domain's language (or title) units with
// their PGCs, programs, cells and menus, the dummy PGC of each unit, and
// the titles the menus reach, which the FULL script plays as dummy stills.
//
// In a FULL script (vob 0) every PGC is written with its commands and
// links; in a small script (vob above 0) only the PGC holding the VOB in
// hand gets programs, the domain's units become titles and the commands
// stay empty, since the merge puts the source's navigation back.
#pragma once

#include <string>
#include <string_view>

#include "job/context.h"
#include "muxman/mxp_run.h"

namespace kestrova {

// The segment a small script authors, whose scenes its dummy PGCs show
// (also those of the VMG skeleton around a title set's VOB); Entry 0 in a
// FULL script.
struct OwnSegment {
    int Entry = 0;
    int Vob = 0;
};

// "Section=Settings": the destination of a FULL script and the palettes.
void GenerateSettings(JobContext& job, MuxmanRun& run);

// Each palette of the pool as "Item=Palette" ("Name=Palette" p, a line
// "Color n=r, g, b" per entry), then "DefaultPalette".
void GeneratePalette(JobContext& job, MuxmanRun& run);

// The head of "Section=Navigation" and its first PGC.
void GenerateFP(JobContext& job, MuxmanRun& run);

// One domain (entry of DiscModel) up to, not including, its closing brace:
// its language units, or in a small script its title units, each with its
// PGCs, its dummy PGC and its part-of-title list. vob is 0 in a FULL
// script, else the VOB the small script authors. With skeleton true or
// mark -1 no PGC gets programs (the VMG around a title set's VOB, and a
// dummy VOB's domain).
void GenerateVTS(JobContext& job, MuxmanRun& run, int entry, int vob, bool skeleton, int mark,
                 const OwnSegment& own = {});

// The PGC that stands behind a unit's PGCs: in a FULL script one cell
// showing the domain's dummy menu scene (none for a domain without video);
// in a small script a cell per scene of the script's own segment.
void GenerateDummyPGC(JobContext& job, MuxmanRun& run, int entry, int vob, const OwnSegment& own = {});

// The titles of title set entry - 1 that the menus reach (run.Titles), each
// PGC and program up to the furthest one reached, every cell showing its
// dummy still.
void GenerateTitles(JobContext& job, MuxmanRun& run, int entry);

// The dummy still segments of those titles, in the Content section.
void GenerateDummyTitle(JobContext& job, MuxmanRun& run);

// A subpicture stream's display mode: "Normal" is "unspecified"; any other
// mode stands as it is ("Wide", "Letter", "Pan", "Wide/Pan").
std::string GetSubAspect(std::string_view mode);

// Every PGC's Read flags cleared, so that a pass takes each cell's still
// time and command from the first element again.
void ClearReadFlags(JobContext& job);

}  // namespace kestrova
