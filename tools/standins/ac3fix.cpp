// "ac3fix": an AC3 stream repaired frame by frame, called as
//   ac3fix IN OUT
// where the job writes OUT as IN with the extension ".fix", both unquoted.
//
// The audio reader walks IN; the first frame that passes both CRCs is the
// model of the stream's format. Then, in file order:
//
//   What IN holds                                  What OUT gets
//   ---------------------------------------------- --------------------------
//   a frame of the model's format passing its CRCs the frame, byte for byte
//   a frame failing a CRC, or of another format    one silent frame
//   a frame lost between two frames the reader     one silent frame each
//   kept: cut short, its header refused (a wrong
//   frame size) or its sync word damaged
//   any other byte between frames                  nothing
//
// so the repaired stream keeps the length of the stream it was. A silent
// frame is ffmpeg's, in the model's format (see ac3_frames.h); ffmpeg runs
// only when one is needed. A file without a good frame has nothing to
// model silence on: exit 1 and no OUT. OUT is written under a temporary
// name and renamed when whole; IN is only read.
#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ac3_frames.h"
#include "assets/audio_frames.h"
#include "assets/audio_stream.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"
#include "platform/text.h"

namespace kestrova::standin {

namespace {

struct Ac3fixCall {
    std::string In;
    std::string Out;
};

// A path with a blank splits the job's unquoted line into more than two
// arguments; the line is then cut at the blank where OUT, IN's path with
// another extension, begins.
Ac3fixCall ReadAc3fixLine(const Invocation& call) {
    const std::vector<std::string>& arguments = call.Arguments;
    if (arguments.size() == 2) return {arguments[0], arguments[1]};
    const std::string text = platform::Trim(call.ArgumentText);
    if (arguments.size() > 2 && text.find('"') == std::string::npos) {
        for (std::size_t blank = text.find(' '); blank != std::string::npos; blank = text.find(' ', blank + 1)) {
            const std::string in = text.substr(0, blank);
            const std::string out = text.substr(blank + 1);
            if (!platform::EqualsIgnoreCase(in, out) &&
                platform::EqualsIgnoreCase(platform::WithoutExtension(in), platform::WithoutExtension(out))) {
                return {in, out};
            }
        }
    }
    throw Error("ac3fix: expected the AC3 file to repair and the file to write, as ac3fix IN.ac3 IN.fix; got \"" +
                text + "\"");
}

// Sorts the bytes between two frames the reader kept, handed in in order,
// into frames of the stream that were lost and stray bytes:
// - a lost frame begins at each sync word (0B 77) whose header byte of
//   fscod and frmsizecod has the stream's rate and bitrate: a frame cut
//   short, or one whose CRCs cannot be reached;
// - a stretch outside those frames that is a whole number of frames long
//   holds frames whose sync word or header is damaged (a wrong frame size);
// - any other byte is stray.
class GapWalk {
public:
    explicit GapWalk(const Ac3Frame& model) : model_(model) {
        const Ac3FrameSize* even = FindAc3FrameSize(model.Frmsizecod & ~1u);
        const Ac3FrameSize* odd = FindAc3FrameSize(model.Frmsizecod | 1u);
        smallest_ = even == nullptr ? model.Size : 2u * WordsAtRate(*even);
        largest_ = odd == nullptr ? model.Size : 2u * WordsAtRate(*odd);
    }

    void Add(std::span<const std::uint8_t> bytes) {
        pending_.insert(pending_.end(), bytes.begin(), bytes.end());
        std::size_t at = 0;
        for (; at + kHeadBytes <= pending_.size(); ++at) {
            const std::uint8_t* p = pending_.data() + at;
            if (p[0] != 0x0B || p[1] != 0x77 || (p[4] >> 6) != model_.Fscod ||
                (p[4] & 0x3F) / 2 != model_.Frmsizecod / 2) {
                continue;
            }
            EndStretch(base_ + at);
            ++lost_;
            stretch_ = base_ + at + model_.Size;
        }
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(at));
        base_ += at;
    }

    // The frames lost in the bytes added since the last call.
    std::size_t Finish() {
        EndStretch(base_ + pending_.size());
        const std::size_t lost = lost_;
        *this = GapWalk(model_);
        return lost;
    }

private:
    // A sync word, crc1, and the byte of fscod and frmsizecod.
    static constexpr std::size_t kHeadBytes = 5;

    std::uint32_t WordsAtRate(const Ac3FrameSize& size) const {
        return model_.Fscod == 0 ? size.Words48 : model_.Fscod == 1 ? size.Words44 : size.Words32;
    }

    // The stretch from stretch_ to `offset` holds no frame start.
    void EndStretch(std::uint64_t offset) {
        if (offset <= stretch_) return;
        const std::uint64_t length = offset - stretch_;
        const std::uint64_t count = length / smallest_;
        if (count > 0 && length <= count * largest_ && (length - count * smallest_) % 2 == 0) lost_ += count;
    }

    Ac3Frame model_;
    std::uint32_t smallest_ = 0;  // the two sizes a frame of the bitrate has (they differ at 44.1 kHz only)
    std::uint32_t largest_ = 0;
    std::vector<std::uint8_t> pending_;  // bytes not yet looked at
    std::uint64_t base_ = 0;             // gap offset of pending_'s first byte
    std::uint64_t stretch_ = 0;          // where the stretch without a frame start began
    std::size_t lost_ = 0;
};

std::string NoGoodFrame(const Ac3fixCall& line, const Ac3FrameList& source) {
    std::string why;
    if (!source.Frames.empty()) {
        why = "all " + std::to_string(source.Frames.size()) + " frames fail a CRC, the first at byte " +
              std::to_string(source.Frames.front().Offset);
    } else if (!source.Stream.Faults.empty()) {
        why = "byte " + std::to_string(source.Stream.Faults.front().Offset) + ": " + source.Stream.Faults.front().What;
    } else {
        why = "it is empty";
    }
    return "\"" + line.In + "\" holds no good AC3 frame to model its silence on (" + why + ")";
}

// Repairs IN into OUT; returns OUT.
std::string Repair(const Invocation& call, const Ac3fixCall& line) {
    const platform::FileSystem files(call.Paths);
    if (platform::EqualsIgnoreCase(line.In, line.Out)) {
        throw Error("\"" + line.In + "\" is both the file to repair and the file to write; it is only read");
    }
    files.DeleteFile(line.Out);
    if (!files.FileExists(line.In)) throw Error("there is no AC3 file \"" + line.In + "\"");
    const Ac3FrameList source = [&] {
        const std::unique_ptr<platform::ByteReader> reader = platform::OpenFileReader(call.Paths, line.In);
        return ReadAc3Frames(*reader);
    }();
    const std::vector<Ac3Frame>& frames = source.Frames;
    const auto model = std::find_if(frames.begin(), frames.end(), PassesCrcs);
    if (model == frames.end()) throw Error(NoGoodFrame(line, source));

    std::vector<std::uint8_t> silent;  // made when first needed
    std::size_t written = 0;
    std::size_t damaged = 0;
    std::size_t lost = 0;
    std::uint64_t between = 0;
    const std::string partial = line.Out + ".partial";
    try {
        const std::unique_ptr<platform::ByteWriter> writer =
            platform::OpenFileWriter(call.Paths, partial, platform::WriteMode::Replace);
        const auto writeSilence = [&](std::size_t count) {
            if (count > 0 && silent.empty()) silent = SilentFrame(call, line.In, *model);
            for (std::size_t i = 0; i < count; ++i) writer->Write(silent);
            written += count;
        };
        GapWalk gap(*model);
        const auto take = [&](std::span<const std::uint8_t> bytes) {
            gap.Add(bytes);
            between += bytes.size();
        };
        Ac3FileBytes bytes(call, line.In);
        for (const Ac3Frame& frame : frames) {
            bytes.Pass(frame.Offset, take);
            const std::size_t missing = gap.Finish();
            lost += missing;
            writeSilence(missing);
            const std::span<const std::uint8_t> read = bytes.Frame(frame);
            if (PassesCrcs(frame) && SameStream(frame, *model)) {
                writer->Write(read);
                ++written;
            } else {
                ++damaged;
                writeSilence(1);
            }
        }
        bytes.PassToEnd(take);
        const std::size_t missing = gap.Finish();
        lost += missing;
        writeSilence(missing);
        writer->Close();
    } catch (const Error&) {
        files.DeleteFile(partial);
        throw;
    }
    files.MoveFile(partial, line.Out);
    std::cout << call.Tool << ": \"" << line.In << "\" into \"" << line.Out << "\": " << written
              << " frames written, " << damaged << " damaged and " << lost << " lost ones made silent, " << between
              << " bytes between frames left out\n";
    return line.Out;
}

}  // namespace

int RunAc3fix(const Invocation& call) {
    const Ac3fixCall line = ReadAc3fixLine(call);
    return RunItems(
        call, 1, [&](std::size_t) { return Repair(call, line); }, [&](std::size_t) { return "\"" + line.In + "\""; });
}

}  // namespace kestrova::standin
