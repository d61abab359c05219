// The merge of the small Muxman results: see vob_merge.h.
#include "muxman/vob_merge.h"

#include "job/log_writers.h"

namespace kestrova {

void NewUpdateVOBs(JobContext& job, MuxmanRun& run) {
    NotYetAvailable(job, "NewUpdateVOBs");
    run.MuxmanFailed = true;
}

bool CorrectMuxmanIfo(JobContext& job, int, const std::vector<std::int32_t>&,
                      const std::vector<std::array<std::int32_t, 6>>&) {
    NotYetAvailable(job, "CorrectMuxmanIfo");
    return true;
}

}  // namespace kestrova
