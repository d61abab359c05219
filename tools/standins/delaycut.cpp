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

#include "ac3_frames.h"
#include "assets/audio_stream.h"
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

// The whole frames that `ms` milliseconds come nearest to.
std::size_t FrameCount(long ms, long sampleRate) {
    const double frameMs = 1536.0 * 1000.0 / static_cast<double>(sampleRate);
    return static_cast<std::size_t>(std::lround(std::fabs(static_cast<double>(ms)) / frameMs));
}

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
        Ac3FileBytes bytes(call, line.Source);
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
