// The encoder runs: see encoder_drivers.h.
#include "video/encoder_drivers.h"

#include "job/log_writers.h"

namespace kestrova {

void EnableRejig(JobContext& job) {
    NotYetAvailable(job, "EnableRejig");
}

void EnableVideoEncoding(JobContext& job) {
    NotYetAvailable(job, "EnableVideoEncoding");
}

}  // namespace kestrova
