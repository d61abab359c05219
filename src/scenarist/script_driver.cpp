// The Scenarist script files: see script_driver.h.
#include "scenarist/script_driver.h"

#include "job/log_writers.h"

namespace kestrova {

std::int16_t CreateSCP(JobContext& job) {
    NotYetAvailable(job, "CreateSCP");
    return 0;
}

}  // namespace kestrova
