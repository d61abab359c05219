// Audio conversion of a menu domain: see audio_conversion.h.
#include "audio/audio_conversion.h"

#include "job/log_writers.h"

namespace kestrova {

void EnableAudioProcess(JobContext& job) {
    NotYetAvailable(job, "EnableAudioProcess");
}

}  // namespace kestrova
