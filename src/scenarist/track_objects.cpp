// The track folder of a script: see track_objects.h.
#include "scenarist/track_objects.h"

#include <cmath>

#include "job/log_writers.h"

namespace kestrova {

void GenerateTrackData(JobContext& job, ScenaristRun&, ScriptFile&) { NotYetAvailable(job, "GenerateTrackData"); }
void GenerateDummyTrack(JobContext& job, ScenaristRun& run, ScriptFile&) {
    run.Titles = GetTitleArray(job);
    NotYetAvailable(job, "GenerateDummyTrack");
}

void GenerateSceneExtra(ScriptFile& file) { file.Close(6); }

std::string ConvertButtonMode(const std::string& mode) {
    std::string joined;
    std::size_t at = 0;
    while (true) {
        const std::size_t comma = mode.find(", ", at);
        joined += mode.substr(at, comma == std::string::npos ? std::string::npos : comma - at);
        if (comma == std::string::npos) break;
        joined += '/';
        at = comma + 2;
    }
    return joined;
}

int ConvertButtonY(const JobContext& job, int y) {
    if (job.Timing.Conversion != 1) return y;
    const bool palSource = job.Timing.FramesPerSecond == 25;
    return static_cast<int>(std::nearbyint(palSource ? y / 1.2 : y * 1.2));
}

}  // namespace kestrova
