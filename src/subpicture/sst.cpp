// The timed lists of the subpicture bitmaps: see sst.h.
#include "subpicture/sst.h"

#include "job/log_writers.h"

namespace kestrova {

void CheckSSTFor2SecondBMP(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount) {
    static_cast<void>(pgcCount);
    static_cast<void>(streamCount);
    NotYetAvailable(job, "CheckSSTFor2SecondBMP");
}

void ProcessSST(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount) {
    static_cast<void>(pgcCount);
    static_cast<void>(streamCount);
    NotYetAvailable(job, "ProcessSST");
}

}  // namespace kestrova
