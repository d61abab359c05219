// What the list reader, the time correction and the rewriter of the
// subpicture lists share: the figures of the job's target, timecodes at a
// whole rate, and checked reach into the domain's VOBs, cells and bitmaps.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "job/context.h"

namespace kestrova {

// The figures of the time correction: the frame separator of the target,
// the threshold T in frames under which a bitmap is too close to its
// cell's start, and the time base the list's times are counted at.
struct SstTiming {
    std::string Separator;
    std::int32_t Threshold = 0;
    double Rate = 25;
};
SstTiming SstTimingOf(const JobContext& job);

// The job's time base with the conversion switch of the settings, which
// the figures above follow too.
TimeBase SstTimeBase(const JobContext& job);

// "HH:MM:SS<separator>FF" of a frame count at a whole rate; a negative
// count is written as 0.
std::string SstFramesText(std::int32_t frames, double rate, const std::string& separator);

// How a line of a list is read: lines are told by their first five
// characters wherever they stand ("Tape_", "Pixel", "Displ", "Contr"); empty
// lines and the rest of the head (positions 0 to 15) are passed over; in the
// body a "Color" line is a setting too and every other line an event.
enum class SstLineKind { Setting, PassedOver, Event };
constexpr std::size_t kSstHeadLines = 16;
SstLineKind ClassifySstLine(const std::string& line, std::size_t position);

// True for "HH:MM:SS:FF" with two digits a field and any separators.
bool IsSstTime(std::string_view text);

// The domain in hand and its VOB id v; a VOB or cell the model does not
// hold throws a sentence naming it.
VTS_Properties& SstDomain(JobContext& job);
VOB_ID_Properties& SstVob(JobContext& job, std::int16_t vob);
CELL_ID_Properties& SstCell(JobContext& job, std::int16_t vob, std::int16_t cell);

// The sum of EndFrame of the VOB's cells 1 to `last`.
std::int32_t SumOfEndFrames(const VOB_ID_Properties& vob, std::int16_t last);

// CELL_DETAILS(cell) of SUB_STREAM(stream), the lists added as far as
// they are missing (to the VOB's cell count at least).
CELL_DETAILS_Properties& StreamCell(VOB_ID_Properties& vob, std::int16_t stream, std::int16_t cell);
// bmp(index) of the cell, the list added as far as it is missing.
BMP_Properties& CellBitmap(CELL_DETAILS_Properties& cell, std::int16_t index);

}  // namespace kestrova
