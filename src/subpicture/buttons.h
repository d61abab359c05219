// Buttons and highlights recovered from the NAV packs.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Marks the cells that carry highlight bitmaps and gives the bitmaps their
// PTS, before the VOBs are typed.
void FindHighlightBitmaps(JobContext& job, std::int16_t pgcCount);

// Settles the display mode of the domain's subpictures.
void CheckDisplayMode(JobContext& job);

// What MatchBitmap returns when no bitmap takes a NAV pack's highlight.
inline constexpr int kNoBitmap = 9999;

// The bitmap of cell `cell` of VOB id `vob` that takes the highlight of a
// NAV pack: the first highlight bitmap, stream by stream, that has none
// yet, or with ExamineHighlights 1 any bitmap without one (the first, with
// HighlightsFirst 1, else one whose PTS is the pack's VOBU start). Gives
// the bitmap its HIGHLIGHT_STREAM and returns its position in the cell,
// with its stream's position in `stream`; kNoBitmap when none is left.
int MatchBitmap(JobContext& job, int vob, int cell, std::int64_t startPTS, std::int64_t endPTS, int& stream);

// Reads buttons, highlights and their commands from the NAV packs.
void VobParse(JobContext& job, const std::string& bovPath);

}  // namespace kestrova
