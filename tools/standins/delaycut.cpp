// "delaycut": an AC3 file cut and padded by whole frames, called as
//   [-start N] [-fixcrc silence] [-end N] "SOURCE"
// with the switches in any order and matched without regard to case; N is
// a whole number of milliseconds and may be negative.
//
//   Switch            Cut
//   ----------------- --------------------------------------------------------
//   -start N          N > 0: the frames that cover the first N ms go; N < 0:
//                     |N| ms of silent frames come before the first frame
//   -end N            the same at the tail: N > 0 drops the last frames,
//                     N < 0 appends silent frames
//   -fixcrc silence   each frame that fails either CRC becomes a silent frame
//
// A frame is 1536 samples (32 ms at 48 kHz), and the milliseconds become
// the nearest whole count of frames. The result is the frames the audio
// reader finds, in order and without the bytes between them, written
// beside the source as its name without the extension and "_fixed.ac3"
// (the name the job's renaming looks for); the source stays as it is.
//
// A silent frame is one frame from the middle of a short silence that
// ffmpeg encodes in the source's format (sample rate, bitrate, channels and
// LFE), repeated. ffmpeg runs only when a silent frame is needed; a format
// it cannot encode (dual mono, for one) fails the call.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "assets/audio_stream.h"
#include "audio.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"
#include "platform/text.h"

namespace kestrova::standin {

namespace {

struct DelaycutCall {
    std::string Source;
    long StartMs = 0;
    long EndMs = 0;
    bool FixCrc = false;
};

long Milliseconds(const std::string& text, const std::string& option) {
    long value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stop != end) {
        throw Error("delaycut: the value \"" + text + "\" of " + option + " is not a whole number of milliseconds");
    }
    return value;
}

DelaycutCall ReadDelaycutLine(const Invocation& call) {
    DelaycutCall line;
    const std::vector<std::string>& arguments = call.Arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument.empty() || argument[0] != '-') {
            if (!line.Source.empty()) {
                throw Error("delaycut: two source files, \"" + line.Source + "\" and \"" + argument +
                            "\"; it cuts one file a call");
            }
            line.Source = argument;
            continue;
        }
        const std::string option = platform::ToUpperAscii(argument);
        if (option != "-START" && option != "-END" && option != "-FIXCRC") {
            throw Error("delaycut: unknown switch \"" + argument + "\"; nothing is cut");
        }
        if (i + 1 >= arguments.size()) throw Error("delaycut: " + argument + " needs a value");
        const std::string& value = arguments[++i];
        if (option == "-FIXCRC") {
            if (!platform::EqualsIgnoreCase(value, "silence")) {
                throw Error("delaycut: \"" + argument + " " + value + "\" is not done here; only -fixcrc silence is");
            }
            line.FixCrc = true;
        } else {
            (option == "-START" ? line.StartMs : line.EndMs) = Milliseconds(value, argument);
        }
    }
    if (line.Source.empty()) {
        throw Error("delaycut: expected the AC3 file to cut, as delaycut -start 66 \"SOURCE.ac3\"");
    }
    return line;
}

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

long SampleRateOf(const Ac3Frame& frame) { return kSampleRates[frame.Fscod < 3 ? frame.Fscod : 0]; }

// "48000 Hz, 192 kbit/s, 3/2+LFE, 768-byte frames".
std::string FormatOf(const Ac3Frame& frame) {
    return std::to_string(SampleRateOf(frame)) + " Hz, " + std::to_string(Ac3BitrateOfCode(frame.Frmsizecod)) +
           " kbit/s, " + kLayouts[frame.Acmod & 7] + (frame.Lfe ? "+LFE" : "") + ", " + std::to_string(frame.Size) +
           "-byte frames";
}

// Whether two frames share rate, bitrate and channels (44.1 kHz frames of
// one bitrate differ in size by a padding word).
bool SameStream(const Ac3Frame& a, const Ac3Frame& b) {
    return a.Fscod == b.Fscod && a.Frmsizecod / 2 == b.Frmsizecod / 2 && a.Acmod == b.Acmod && a.Lfe == b.Lfe;
}

bool PassesCrcs(const Ac3Frame& frame) { return frame.Crc1Ok && frame.Crc2Ok; }

// The whole frames that `ms` milliseconds come nearest to.
std::size_t FrameCount(long ms, long sampleRate) {
    const double frameMs = 1536.0 * 1000.0 / static_cast<double>(sampleRate);
    return static_cast<std::size_t>(std::lround(std::fabs(static_cast<double>(ms)) / frameMs));
}

// One silent frame of the model frame's format, made by ffmpeg.
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

// The bytes of the source's frames, asked for in file order.
class FrameSource {
public:
    FrameSource(const Invocation& call, const std::string& path)
        : reader_(platform::OpenFileReader(call.Paths, path)), path_(path) {}

    std::span<const std::uint8_t> Frame(const Ac3Frame& frame) {
        if (frame.Offset < position_) throw Error("delaycut: the frames of \"" + path_ + "\" are out of order");
        while (position_ < frame.Offset) {
            bytes_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(frame.Offset - position_, 1 << 16)));
            Take(bytes_.size(), frame);
        }
        bytes_.resize(frame.Size);
        Take(frame.Size, frame);
        return bytes_;
    }

private:
    void Take(std::size_t count, const Ac3Frame& frame) {
        const std::size_t got = reader_->Read({bytes_.data(), count});
        position_ += got;
        if (got < count) {
            throw Error("\"" + path_ + "\" ends at byte " + std::to_string(position_) +
                        ", before the end of its frame at byte " + std::to_string(frame.Offset) +
                        "; it changed while it was cut");
        }
    }

    std::unique_ptr<platform::ByteReader> reader_;
    std::string path_;
    std::vector<std::uint8_t> bytes_;
    std::uint64_t position_ = 0;
};

// Cuts the source into its "_fixed.ac3" file; returns that file's path.
std::string Cut(const Invocation& call, const DelaycutCall& line) {
    const platform::FileSystem files(call.Paths);
    const std::string output = platform::WithoutExtension(line.Source) + "_fixed.ac3";
    files.DeleteFile(output);
    if (!files.FileExists(line.Source)) throw Error("there is no AC3 file \"" + line.Source + "\"");
    const Ac3FrameList source = [&] {
        const std::unique_ptr<platform::ByteReader> reader = platform::OpenFileReader(call.Paths, line.Source);
        return ReadAc3Frames(*reader);
    }();
    const std::vector<Ac3Frame>& frames = source.Frames;
    if (frames.empty()) {
        throw Error("\"" + line.Source + "\" holds no AC3 frame" +
                    (source.Stream.Faults.empty() ? std::string()
                                                  : " (byte " + std::to_string(source.Stream.Faults.front().Offset) +
                                                        ": " + source.Stream.Faults.front().What + ")"));
    }
    const Ac3Frame& model = frames.front();
    for (const Ac3Frame& frame : frames) {
        if (!SameStream(frame, model)) {
            throw Error("\"" + line.Source + "\" changes at byte " + std::to_string(frame.Offset) + " from " +
                        FormatOf(model) + " to " + FormatOf(frame) + "; delaycut cuts a stream of one format");
        }
    }

    const long rate = SampleRateOf(model);
    const std::size_t start = FrameCount(line.StartMs, rate);
    const std::size_t end = FrameCount(line.EndMs, rate);
    const std::size_t dropFirst = line.StartMs > 0 ? std::min(start, frames.size()) : 0;
    const std::size_t dropLast = line.EndMs > 0 ? std::min(end, frames.size() - dropFirst) : 0;
    const std::size_t leading = line.StartMs < 0 ? start : 0;
    const std::size_t trailing = line.EndMs < 0 ? end : 0;
    const std::span<const Ac3Frame> kept(frames.data() + dropFirst, frames.size() - dropFirst - dropLast);
    std::size_t replaced = 0;
    for (const Ac3Frame& frame : kept) replaced += line.FixCrc && !PassesCrcs(frame) ? 1 : 0;
    if (kept.empty() && leading + trailing == 0) {
        throw Error("-start " + std::to_string(line.StartMs) + " and -end " + std::to_string(line.EndMs) +
                    " drop all " + std::to_string(frames.size()) + " frames of \"" + line.Source +
                    "\"; nothing would remain");
    }
    const std::vector<std::uint8_t> silent =
        leading + trailing + replaced > 0 ? SilentFrame(call, line.Source, model) : std::vector<std::uint8_t>();

    const std::string partial = output + ".partial";
    try {
        const std::unique_ptr<platform::ByteWriter> writer =
            platform::OpenFileWriter(call.Paths, partial, platform::WriteMode::Replace);
        for (std::size_t i = 0; i < leading; ++i) writer->Write(silent);
        FrameSource bytes(call, line.Source);
        for (const Ac3Frame& frame : kept) {
            const std::span<const std::uint8_t> read = bytes.Frame(frame);
            writer->Write(line.FixCrc && !PassesCrcs(frame) ? std::span<const std::uint8_t>(silent) : read);
        }
        for (std::size_t i = 0; i < trailing; ++i) writer->Write(silent);
        writer->Close();
    } catch (const Error&) {
        files.DeleteFile(partial);
        throw;
    }
    files.MoveFile(partial, output);
    std::cout << call.Tool << ": \"" << line.Source << "\" into \"" << output << "\": " << frames.size()
              << " frames read, " << dropFirst + dropLast << " dropped, " << leading + trailing
              << " silent ones inserted, " << replaced << " failing a CRC replaced by silence\n";
    return output;
}

}  // namespace

int RunDelaycut(const Invocation& call) {
    const DelaycutCall line = ReadDelaycutLine(call);
    return RunItems(
        call, 1, [&](std::size_t) { return Cut(call, line); }, [&](std::size_t) { return "\"" + line.Source + "\""; });
}

}  // namespace kestrova::standin
