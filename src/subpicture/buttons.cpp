// Buttons and highlights recovered from the NAV packs: see buttons.h.
#include "subpicture/buttons.h"

#include "job/log_writers.h"

namespace kestrova {

void FindHighlightBitmaps(JobContext& job, std::int16_t pgcCount) {
    static_cast<void>(pgcCount);
    NotYetAvailable(job, "FindHighlightBitmaps");
}

void CheckDisplayMode(JobContext& job) {
    NotYetAvailable(job, "CheckDisplayMode");
}

void VobParse(JobContext& job, const std::string& bovPath) {
    static_cast<void>(bovPath);
    NotYetAvailable(job, "VobParse");
}

}  // namespace kestrova
