// Frame server queries: see avi_info.h.
#include "frameserver/avi_info.h"

#include "frameserver/frame_server.h"

namespace kestrova {

namespace {

AviStreamInfo Info(JobContext& job, const std::string& scriptPath) {
    return ReadAviStreamInfo(job.Files, scriptPath,
                             job.Tools == ToolProfile::Native ? PluginFiles::BuiltIn : PluginFiles::MustExist);
}

}  // namespace

std::int32_t OpenAviFile(JobContext& job, const std::string& scriptPath) {
    const auto info = Info(job, scriptPath);
    if (info.Rate == 24 && info.Scale == 1 && info.Length == 240) return kScriptFailed;
    return info.Width == 720 ? info.Length : 1;
}

AviFrames GetFrames(JobContext& job, const std::string& scriptPath, bool forceFilm) {
    const auto info = Info(job, scriptPath);
    AviFrames frames;
    frames.Frames = info.Length;
    if (info.ErrorClip) frames.Error = info.Error;
    if (forceFilm) {
        frames.Rate = 23.976;
        return frames;
    }
    const double rate = info.Scale == 0 ? 0 : static_cast<double>(info.Rate) / info.Scale;
    // The stream's rate in thousandths, as whole numbers: 30000/1001 is 29970.
    const auto thousandths = static_cast<std::int64_t>(rate * 1000);
    switch (thousandths) {
        case 23976: case 2397: frames.Rate = 23.976; break;
        case 29970: case 2997: frames.Rate = 29.97; break;
        case 25000: case 2500: frames.Rate = 25; break;
        default: frames.Rate = rate;
    }
    return frames;
}

}  // namespace kestrova
