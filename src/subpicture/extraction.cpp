// Subpicture extraction: see extraction.h.
#include "subpicture/extraction.h"

#include "job/log_writers.h"

namespace kestrova {

std::int16_t CreateIFO(JobContext& job) {
    NotYetAvailable(job, "CreateIFO");
    return 0;
}

std::int16_t NewConvert_SUBS(JobContext& job, std::int16_t pgcCount) {
    static_cast<void>(pgcCount);
    NotYetAvailable(job, "NewConvert_SUBS");
    return 0;
}

}  // namespace kestrova
