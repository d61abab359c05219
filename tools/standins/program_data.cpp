// The files a job finds beside the program, as the personalities
// "program-folder K:\DIR" (the tools too) and "program-data K:\DIR" (the
// files alone, as the build lays them beside kestrova-cli) make them.
#include <iostream>

#include "encoding.h"
#include "platform/error.h"
#include "platform/launcher.h"
#include "platform/registry.h"
#include "program_folder.h"
#include "standin.h"

namespace kestrova::standin {

bool MakeDummyStreams(const Invocation& call, const std::string& programFolder) {
    const std::string ffmpeg = platform::FindOnHostPath("ffmpeg");
    if (ffmpeg.empty()) {
        std::cerr << call.Tool << ": ffmpeg is not installed, so PAL.mpv and NTSC.mpv are not made; the job "
                  << "needs them for its title placeholders\n";
        return false;
    }
    struct Standard {
        const char* Name;
        const char* Picture;  // lavfi size and rate
        const char* Gop;
    };
    static const Standard kStandards[] = {{"PAL.mpv", "s=720x576:r=25", "12"},
                                          {"NTSC.mpv", "s=720x480:r=30000/1001", "15"}};
    const platform::FileSystem files(call.Paths);
    files.MakeFolder(programFolder);
    for (const Standard& standard : kStandards) {
        const std::string target = programFolder + "\\" + standard.Name;
        const std::string part = target + ".part";
        const std::vector<std::string> command = {
            ffmpeg, "-nostdin", "-loglevel", "error", "-y", "-f", "lavfi",
            "-i", std::string("color=c=black:") + standard.Picture, "-frames:v", standard.Gop,
            "-c:v", "mpeg2video", "-pix_fmt", "yuv420p", "-b:v", "2000k", "-maxrate", "9800k", "-bufsize", "1835008",
            "-g", standard.Gop, "-aspect", "4:3", "-threads", "1", "-flags", "+bitexact", "-fflags", "+bitexact",
            "-f", "mpeg2video", call.Paths.ToHost(part)};
        if (const int status = RunHostProgram(call, command); status != 0) {
            if (files.FileExists(part)) files.DeleteFile(part);
            throw Error("ffmpeg could not make " + target + ": it ended with exit status " + std::to_string(status));
        }
        files.MoveFile(part, target);
    }
    return true;
}

int RunProgramFolder(const Invocation& call) {
    if (call.Arguments.size() != 1) throw Error("program-folder takes one folder, a drive path as K:\\PROGRAM");
    platform::Registry registry(platform::Registry::DefaultHivePath());
    if (const std::string note = registry.Load(); !note.empty()) std::cerr << call.Tool << ": " << note << "\n";
    LayOutTools(platform::FileSystem(call.Paths), registry, call.Arguments[0]);
    MakeDummyStreams(call, call.Arguments[0]);
    return 0;
}

int RunProgramData(const Invocation& call) {
    if (call.Arguments.size() != 1) throw Error("program-data takes one folder, a drive path as K:\\PROGRAM");
    LayOutBlankFrames(platform::FileSystem(call.Paths), call.Arguments[0]);
    MakeDummyStreams(call, call.Arguments[0]);
    return 0;
}

}  // namespace kestrova::standin
