// Frame server information: the width, height, rate, scale and length of
// the video an Avisynth script delivers, as the system's AVI file interface
// reports them on Windows. The script is evaluated here for the subset of
// Avisynth the job writes: import and plugin lines, the MPEG-2 source over a
// D2V project file, and the filters that change size, rate or length. A
// script that Avisynth could not run gives Avisynth's error clip (640x480,
// 24 frames a second, 240 frames), which the job recognises by its shape.
#pragma once

#include <cstdint>
#include <string>

#include "platform/files.h"

namespace kestrova {

struct AviStreamInfo {
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::uint32_t Rate = 0;
    std::uint32_t Scale = 1;
    std::int32_t Length = 0;
    bool ErrorClip = false;
    std::string Error;  // the fault, naming the script and line, when ErrorClip is true
};

// Where the plugins and imported scripts a script names come from. With
// the native tools the frame server has the filters of the plugins the
// job's templates load ("decomb.dll", "kerneldeint.dll",
// "mpeg2dec3dg.dll", "DGDecode.dll") and the function of "addaudio.avs"
// built in, so those names need no file; any other file must exist. With
// the Windows tools every file must exist, as Avisynth loads it.
enum class PluginFiles { BuiltIn, MustExist };

// Evaluates the script at the drive path `scriptPath`. Paths inside the
// script (the D2V project and the video files it lists) are drive paths; a
// relative one is taken from the folder of the file that names it. Never
// throws for a fault in the script or the files it reads: that is the
// error clip.
AviStreamInfo ReadAviStreamInfo(const platform::FileSystem& files, const std::string& scriptPath,
                                PluginFiles plugins = PluginFiles::BuiltIn);

}  // namespace kestrova
