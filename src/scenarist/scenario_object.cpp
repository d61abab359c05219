// The scenario of a script: see scenario_object.h.
#include "scenarist/scenario_object.h"

#include "job/log_writers.h"

namespace kestrova {

void GenerateLayout(JobContext& job, ScenaristRun&, ScriptFile&) { NotYetAvailable(job, "GenerateLayout"); }

}  // namespace kestrova
