// The D2V project file an MPEG-2 indexing tool leaves for the frame server,
// read the way the MPEG-2 source filter reads it: the variant, the file
// list, the field operation, the frame rate, the picture size where the
// file states it, and the frames the decoder delivers from the picture
// flags.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/files.h"

namespace kestrova {

// A frame rate as a reduced fraction, as a video stream carries it.
struct FrameRate {
    std::uint32_t Numerator = 0;
    std::uint32_t Denominator = 1;
};

bool operator==(const FrameRate& left, const FrameRate& right);

// The reduced fraction of numerator / denominator; throws Error when the
// reduced terms do not fit 32 bits or the denominator is 0.
FrameRate MakeFrameRate(std::uint64_t numerator, std::uint64_t denominator);

// A rate in thousandths of a frame per second ("Frame_Rate=29970"): the
// NTSC family becomes n*1000/1001 (29970 -> 30000/1001, 23976 -> 24000/1001),
// everything else value/1000 reduced (25000 -> 25/1).
FrameRate FrameRateFromThousandths(std::uint32_t thousandths);

enum class D2vVariant { Dvd2avi, DGIndex };

// What the decoder does with the repeat-field flags.
enum class FieldOperation { None, ForceFilm, SwapOrder, RawFrames };

struct D2vProject {
    D2vVariant Variant = D2vVariant::DGIndex;
    std::vector<std::string> Files;  // the video files, as written (Windows paths)
    FieldOperation Operation = FieldOperation::None;
    FrameRate StreamRate;            // the Frame_Rate line
    FrameRate Rate;                  // what the decoder delivers (24000/1001 under force film)
    std::int32_t Width = 0;          // from "Picture_Size=WxH"; 0 when the file does not say
    std::int32_t Height = 0;
    std::array<std::int64_t, 4> FlagCounts{};  // pictures by flag "0" to "3"
    std::int64_t Pictures = 0;       // coded pictures counted in the data lines
    std::int32_t Frames = 0;         // frames the decoder delivers
};

// Parses the text of a project file. `name` is used in error sentences.
// Throws Error naming the file and line for anything the decoder could not
// open: a short file, a missing Field_Operation or Frame_Rate line, an
// unusable file list or rate, or no pictures at all.
D2vProject ParseD2vProject(const std::string& text, const std::string& name);

// Reads and parses the project file at the drive path `path`.
D2vProject ReadD2vProject(const platform::FileSystem& files, const std::string& path);

}  // namespace kestrova
