// IFO correction after authoring: see ifo_correction.h.
#include "finish/ifo_correction.h"

#include "job/log_writers.h"

namespace kestrova {

void GetVTSSectors(JobContext& job, const std::string& folder) {
    static_cast<void>(folder);
    NotYetAvailable(job, "GetVTSSectors");
}

}  // namespace kestrova
