// The Scenarist script files: the batches, the order of the objects in a
// script, and the objects that hardly depend on the disc (version, project
// info, default settings, colour palettes).
#pragma once

#include <cstdint>
#include <string>

#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// Writes one script per batch of title sets under Root of the VMG,
// "\Batch_<n>\ScenaristScript30_<n>.SCP" (27_, 26_ by version); returns
// the highest batch index. Writes nothing when no domain is authored.
std::int16_t CreateSCP(JobContext& job);

void GenerateVersion(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GenerateProjectInfo(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GenerateObjectDefault(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GeneratePalette(JobContext& job, ScenaristRun& run, ScriptFile& file);

// A colour value limited to 0 to 255, cut to an integer.
std::int16_t CheckMaxMin(double value);

// A contrast (0 to 15) as a percent number, first scaled by HighContrast
// unless `keep`. The caller's value is left as it was.
int ContrastToPercent(const JobContext& job, int contrast, bool keep);

}  // namespace kestrova
