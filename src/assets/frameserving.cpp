// Scenes and frame serving of each asset: see frameserving.h.
#include "assets/frameserving.h"

#include "job/log_writers.h"

namespace kestrova {

void EnableScenes(JobContext& job) {
    NotYetAvailable(job, "EnableScenes");
}

void NewDVD2AVIProc(JobContext& job) {
    NotYetAvailable(job, "NewDVD2AVIProc");
}

}  // namespace kestrova
