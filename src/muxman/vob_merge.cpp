// The merge of the small Muxman results: see vob_merge.h.
#include "muxman/vob_merge.h"

#include "job/log_writers.h"

namespace kestrova {

void NewUpdateVOBs(JobContext& job, MuxmanRun& run) {
    NotYetAvailable(job, "NewUpdateVOBs");
    run.MuxmanFailed = true;
}

}  // namespace kestrova
