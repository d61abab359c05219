// The data folder of a script: see data_objects.h.
#include "scenarist/data_objects.h"

#include "job/log_writers.h"

namespace kestrova {

void GenerateVideoData(JobContext& job, ScenaristRun&, ScriptFile&) { NotYetAvailable(job, "GenerateVideoData"); }
void GenerateAudioData(JobContext& job, ScenaristRun&, ScriptFile&) { NotYetAvailable(job, "GenerateAudioData"); }
void GenerateSubData(JobContext& job, ScenaristRun&, ScriptFile&) { NotYetAvailable(job, "GenerateSubData"); }

}  // namespace kestrova
