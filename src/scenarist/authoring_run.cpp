// Scenarist's authoring run and the IFO update after it: see authoring_run.h.
#include "scenarist/authoring_run.h"

#include "job/log_writers.h"

namespace kestrova {

void StartAuthoring(JobContext& job, std::int16_t batchCount) {
    static_cast<void>(batchCount);
    NotYetAvailable(job, "StartAuthoring");
}

void EnableUpdateIFO(JobContext& job, std::int16_t batchCount, bool failed) {
    static_cast<void>(batchCount);
    static_cast<void>(failed);
    NotYetAvailable(job, "EnableUpdateIFO");
}

void SetScenarist(JobContext& job) {
    NotYetAvailable(job, "SetScenarist");
}

}  // namespace kestrova
