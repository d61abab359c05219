// Source copy and demultiplexing of a menu domain: reading the source IFOs,
// splitting a menu VOB by VOB id or by cell with DVD Decrypter or PgcDemux,
// copying source files into the output VIDEO_TS, and handing authored files
// back to the source.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Reads every IFO of the source into the model, in name order (the video
// manager first), fully for the chosen menus and lightly for the others.
// `SourceFolder` ends in a backslash.
void GetIFODetails(JobContext& job, const std::string& SourceFolder);

// The pieces of DVD Decrypter's demultiplexing line that depend on the
// domain: the audio selector by the first audio stream of the domain.
std::string DemuxAudioSelector(const VTS_Properties& domain);

// Demultiplexes the menu VOB with DVD Decrypter into WorkFolder's DEMUXED
// (by VOB id) or DEMUXED_CELLID (by cell); true when it aborts because DVD
// Decrypter is not installed. `VobPath` is the VOB's full path, `VobName`
// its file name.
bool EnableDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell);

// Demultiplexes the menu VOB with PgcDemux, one run per VOB id or per cell,
// each run's files renamed at once; true when PgcDemux is missing.
bool EnablePGCDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell);

// Checks the menu VOB before it is demultiplexed: it must reach the last
// sector the domain's cell address table names, and read as DVD packs
// from start to end. Returns the fault in one sentence naming the file and
// the byte offset, or an empty text.
std::string CheckMenuVob(JobContext& job, const std::string& VobPath);

// Checks that the demultiplexing by VOB id left the video of every VOB id
// of the domain that is no dummy (in DEMUXED, or moved on to DEMUXED_CELLID
// by an earlier run). Returns the first VOB id without it in one sentence,
// or an empty text.
std::string CheckDemuxedVobIds(JobContext& job);

// Renames the fixed names one PgcDemux run left in `Folder` to asset names
// of VOB id `VobId` (and cell `CellId`; 0 for a VOB pass).
void RenamePgcDemuxFiles(JobContext& job, std::int16_t VobId, const std::string& Folder, std::int16_t CellId);

// Copies the IFO `FileName`, its BUP (made from the IFO) and VOB, and with
// the flags the title set's title VOBs, from `SourceFolder` into
// OutputFolder's VIDEO_TS; through DVD Decrypter when the source is a disc
// it reads. Returns 1.
std::int16_t CopyFiles(JobContext& job, const std::string& SourceFolder, const std::string& FileName,
                       bool IncludeTitles, bool TitlesOnly, bool SkipMenuFiles);

// Moves the IFO `FileName`, its BUP and VOB from the source into
// OutputFolder's BACKUP and copies the authored ones into the source.
void RestoreToSource(JobContext& job, const std::string& SourceFolder, const std::string& FileName);

}  // namespace kestrova
