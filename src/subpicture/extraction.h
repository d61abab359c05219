// Subpicture extraction of a menu domain. The rip and conversion tools work
// only on the titles of a title set, so the domain's joined VOB
// (SUBTITLES\VTS_01_0.VOB) gets a made-up title set IFO of its own in which
// the menu cells are the cells of title PGCs; vsrip rips each PGC to a
// VobSub pair (PGC_<i>.idx and .sub), vsconv turns each stream of a pair into
// a timed list (.sst) and its bitmaps.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// One cell of the made-up IFO.
struct SubtitleCell {
    std::int16_t VobId = 0;
    std::int16_t CellId = 0;
    std::int32_t FirstSector = 0;
    std::int32_t LastSector = 0;
    std::int32_t PlayBackTime = 0;  // BCD, as the menu's IFO gives it
    std::int16_t Angle = 0;         // first byte of the cell category
    std::int32_t Frames = 0;
};

// The made-up IFO's layout: every PGC is given room for 255 cells.
inline constexpr std::size_t kSubtitlePgcCells = 255;
inline constexpr std::size_t kSubtitlePgcBytes = 7376;  // 236 head bytes, 255 cells of 24 and 255 positions of 4
inline constexpr std::size_t kSubtitleTableStart = 2048;

// The cells in VOB order, grouped into PGCs of at most 255 cells; a VOB's
// cells are never divided, so a new PGC begins with the VOB whose cells
// would bring the count above 255. No cells at all give one empty PGC.
// A single VOB of more than 255 cells cannot be written: an Error naming
// the VOB id and its count.
std::vector<std::vector<SubtitleCell>> GroupSubtitlePgcs(const std::vector<SubtitleCell>& cells);

// The IFO's bytes for these PGCs. `frameRate` 25 marks PAL video. Its PGC
// playback times are the summed frames at the job's standard.
std::string SubtitleIfoImage(const std::vector<std::vector<SubtitleCell>>& pgcs, int frameRate,
                             const TimeBase& timeBase);

// Reads the NAV packs of SUBTITLES\VTS_01_0.VOB into the sector fields of
// the domain's cells (StartSector, EndSector, PlayBackTime, Angle); VOB
// ids the menu's IFO does not know are added as dummy VOBs. A missing VOB
// passes the step over.
void SUBSCAN(JobContext& job);

// Scans, writes the IFO and runs vsrip over each PGC; returns the number of PGCs.
std::int16_t CreateIFO(JobContext& job);

// Runs vsconv for every PGC and stream id up to the highest the domain's
// PGCs use; returns that highest id + 1, the count of stream ids the later
// passes walk (0 without subpictures).
std::int16_t NewConvert_SUBS(JobContext& job, std::int16_t pgcCount);

}  // namespace kestrova
