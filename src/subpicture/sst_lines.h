// The event lines of a subpicture list (.sst) as vsconv writes them: past
// the 16 head lines, every line that is not empty and not one of the
// "Tape_", "Pixel", "Displ", "Color" or "Contr" lines is an event, four
// fields between tabs (number, start, end, bitmap file name); "#" in front
// marks one the list keeps commented out, the word "Highlight" a highlight.
// The bitmap's name gives its VOB and cell: "P1_S10_10003_V1_C2.bmp" is of
// VOB 1, cell 2 (fields 3 and 4 of the name, a letter and the number).
#pragma once

#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// Lines before this position are the list's head.
inline constexpr std::size_t kSstHeadLines = 16;

struct SstEvent {
    std::size_t Line = 0;    // from 1, for messages
    bool Commented = false;  // the line begins "#"
    bool Highlight = false;
    std::vector<std::string> Fields;  // split at tabs, the "#" taken off
    std::string Name;        // the bitmap's file name without its extension
    int Vob = 0;             // from the name; 0 when it names none
    int Cell = 0;
};

// Every event of the list at `path`, in order.
std::vector<SstEvent> ReadSstEvents(JobContext& job, const std::string& path);

// Whether a line of the list, by its first five characters, is one of the
// head's kinds ("Tape_", "Pixel", "Displ", "Color", "Contr").
bool IsSstSettingLine(const std::string& line);

// The VOB and cell a bitmap's name gives; 0 for a name without them.
void BitmapVobAndCell(const std::string& name, int& vob, int& cell);

}  // namespace kestrova
