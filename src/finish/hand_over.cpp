// Handing the result over: see hand_over.h.
#include "finish/hand_over.h"

#include "job/log_writers.h"

namespace kestrova {

bool GenerateImage(JobContext& job, const std::string& folder, bool rebuilder) {
    static_cast<void>(folder);
    static_cast<void>(rebuilder);
    NotYetAvailable(job, "GenerateImage");
    return false;
}

bool StartDIF4U(JobContext& job) {
    NotYetAvailable(job, "StartDIF4U");
    return false;
}

void ReBuilderHandOff(JobContext& job, const std::string& source, const std::string& root) {
    static_cast<void>(source);
    static_cast<void>(root);
    NotYetAvailable(job, "ReBuilderHandOff");
}

}  // namespace kestrova
