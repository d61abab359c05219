// Frame server information: the width, height, rate, scale and length of
// the video an Avisynth script delivers, as the system's AVI file interface
// reports them on Windows. The script is evaluated here for the subset of
// Avisynth the job writes: import and plugin lines, the MPEG-2 source over a
// D2V project file, and the filters that change size, rate or length. A
// script that Avisynth could not run gives Avisynth's error clip (640x480,
// 24 frames a second, 240 frames), which the job recognises by its shape.
//
// Beside the shape, the evaluation gives the plan that produced it: the
// video files the project reads and each step the script applies, in
// order. The frame server has no pixels; a tool that needs them (an
// encoder in a Windows encoder's place) decodes the files and repeats the
// steps itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frameserver/d2v_file.h"
#include "platform/files.h"

namespace kestrova {

enum class ClipStepKind {
    Trim,            // First, Last
    Crop,            // Left, Top, Width, Height
    AddBorders,      // Left, Top, Right, Bottom
    Resize,          // Width, Height (the function names the kernel)
    AssumeFps,       // Rate: the same frames, retimed
    ChangeFps,       // Rate: frames dropped or repeated (ChangeFPS) or blended (ConvertFPS)
    SeparateFields,  // each frame becomes its two fields
    SelectEvery,     // Cycle, Offsets
    Weave,           // pairs of fields become frames
    Decimate,        // Cycle: one frame of each cycle dropped
    Kernelbob,       // TopFieldFirst: each field becomes a frame
    PassThrough,     // a filter that keeps size, rate and length: the deinterlacers
                     // ("Telecide", "FieldDeinterlace") and Decimate's blending mode
};

struct ClipStep {
    ClipStepKind Kind = ClipStepKind::Trim;
    std::string Function;  // as the script names it ("LanczosResize", "Telecide")
    std::int64_t First = 0;  // Trim: the first and last frame kept, as applied to the clip
    std::int64_t Last = 0;
    std::int64_t Left = 0;
    std::int64_t Top = 0;
    std::int64_t Right = 0;
    std::int64_t Bottom = 0;
    std::int64_t Width = 0;
    std::int64_t Height = 0;
    FrameRate Rate;
    std::int64_t Cycle = 0;
    std::vector<std::int64_t> Offsets;
    bool TopFieldFirst = true;
};

struct ClipPlan {
    // The video files the project lists, in order, as drive paths.
    std::vector<std::string> SourceFiles;
    // What the decoder does with the pictures' repeat flags, and the rate
    // and count of the frames it delivers.
    FieldOperation Operation = FieldOperation::None;
    FrameRate SourceRate;
    std::int64_t SourceFrames = 0;
    std::vector<ClipStep> Steps;
};

struct AviStreamInfo {
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::uint32_t Rate = 0;
    std::uint32_t Scale = 1;
    std::int32_t Length = 0;
    bool ErrorClip = false;
    std::string Error;  // the fault, naming the script and line, when ErrorClip is true
    ClipPlan Plan;      // how the script makes its clip; empty for the error clip
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
