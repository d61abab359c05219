// Typing of a domain's VOB ids and cells ("Video", "StillMenu",
// "SlideShow", "Combo"), and VobAnalysis, the stage around it that finishes
// the asset names, joins the VOBs for the subpicture rip and checks dummies.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "job/context.h"

namespace kestrova {

// The subpicture stages VobAnalysis runs between the join and the typing.
// They live in the subpicture library, which builds on this one, so the
// caller hands them in.
struct SubpictureStages {
    std::function<std::int16_t(JobContext&)> CreateIFO;                          // returns the PGC count
    std::function<std::int16_t(JobContext&, std::int16_t)> NewConvert_SUBS;      // returns the stream count
    std::function<void(JobContext&, std::int16_t)> FindHighlightBitmaps;         // marks highlight cells
};

// Renames the demultiplexed files, joins the VOBs into SUBTITLES\VTS_01_0.VOB,
// rips and converts the subpictures, checks for dummies and types each VOB
// id; returns the count CreateIFO found. Stops early on a stop request.
std::int16_t VobAnalysis(JobContext& job, const SubpictureStages& subpictures);

// When the IFO calls the domain's video 4:3 pan-scan, reads the M2V's
// sequence header and turns the domain to 16:9 when the stream is 16:9.
void ConfirmPanScan(JobContext& job, const std::string& M2vPath);

// What vobtest.exe left in VOBAnalysis.txt: its still cells as
// (VOB id, cell) pairs, and whether the scan reached "End Scan".
struct VobTestResult {
    bool Completed = false;
    std::vector<std::pair<int, int>> Stills;
};
// Reads the file; a file that is missing or empty is an uncompleted scan.
// Throws a sentence naming the file for a token that is not "v<vob>/c<cell>".
VobTestResult ReadVobAnalysis(JobContext& job, const std::string& Path);

// Types every VOB id of the current domain: from vobtest.exe's still
// cells, or from frame counts when the tool failed.
void DetermineVobType(JobContext& job);

// Types one VOB id from the tool's verdict: "STILL/SLIDE", "COMBO" or "VIDEO".
void FindVobType(JobContext& job, const std::string& M2vPath, std::int16_t VobId, const std::string& Verdict);

// Types one VOB id from the frame count of its frame-server log.
void GetVobType(JobContext& job, const std::string& M2vPath, std::int16_t VobId);

// Which rule of the short-cell test turned a "Video" VOB id into "Combo":
// 0 none, 1 a cell under a second after conversion to NTSC, 2 two cells in
// a row with bitmaps where the later lasts exactly one second.
// `OneCellExempt`: rule 1 passes over a VOB id of one cell.
int ShortCellTest(JobContext& job, std::int16_t VobId, bool OneCellExempt);

// True when dummy cells outweigh the real ones of a "Video" VOB id, which
// then becomes "Combo".
bool DummyCellTest(JobContext& job, std::int16_t VobId);

}  // namespace kestrova
