// What the encoder personalities share. Each reads its own control file or
// command line into EncodeRequests; EncodeScript turns one request into an
// MPEG-2 elementary stream with ffmpeg, repeating what the Avisynth script
// does to its source; RunItems works through a list of items the way a
// batch encoder does, and dies half way when a test asks it to.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frameserver/d2v_file.h"
#include "standin.h"

namespace kestrova::standin {

enum class RateControl {
    Constant,        // Bitrate, the minimum and the maximum alike
    OnePassQuality,  // Quantiser, with MaxBitrate as the ceiling
    OnePassAverage,  // Bitrate on average in one pass, MaxBitrate as the ceiling
    MultiPass,       // Bitrate on average over two passes, MaxBitrate as the ceiling
};

// One item of an encoder's work.
struct EncodeRequest {
    std::string Script;  // drive path of the Avisynth script
    std::string Output;  // drive path of the elementary stream to write
    std::int32_t Height = 0;  // 0: the script's
    FrameRate Rate{0, 1};     // Numerator 0: the script's
    std::string Aspect = "4:3";
    int GopLength = 15;  // pictures from one I picture to the next; 0: 12 at 25 frames a second, else 15
    int BFrames = 2;     // B pictures between references
    bool ClosedGops = false;
    bool TopFieldFirst = true;
    bool Progressive = false;  // false: interlaced coding (field DCT and motion)
    int DcPrecision = 0;       // 8 to 11 bits; 0 the encoder's choice
    bool AlternateScan = false;
    // 64 values each in raster order; empty: the MPEG default matrices.
    std::vector<int> IntraMatrix;
    std::vector<int> NonIntraMatrix;
    RateControl Mode = RateControl::Constant;
    long Bitrate = 0;     // kbit/s
    long MaxBitrate = 0;  // kbit/s
    int Quantiser = 0;    // 1 (finest) to 31
    // The frames taken from the script: from EncodeFirst up to, not
    // including, EncodeLast (-1: the script's end), both clamped to the
    // script's length.
    std::int64_t EncodeFirst = 0;
    std::int64_t EncodeLast = -1;
    // Frames of the encoded stream at which a group starts with an I picture.
    std::vector<std::int64_t> Chapters;
};

// The MPEG-2 frame rate of a frame_rate_code (1 24000/1001 ... 8 60); {0, 1}
// for a code outside 1 to 8.
FrameRate MpegFrameRate(long code);

// Encodes one request. The script is evaluated by the frame server, its
// source files are decoded and its steps repeated by ffmpeg, and the output
// appears whole or not at all (an older file of that name is removed
// first). Throws Error naming the files for a script that gives the error
// clip, a source file that is gone, a missing ffmpeg or a failed encode.
void EncodeScript(const Invocation& call, const EncodeRequest& request);

// Runs a host program (argv[0] a host path) through the process runner,
// its output lines going to stderr; returns its exit status.
int RunHostProgram(const Invocation& call, const std::vector<std::string>& argv);

// The host path of a program on $PATH; throws Error saying what it is
// needed for when it is not installed.
std::string RequireHostProgram(const std::string& name, const std::string& purpose);

// A folder of this call's own under the host's temporary folder, removed
// with its content at the end.
class ScratchFolder {
public:
    explicit ScratchFolder(const Invocation& call);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Host() const { return host_; }
    const std::string& Drive() const { return drive_; }  // the same folder as a drive path

private:
    const Invocation& call_;
    std::string host_;
    std::string drive_;
};

// Works through `count` items as a batch encoder does: `item` does one and
// returns the drive path of what it wrote. A fault (Error) ends only its
// own item: it is said on stderr with `label(index)` and the list goes on.
// Asked to fail partway, the call does call.ItemsBeforeFailure items,
// leaves the next one's output cut to half its bytes and ends there.
// Returns 0 when every item was done, else 1.
int RunItems(const Invocation& call, std::size_t count, const std::function<std::string(std::size_t)>& item,
             const std::function<std::string(std::size_t)>& label);

}  // namespace kestrova::standin
