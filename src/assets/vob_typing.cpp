// Typing of a domain's VOBs and the subpicture rip around it: see vob_typing.h.
#include "assets/vob_typing.h"

#include "job/log_writers.h"

namespace kestrova {

std::int16_t VobAnalysis(JobContext& job) {
    NotYetAvailable(job, "VobAnalysis");
    return 0;
}

}  // namespace kestrova
