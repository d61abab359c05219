// Asset file names and the moves between the job's folders.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Gives the demultiplexed files of a folder their asset names.
void EnableFileRename(JobContext& job, const std::string& Folder);

// Moves the audio of single-cell stills beside their cell video.
void MoveCellAudio(JobContext& job);

// Moves the encoded video of every domain to NEW_M2V.
void GetEncodedVideo(JobContext& job);

// Copies the files that were not re-authored into the result.
void CopyRemainingFiles(JobContext& job, bool OtherCopyMode);

}  // namespace kestrova
