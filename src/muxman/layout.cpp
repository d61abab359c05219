// The Muxman scripts and run: see layout.h.
#include "muxman/layout.h"

#include "job/log_writers.h"

namespace kestrova {

bool GenerateMUXMANLayout(JobContext& job) {
    NotYetAvailable(job, "GenerateMUXMANLayout");
    return true;
}

}  // namespace kestrova
