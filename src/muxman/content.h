// The Content section of a Muxman script and the runs of Muxman: a segment
// per VOB with its video, audio, subpicture and highlight streams and its
// scenes. In a FULL script all segments stand in Muxman.MXP; otherwise each
// VOB gets a small script of its own (with the navigation around it) that
// is authored at once into a folder of its own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/context.h"
#include "muxman/mxp_run.h"

namespace kestrova {

// Writes the Content section, or each small script and its run. A run that
// leaves no VIDEO_TS.IFO sets run.MuxmanStopped and ends the walk: the VOBs
// behind it are neither scripted nor run. In a FULL script the dummy menu
// segments and the titles' dummy stills close the section; in multiple
// mode the merge of the small results follows the last VOB.
void GenerateContent(JobContext& job, MuxmanRun& run);

// Authors one small script into OutputDir "\MUXMAN\" V of the domain (made
// anew); true when the folder holds no VIDEO_TS.IFO, or an empty one,
// afterwards.
bool RunMuxman(JobContext& job, MuxmanRun& run, const std::string& scriptPath, int vob, int entry);

// One time per cell of the VOB: "00:00:00:00", then 12 frames (target PAL)
// or 15 frames further each, the times a dummy VOB's stills start at.
std::vector<std::string> GetCells(const JobContext& job, int entry, int vob);

// A subpicture's duration cut at the end of its cell, as a timecode at the
// target's rate (25 or 30): when start + duration reaches the cell's end
// frame, the duration becomes the end less the start. A time that cannot
// be read counts 0 frames.
std::string SubLength(const JobContext& job, std::string_view start, std::string_view duration, int entry, int vob,
                      int cell);
// The same cut, giving the end time start + duration.
std::string SubEndTime(const JobContext& job, std::string_view start, std::string_view duration, int entry, int vob,
                       int cell);
// The frame at which a cell's scene ends, at the rate: its
// ActualSceneEndTimeWithOutDrop, or the last cell's for a "Video" VOB; 0
// when the model has none.
std::int32_t CellEndFrame(const JobContext& job, int entry, int vob, int cell, int rate);

// Removes the buttons of a highlight whose command reaches a removed menu
// (with RemoveButton 1 they become Dummy), rewires the neighbours of the
// buttons that stay past the removed ones (wrapping at either end), and
// drops forced buttons that name a removed one; Numerical and
// Number_Of_Buttons are held to the buttons that stay. Returns how many
// buttons stay.
int CheckButtons(JobContext& job, MuxmanRun& run, int entry, int vob, HIGHLIGHT_STREAM_Properties& highlight,
                 int cell);

// A button contrast (0 to 15) raised by HighContrast, as the number itself.
int MuxContrast(const JobContext& job, int value);

}  // namespace kestrova
