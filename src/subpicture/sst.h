// The timed lists of the subpicture bitmaps: the .sst files vsconv leaves
// per PGC and stream are thinned of runs of short bitmaps, their times are
// corrected to what the authoring accepts, and every bitmap becomes a bmp
// record of its VOB's stream and cell.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/context.h"

namespace kestrova {

// Rewrites lists whose bitmaps are too short, keeping the first list read
// as "<list>.Original.sst" and starting again from it on a later run.
void CheckSSTFor2SecondBMP(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount);

// Corrects the lists and enters every bitmap into the model, then gives
// the streams no list filled with dummy bitmaps.
void ProcessSST(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount);

// The corrected start (mode "S") or end (mode "E") of a bitmap of stream
// position `stream` in cell `cell` of VOB id `vob`; bmpIndex is its position
// among the cell's bitmaps (the cell's count when it is to count as the
// last). Mode "E" may move nextTime (the next event's start, empty when
// there is none) and sets or clears enableStop.
std::string CheckSSTTime(JobContext& job, const std::string& time, std::string_view mode, std::int16_t vob,
                         std::int16_t cell, std::int16_t stream, std::int16_t bmpIndex, std::string& nextTime,
                         std::int16_t& enableStop);

// The duration from start to end as a timecode of the job's target; raw
// counts label frames without the drop-frame correction.
std::string SSTDuration(const JobContext& job, const std::string& start, const std::string& end, bool raw);

// Runs BitmapResize.exe from the program folder on one bitmap, PAL2NTSC
// or NTSC2PAL, and waits; returns the height of the resized bitmap, the
// given height scaled by the ratio of line counts, truncated.
std::int16_t BitmapResize(JobContext& job, const std::string& inputBmp, const std::string& outputBmp,
                          const std::string& direction, std::int16_t height);

// One event of a list: "NNNN<TAB>start<TAB>end<TAB>name.bmp" and what
// follows, perhaps commented out by a "#" in front.
struct SstEvent {
    bool CommentedOut = false;
    std::string Number, Start, End, FileName;
    std::string Rest;  // the fields behind the file name, tabs kept ("\tHighlight")
    std::int16_t Vob = 0;
    std::int16_t Cell = 0;
    bool Highlight = false;
};

// Reads the event of a line; false, with `fault` saying what is wrong,
// for fewer than four fields, a time that is not one, or a file name
// without its VOB and cell.
bool ParseSstEvent(const std::string& line, SstEvent& event, std::string& fault);

// The .sst of PGC i and stream id s: "PGC_<i>0x<s+20>.sst", the sum in
// decimal, in the work folder's SUBTITLES.
std::string SstPath(const JobContext& job, int pgc, int streamId);

}  // namespace kestrova
