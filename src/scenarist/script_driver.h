// The Scenarist script files: the batches, the order of the objects in a
// script, and the objects that hardly depend on the disc (version, project
// info, default settings, colour palettes).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "authoring/picture_helpers.h"
#include "authoring/script_file.h"
#include "job/context.h"
#include "scenarist/script_run.h"

namespace kestrova {

// Writes one script per batch of title sets under Root of the VMG,
// "\Batch_<n>\ScenaristScript30_<n>.SCP" (27_, 26_ by version); returns
// the highest batch index. Writes nothing when no domain is authored. The
// job's video standard is the target's while the scripts are written and
// the source's again afterwards, also when a writer fails.
std::int16_t CreateSCP(JobContext& job);

// Fills BatchCount and BatchRanges: the domains in DiscModel order, a new
// batch each time the running count of video assets (a whole "Video" VOB
// counts 1, any other VOB its cells) reaches the next 600. A domain without
// VOBs opens and closes no batch.
void DivideIntoBatches(JobContext& job, ScenaristRun& run);

void GenerateVersion(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GenerateProjectInfo(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GenerateObjectDefault(JobContext& job, ScenaristRun& run, ScriptFile& file);
void GeneratePalette(JobContext& job, ScenaristRun& run, ScriptFile& file);

// A contrast (0 to 15) as a percent number, first scaled by HighContrast
// unless `keep`. The caller's value is left as it was.
int ContrastToPercent(const JobContext& job, int contrast, bool keep);

// --- Blocks the data and track objects share ---------------------------

// A subpicture conversion rule: the announcing line at `depth`, then the
// blocks "Color 4(Bg)", "Color 3(P)", "Color 2(E1)", "Color 1(E2)", each
// mapping to the colour given in that order.
void WriteConversionRule(ScriptFile& file, int depth, std::string_view statement, const std::array<Rgb, 4>& colours);

// A block of the four keys "Color 1(E2)=" to "Color 4(Bg)=" with their
// values in that order.
void WriteFourColours(ScriptFile& file, int depth, std::string_view statement,
                      const std::array<std::string, 4>& values);

}  // namespace kestrova
