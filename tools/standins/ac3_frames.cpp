// What the AC3 personalities share: see ac3_frames.h.
#include "ac3_frames.h"

#include <algorithm>

#include "audio.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"

namespace kestrova::standin {

namespace {

// Sample rates by fscod, and the layouts of acmod as the audio reader names them.
constexpr long kSampleRates[] = {48000, 44100, 32000};
constexpr const char* kLayouts[] = {"1+1", "1/0", "2/0", "3/0", "2/1", "3/1", "2/2", "3/2"};
// The same channels as ffmpeg layouts, without and with LFE, in ffmpeg's
// own channel order (LFE behind the front channels), the only order it
// takes; dual mono has none.
constexpr const char* kFfmpegLayouts[] = {"", "FC", "FL+FR", "FL+FR+FC", "FL+FR+BC", "FL+FR+FC+BC", "FL+FR+SL+SR",
                                          "FL+FR+FC+SL+SR"};
constexpr const char* kFfmpegLayoutsLfe[] = {"",         "FC+LFE",          "FL+FR+LFE",       "FL+FR+FC+LFE",
                                             "FL+FR+LFE+BC", "FL+FR+FC+LFE+BC", "FL+FR+LFE+SL+SR", "FL+FR+FC+LFE+SL+SR"};

constexpr std::size_t kBlockBytes = 1 << 16;

}  // namespace

long SampleRateOf(const Ac3Frame& frame) { return kSampleRates[frame.Fscod < 3 ? frame.Fscod : 0]; }

std::string FormatOf(const Ac3Frame& frame) {
    return std::to_string(SampleRateOf(frame)) + " Hz, " + std::to_string(Ac3BitrateOfCode(frame.Frmsizecod)) +
           " kbit/s, " + kLayouts[frame.Acmod & 7] + (frame.Lfe ? "+LFE" : "") + ", " + std::to_string(frame.Size) +
           "-byte frames";
}

bool SameStream(const Ac3Frame& a, const Ac3Frame& b) {
    return a.Fscod == b.Fscod && a.Frmsizecod / 2 == b.Frmsizecod / 2 && a.Acmod == b.Acmod && a.Lfe == b.Lfe;
}

bool PassesCrcs(const Ac3Frame& frame) { return frame.Crc1Ok && frame.Crc2Ok; }

std::vector<std::uint8_t> SilentFrame(const Invocation& call, const std::string& source, const Ac3Frame& model) {
    const std::string cannot =
        "ffmpeg cannot make a silent frame like those of \"" + source + "\" (" + FormatOf(model) + ")";
    const std::string layout = (model.Lfe ? kFfmpegLayoutsLfe : kFfmpegLayouts)[model.Acmod & 7];
    if (layout.empty()) throw Error(cannot + ": it encodes no dual mono (1+1)");
    const std::string ffmpeg = RequireHostProgram("ffmpeg", "to make silent frames in the place of " + call.Tool);
    const ScratchFolder scratch(call);
    const std::string silence = scratch.Host() + "/silence.ac3";
    const std::vector<std::string> command = {
        ffmpeg, "-nostdin", "-loglevel", "error", "-y", "-f", "lavfi",
        "-i", "anullsrc=r=" + std::to_string(SampleRateOf(model)) + ":cl=" + layout, "-t", "0.5",
        "-c:a", "ac3", "-b:a", std::to_string(Ac3BitrateOfCode(model.Frmsizecod)) + "k", "-f", "ac3", silence};
    if (const int status = RunHostProgram(call, command); status != 0) {
        throw Error(cannot + ": it ended with exit status " + std::to_string(status));
    }
    const Ac3FrameList made = ReadAc3Frames(silence);
    // From the middle out, away from the encoder's first and last frames.
    const std::size_t count = made.Frames.size();
    for (std::size_t step = 0; step < count; ++step) {
        const std::size_t at = (count / 2 + step) % count;
        const Ac3Frame& frame = made.Frames[at];
        if (PassesCrcs(frame) && frame.Fscod == model.Fscod && frame.Frmsizecod == model.Frmsizecod &&
            frame.Acmod == model.Acmod && frame.Lfe == model.Lfe && frame.Size == model.Size) {
            const std::vector<std::uint8_t> bytes =
                platform::FileSystem(call.Paths).ReadBytes(scratch.Drive() + "\\silence.ac3");
            if (frame.Offset + frame.Size > bytes.size()) break;
            const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(frame.Offset);
            return {first, first + frame.Size};
        }
    }
    throw Error(cannot + ": its frames are " + (count == 0 ? std::string("none") : FormatOf(made.Frames[count / 2])));
}

// ---- Ac3FileBytes ----

Ac3FileBytes::Ac3FileBytes(const Invocation& call, const std::string& path)
    : reader_(platform::OpenFileReader(call.Paths, path)), tool_(call.Tool), path_(path) {}

std::span<const std::uint8_t> Ac3FileBytes::Frame(const Ac3Frame& frame) {
    if (frame.Offset < position_) throw Error(tool_ + ": the frames of \"" + path_ + "\" are out of order");
    Pass(frame.Offset, {});
    TakeAll(frame.Size, frame);
    return {bytes_.data(), frame.Size};
}

void Ac3FileBytes::Pass(std::uint64_t offset, const std::function<void(std::span<const std::uint8_t>)>& take) {
    while (position_ < offset) {
        const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(offset - position_, kBlockBytes));
        const std::size_t got = Take(wanted);
        if (got > 0 && take) take({bytes_.data(), got});
        if (got == wanted) continue;
        if (offset == UINT64_MAX) return;
        throw Error("\"" + path_ + "\" ends at byte " + std::to_string(position_) + ", before byte " +
                    std::to_string(offset) + " where its next frame begins; it changed while it was read");
    }
}

void Ac3FileBytes::PassToEnd(const std::function<void(std::span<const std::uint8_t>)>& take) {
    Pass(UINT64_MAX, take);
}

std::size_t Ac3FileBytes::Take(std::size_t count) {
    bytes_.resize(std::max(bytes_.size(), count));
    const std::size_t got = reader_->Read({bytes_.data(), count});  // short only at the end
    position_ += got;
    return got;
}

void Ac3FileBytes::TakeAll(std::size_t count, const Ac3Frame& frame) {
    if (Take(count) < count) {
        throw Error("\"" + path_ + "\" ends at byte " + std::to_string(position_) +
                    ", before the end of its frame at byte " + std::to_string(frame.Offset) +
                    "; it changed while it was read");
    }
}

}  // namespace kestrova::standin
