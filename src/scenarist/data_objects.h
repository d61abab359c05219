// The data folder of a script: every video, audio and subpicture asset the
// project uses, each under a name the tracks refer to.
#pragma once

#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// "Object=Data Folder" is opened by the video generator and closed by the
// subpicture generator; the three run in this order.
void GenerateVideoData(JobContext& job, ScenaristRun& run, ScriptFile& file);
// May repair a damaged AC3 file on disk first.
void GenerateAudioData(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GenerateSubData(JobContext& job, ScenaristRun& run, ScriptFile& file);

}  // namespace kestrova
