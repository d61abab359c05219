// Asset file names and the moves between the job's folders. Every later
// stage finds its files by name alone: "001.M2V" is the video of VOB id 1,
// "001_002.M2V" that of its cell 2, "001-80-DELAY[0].AC3" its first AC3
// stream, "Dummy-001.M2V" the video of a dummy VOB id, "\NEW_M2V\001.m2v"
// the final video.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// A VOB id as three digits with leading zeros ("007"); more digits are kept.
std::string CreateVOBName(int vob);
// A cell number in the same form.
std::string CreateCellName(int cell);

// Gives the files DVD Decrypter left in a folder their asset names; empty
// files are deleted. `Folder` is the DEMUXED or DEMUXED_CELLID folder.
void EnableFileRename(JobContext& job, const std::string& Folder);

// Moves the video and audio of single-cell stills to DEMUXED_CELLID as cell 1.
void MoveCellAudio(JobContext& job);

// Renames the video of each dummy VOB id "Dummy-VV.M2V", so it is never encoded.
void RenameDummy(JobContext& job);

// Brings AC3 streams to their finished names: "1-" in front (Fixed false),
// or "S-VV.ac3" for the files delaycut left (Fixed true).
void AudioRename(JobContext& job, const std::string& Folder, bool Fixed);

// Moves the encoded video of every domain to NEW_M2V.
void GetEncodedVideo(JobContext& job);
// Moves the encoded files of the job's file list, found in the domain's
// `SubFolder` ("\DEMUXED\", "\DEMUXED_CELLID\" or "\FRAMESERVING\"), to
// NEW_M2V.
void MoveVideo(JobContext& job, const std::string& SubFolder, std::int16_t DomainIndex);

// Copies the files that were not re-authored into the result.
void CopyRemainingFiles(JobContext& job, bool OtherCopyMode);

}  // namespace kestrova
