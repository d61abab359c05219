// The menu IFO rebuilt after the merge: see ifo_patching.h.
#include "muxman/ifo_patching.h"

#include "job/log_writers.h"

namespace kestrova {

bool CorrectMuxmanIfo(JobContext& job, int, const std::vector<std::int32_t>&,
                      const std::vector<std::array<std::int32_t, 6>>&) {
    NotYetAvailable(job, "CorrectMuxmanIfo");
    return true;
}

}  // namespace kestrova
