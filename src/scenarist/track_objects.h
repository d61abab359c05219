// The track folder of a script: a track per piece of video a PGC plays,
// with its audio, subpicture and highlight streams and its scenes, and the
// dummy tracks standing in for title content and empty menu domains.
#pragma once

#include <string>

#include "authoring/picture_helpers.h"
#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// Writes "Object=Track Folder". Makes each domain's palettes consistent
// first: it changes Palette_Number of PGCs and VTS_Type of a domain.
void GenerateTrackData(JobContext& job, ScenaristRun& run, ScriptFile& file);
// The dummy tracks; fills run.Titles.
void GenerateDummyTrack(JobContext& job, ScenaristRun& run, ScriptFile& file);
// The closing brace of a scene.
void GenerateSceneExtra(ScriptFile& file);
// An empty highlight play for a bitmap of a "Video" VOB that has none:
// one button named `buttonName` on a tiny area, every colour 1, every
// contrast 0 %. Writes nothing for a bitmap without a start time.
void GenerateDummyHighLight(JobContext& job, const ScenaristRun& run, ScriptFile& file, const std::string& vobType,
                            const BMP_Properties& bitmap, const std::string& buttonName);

}  // namespace kestrova
