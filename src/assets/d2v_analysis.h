// The classification of an indexed asset: its video type from the picture
// flags of its project file and the film share in its log.
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

// The video type of the asset whose project file is `D2vPath` and whose
// indexing log is `LogPath`: "pal_interlaced", "pal_progressive",
// "ntsc_film", "ntsc_interlaced", "ntsc_hybrid" or "ntsc_telecine". The
// project file is written back with a frame rate of 0 repaired from
// job.DvdFrameRate and, for "ntsc_film", with forced film. A project file
// that cannot be read or parsed is named in the run log and classified
// as one without pictures.
std::string AnalyzeD2V(JobContext& job, const std::string& D2vPath, const std::string& LogPath);

}  // namespace kestrova
