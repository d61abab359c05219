// The mux of a small Muxman script: see small_script_mux.h.
#include "authoring/small_script_mux.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <optional>
#include <set>

#include "assets/audio_stream.h"
#include "assets/program_stream.h"
#include "assets/video_stream.h"
#include "platform/command_line.h"
#include "platform/stream_files.h"
#include "platform/text.h"

namespace kestrova {
namespace {

using platform::EqualsIgnoreCase;

// Lengths are counted in ticks of 180 kHz, in which a PAL frame (7200), an
// NTSC frame (6006), a field of either and an AC3 frame of 1536 samples at
// 48 kHz (5760) are all whole numbers. A NAV pack's times are 90 kHz.
constexpr std::int64_t kAc3FrameTicks = 5760;
constexpr std::int64_t kTicksPerPtm = 2;
constexpr std::int64_t kTicksPerSecond = 180000;

struct VideoStandard {
    const char* Name;        // as the script writes it
    const char* Format;      // dvdauthor's word
    int Labels;              // frame labels a second of a scene time
    std::int64_t FrameTicks;
    std::uint32_t RateNumerator, RateDenominator;
    int StillFrames;         // how long a still play with "Duration=Default" is held
};

constexpr VideoStandard kPal{"PAL", "pal", 25, 7200, 25, 1, 12};
constexpr VideoStandard kNtsc{"NTSC", "ntsc", 30, 6006, 30000, 1001, 15};

// The last bytes of an MPEG-2 stream that close it.
constexpr std::array<std::uint8_t, 4> kSequenceEnd{0x00, 0x00, 0x01, 0xB7};

// The files an earlier result left in the destination.
constexpr const char* kResultFiles[] = {"VIDEO_TS.IFO", "VIDEO_TS.BUP", "VIDEO_TS.VOB",
                                        "VTS_01_0.IFO", "VTS_01_0.BUP", "VTS_01_1.VOB"};

// The frames of a time "HH:MM:SS:FF" (";" accepted before the frames) at
// `labels` frame labels a second; nothing for another text.
std::optional<std::int64_t> TimeFrames(const std::string& text, int labels) {
    std::array<std::int64_t, 4> fields{};
    std::size_t at = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        std::size_t digits = 0;
        while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) && digits < 4) {
            fields[i] = fields[i] * 10 + (text[at] - '0');
            ++at;
            ++digits;
        }
        if (digits == 0) return std::nullopt;
        if (i + 1 < fields.size()) {
            if (at >= text.size() || (text[at] != ':' && !(i == 2 && text[at] == ';'))) return std::nullopt;
            ++at;
        }
    }
    if (at != text.size() || fields[1] >= 60 || fields[2] >= 60 || fields[3] >= labels) return std::nullopt;
    return ((fields[0] * 60 + fields[1]) * 60 + fields[2]) * labels + fields[3];
}

// "HH:MM:SS:FF" of a frame count.
std::string TimeText(std::int64_t frames, int labels) {
    const std::int64_t seconds = frames / labels;
    char text[40];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                  static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60),
                  static_cast<long long>(frames % labels));
    return text;
}

// Seconds with six decimals, as dvdauthor reads a cell's times.
std::string SecondsText(std::int64_t ticks) {
    char text[40];
    std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(ticks / kTicksPerSecond),
                  static_cast<long long>((ticks % kTicksPerSecond) * 1000000 / kTicksPerSecond));
    return text;
}

std::string XmlText(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

// A file's name without its folder and extension, in upper case.
std::string Stem(const std::string& path) {
    std::string name = platform::FileNameOf(path);
    if (const auto dot = name.rfind('.'); dot != std::string::npos) name.erase(dot);
    return platform::ToUpperAscii(name);
}

// The folder the mux works in, inside the destination; removed with what
// it holds however the mux ends.
class WorkFolder {
public:
    WorkFolder(const platform::FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {
        files_.DeleteTree(path_);
        files_.MakeFolder(path_);
    }
    ~WorkFolder() {
        try {
            files_.DeleteTree(path_);
        } catch (const Error&) {
            // A folder that cannot be removed is left; the result stands beside it.
        }
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::string File(const std::string& name) const { return path_ + "\\" + name; }

private:
    const platform::FileSystem& files_;
    std::string path_;
};

struct MuxRun {
    const ScriptModel& Model;
    const ScriptTrack& Segment;
    const platform::FileSystem& Files;
    platform::ProcessRunner& Runner;
    const WorkFolder& Work;
    const VideoStandard& Standard;
    SmallScriptMux Result;

    std::string Host(const std::string& path) const { return Files.ToHost(path); }
};

// One video play as it goes into the VOB.
struct VideoPiece {
    ScriptPlace Place;
    std::string Stem;     // of the play's file
    std::string Stream;   // the MPEG-2 stream that goes into the VOB (the play's file, or its still held)
    std::int64_t Ticks = 0;
    std::int32_t Width = 0, Height = 0;
    bool Wide = false;  // 16:9
};

std::vector<std::string> FfmpegHead() {
    return {kFfmpegProgram, "-nostdin", "-hide_banner", "-loglevel", "error", "-y"};
}

// Runs a program line; a run that fails or leaves no `output` (or an empty
// one) is a MuxError at `place` saying what the run was to do.
void RunTool(MuxRun& run, const std::vector<std::string>& tokens, const std::string& output, ScriptPlace place,
             const std::string& what) {
    run.Runner.ShellAndWait(platform::JoinCommandLine(tokens), 0);
    const int status = run.Runner.History().empty() ? -1 : run.Runner.History().back().ExitCode;
    if (status != 0 || !run.Files.FileExists(output) || run.Files.FileSize(output) == 0) {
        std::string program = tokens.front();
        if (program.size() > 4) program.resize(program.size() - 4);  // less ".exe"
        throw MuxError(place, program + " could not " + what + " (exit status " + std::to_string(status) + ")");
    }
}

// Holds the first picture of a still play for `frames` frames, as an
// MPEG-2 stream of the same size and aspect. The play's file is read as an
// elementary stream: the few bytes of a still are too few for ffmpeg to
// tell its format, and it may take them for another.
void HoldStill(MuxRun& run, const ScriptPlay& play, const VideoStream& still, std::int64_t frames,
               const std::string& output) {
    const std::string rate =
        std::to_string(run.Standard.RateNumerator) + "/" + std::to_string(run.Standard.RateDenominator);
    std::vector<std::string> command = FfmpegHead();
    command.insert(command.end(),
                   {"-f", "mpegvideo", "-i", run.Host(play.File), "-an", "-vf",
                    "trim=end_frame=1,tpad=stop_mode=clone:stop=" + std::to_string(frames - 1), "-frames:v",
                    std::to_string(frames), "-r", rate, "-c:v", "mpeg2video", "-pix_fmt", "yuv420p", "-b:v", "8000k",
                    "-maxrate", "9000k", "-bufsize", "1835008", "-g", std::to_string(run.Standard.StillFrames),
                    "-bf", "0", "-aspect", still.Sequence.AspectRatioCode == 3 ? "16:9" : "4:3", "-f", "mpeg2video",
                    run.Host(output)});
    RunTool(run, command, output, play.Place, "hold the still \"" + play.File + "\"");
}

std::vector<VideoPiece> MakeVideoPieces(MuxRun& run) {
    const ScriptTrack& segment = run.Segment;
    const VideoStandard& standard = run.Standard;
    if (segment.VideoPlays.empty()) throw MuxError(segment.Place, "The segment \"" + segment.Name + "\" has no video play");
    std::vector<VideoPiece> pieces;
    for (const ScriptPlay& play : segment.VideoPlays) {
        const std::string& file = play.File;
        if (file.empty()) throw MuxError(play.Place, "The video play names no file");
        if (!run.Files.FileExists(file)) throw MuxError(play.Place, "The video play's file \"" + file + "\" does not exist");
        VideoStream stream;
        try {
            stream = ScanVideoStreamFile(run.Host(file));
        } catch (const Error& fault) {
            throw MuxError(play.Place, fault.what());
        }
        const FrameRate rate = SequenceFrameRate(stream.Sequence);
        if (!stream.Sequence.Mpeg2 || rate.Numerator * standard.RateDenominator != rate.Denominator * standard.RateNumerator) {
            throw MuxError(play.Place, "The video play's file \"" + file + "\" is " +
                                           (stream.Sequence.Mpeg2 ? "MPEG-2" : "MPEG-1") + " at " +
                                           std::to_string(rate.Numerator) + "/" + std::to_string(rate.Denominator) +
                                           " frames a second; a " + standard.Name + " segment holds MPEG-2 at " +
                                           std::to_string(standard.RateNumerator) + "/" +
                                           std::to_string(standard.RateDenominator));
        }
        VideoPiece piece{play.Place, Stem(file), file, 0, stream.Sequence.Width, stream.Sequence.Height,
                         stream.Sequence.AspectRatioCode == 3};
        if (!pieces.empty() && (piece.Width != pieces.front().Width || piece.Height != pieces.front().Height)) {
            throw MuxError(play.Place, "The video play's file \"" + file + "\" is " + std::to_string(piece.Width) + "x" +
                                           std::to_string(piece.Height) + ", the segment's first play " +
                                           std::to_string(pieces.front().Width) + "x" +
                                           std::to_string(pieces.front().Height) + "; one VOB has one picture size");
        }
        // A frame shows two fields, three with repeat_first_field.
        const std::int64_t fields = 2 * stream.Counts.Frames + stream.Counts.RepeatFirstFieldFrames;
        const std::int64_t movingTicks = fields * standard.FrameTicks / 2;

        std::int64_t hold = 0;  // frames a still is held; 0 copies the stream
        if (EqualsIgnoreCase(play.Duration, "Actual")) {
            hold = 0;
        } else if (EqualsIgnoreCase(play.Duration, "Default")) {
            hold = standard.StillFrames;
        } else if (const auto frames = TimeFrames(play.Duration, standard.Labels); frames && *frames > 0) {
            if (stream.Counts.Frames == 1) {
                hold = *frames;
            } else if (*frames * standard.FrameTicks != movingTicks) {
                run.Result.Messages.push_back(
                    {Severity::Warning, play.Place,
                     "The video play \"" + file + "\" runs " + TimeText(movingTicks / standard.FrameTicks, standard.Labels) +
                         ", not the Duration " + play.Duration + "; it is muxed whole"});
            }
        } else {
            throw MuxError(play.Place, "The video play's Duration \"" + play.Duration +
                                           "\" is neither Actual, Default nor a time HH:MM:SS:FF above 0");
        }
        if (hold > 0) {
            piece.Stream = run.Work.File("video" + std::to_string(pieces.size() + 1) + ".m2v");
            HoldStill(run, play, stream, hold, piece.Stream);
            piece.Ticks = hold * standard.FrameTicks;
        } else {
            piece.Ticks = movingTicks;
        }
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

// Copies a stream to a writer; its sequence end code, if it closes it, is
// left out. Returns nothing; the caller closes the joined stream.
void AppendWithoutSequenceEnd(const platform::PathSpace& paths, const std::string& path, platform::ByteWriter& out) {
    const auto in = platform::OpenFileReader(paths, path);
    std::vector<std::uint8_t> buffer(1 << 20);
    std::vector<std::uint8_t> held;  // the last bytes read, not yet written
    while (const std::size_t count = in->Read(buffer)) {
        held.insert(held.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
        if (held.size() > kSequenceEnd.size()) {
            const std::size_t keep = kSequenceEnd.size();
            out.Write(std::span<const std::uint8_t>(held.data(), held.size() - keep));
            held.erase(held.begin(), held.end() - static_cast<std::ptrdiff_t>(keep));
        }
    }
    if (!std::equal(held.begin(), held.end(), kSequenceEnd.begin(), kSequenceEnd.end())) out.Write(held);
}

// The video plays joined into one MPEG-2 stream with one sequence end code.
std::string JoinVideo(MuxRun& run, const std::vector<VideoPiece>& pieces) {
    const std::string joined = run.Work.File("video.m2v");
    const auto out = platform::OpenFileWriter(run.Files.Paths(), joined, platform::WriteMode::Replace);
    for (const VideoPiece& piece : pieces) AppendWithoutSequenceEnd(run.Files.Paths(), piece.Stream, *out);
    out->Write(kSequenceEnd);
    out->Close();
    return joined;
}

// ffmpeg's channel layout of an AC3 coding mode (acmod) with or without
// the LFE channel. Dual mono (acmod 0) is made as stereo. The channels
// stand in ffmpeg's own order, LFE behind the front ones: a layout in
// another order is a custom one, which its resampler refuses.
std::string Ac3Layout(const Ac3Frame& frame) {
    static const char* const kFront[] = {"FL+FR", "FC", "FL+FR", "FL+FR+FC", "FL+FR", "FL+FR+FC", "FL+FR", "FL+FR+FC"};
    static const char* const kRear[] = {"", "", "", "", "+BC", "+BC", "+SL+SR", "+SL+SR"};
    return std::string(kFront[frame.Acmod & 7]) + (frame.Lfe ? "+LFE" : "") + kRear[frame.Acmod & 7];
}

// The bit rate in kbit/s of an AC3 frame size code.
int Ac3Kbps(const Ac3Frame& frame) {
    static const int kRates[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 448, 512, 576, 640};
    const std::size_t index = frame.Frmsizecod / 2u;
    return index < std::size(kRates) ? kRates[index] : 192;
}

// One AC3 play as its stream takes it: a file of AC3 frames at 48 kHz.
struct AudioPiece {
    const ScriptPlay* Play = nullptr;
    std::string Ac3;
    std::vector<Ac3Frame> Frames;
};

// The play's file as AC3 at 48 kHz: the file itself, or ffmpeg's encoding
// of it for another format or rate.
AudioPiece ReadAudioPlay(MuxRun& run, const ScriptPlay& play, int stream, std::size_t index) {
    if (play.File.empty()) throw MuxError(play.Place, "The audio play names no file");
    if (!run.Files.FileExists(play.File)) throw MuxError(play.Place, "The audio play's file \"" + play.File + "\" does not exist");
    AudioPiece piece{&play, play.File, {}};
    try {
        const AudioStream facts = ScanAudioFile(run.Host(play.File));
        if (facts.Format != AudioFormat::Ac3 || facts.SampleRate != 48000) {
            piece.Ac3 = run.Work.File("audio" + std::to_string(stream) + "_" + std::to_string(index) + ".ac3");
            std::vector<std::string> command = FfmpegHead();
            command.insert(command.end(), {"-i", run.Host(play.File), "-vn", "-c:a", "ac3", "-ar", "48000", "-b:a",
                                           facts.Channels > 2 ? "448k" : "192k", "-f", "ac3", run.Host(piece.Ac3)});
            RunTool(run, command, piece.Ac3, play.Place, "encode \"" + play.File + "\" as AC3");
        }
        piece.Frames = ReadAc3Frames(run.Host(piece.Ac3)).Frames;
    } catch (const MuxError&) {
        throw;
    } catch (const Error& fault) {
        throw MuxError(play.Place, fault.what());
    }
    if (piece.Frames.empty()) throw MuxError(play.Place, "The audio play's file \"" + play.File + "\" holds no AC3 frame");
    return piece;
}

// Which video piece each play of an audio stream goes with: the piece whose
// file has the play's name less the stream number in front ("1-001_002"
// goes with "001_002"), else, when the counts agree, the piece in the same
// place. Returns, per piece, the index of its play or -1.
std::vector<int> PairAudioPlays(const ScriptStream& stream, const std::vector<VideoPiece>& pieces) {
    std::vector<int> playOf(pieces.size(), -1);
    bool allNamed = true;
    for (std::size_t p = 0; p < stream.Plays.size() && allNamed; ++p) {
        std::string name = Stem(stream.Plays[p].File);
        if (const auto dash = name.find('-'); dash != std::string::npos) name.erase(0, dash + 1);
        const auto found = std::find_if(pieces.begin(), pieces.end(), [&name](const VideoPiece& piece) { return piece.Stem == name; });
        const std::size_t at = static_cast<std::size_t>(found - pieces.begin());
        if (found == pieces.end() || playOf[at] >= 0) {
            allNamed = false;
        } else {
            playOf[at] = static_cast<int>(p);
        }
    }
    if (allNamed) return playOf;
    if (stream.Plays.size() != pieces.size()) {
        throw MuxError(stream.Place, "The audio plays of stream " + std::to_string(stream.StreamNumber) +
                                         " cannot be matched with the " + std::to_string(pieces.size()) +
                                         " video plays: their files are not named after the video files, and there are " +
                                         std::to_string(stream.Plays.size()) + " of them");
    }
    for (std::size_t p = 0; p < pieces.size(); ++p) playOf[p] = static_cast<int>(p);
    return playOf;
}

// Copies the first `count` frames of an AC3 file to the writer.
void CopyFrames(const platform::PathSpace& paths, const AudioPiece& piece, std::size_t count, platform::ByteWriter& out) {
    const auto in = platform::OpenFileReader(paths, piece.Ac3);
    std::vector<std::uint8_t> buffer;
    std::uint64_t position = 0;
    for (std::size_t f = 0; f < count; ++f) {
        const Ac3Frame& frame = piece.Frames[f];
        buffer.resize(static_cast<std::size_t>(frame.Offset - position) + frame.Size);
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            const std::size_t read = in->Read(std::span<std::uint8_t>(buffer.data() + filled, buffer.size() - filled));
            if (read == 0) throw Error("The AC3 file \"" + piece.Ac3 + "\" ends inside its frame at byte " + std::to_string(frame.Offset));
            filled += read;
        }
        out.Write(std::span<const std::uint8_t>(buffer.data() + (frame.Offset - position), frame.Size));
        position = frame.Offset + frame.Size;
    }
}

// One silent AC3 frame in the format of `model`: the middle frame of a
// short silence ffmpeg encodes.
std::vector<std::uint8_t> SilentFrame(MuxRun& run, const Ac3Frame& model, ScriptPlace place, int stream) {
    const std::string path = run.Work.File("silence" + std::to_string(stream) + ".ac3");
    std::vector<std::string> command = FfmpegHead();
    command.insert(command.end(), {"-f", "lavfi", "-i", "anullsrc=r=48000:cl=" + Ac3Layout(model), "-t", "0.2",
                                   "-c:a", "ac3", "-b:a", std::to_string(Ac3Kbps(model)) + "k", "-f", "ac3",
                                   run.Host(path)});
    RunTool(run, command, path, place, "make a silent AC3 frame for audio stream " + std::to_string(stream));
    const std::vector<Ac3Frame> frames = ReadAc3Frames(run.Host(path)).Frames;
    if (frames.empty()) throw MuxError(place, "ffmpeg's silence for audio stream " + std::to_string(stream) + " holds no AC3 frame");
    const Ac3Frame& middle = frames[frames.size() / 2];
    const std::vector<std::uint8_t> bytes = run.Files.ReadBytes(path);
    return {bytes.begin() + static_cast<std::ptrdiff_t>(middle.Offset),
            bytes.begin() + static_cast<std::ptrdiff_t>(middle.Offset + middle.Size)};
}

// One audio stream as one AC3 stream: under each video piece the frames of
// its play, cut where the piece ends and padded with silence where the
// play ends first or there is none. The frame counts follow the pieces'
// ends as they add up, so the audio never drifts from the video by half a
// frame or more.
std::string JoinAudioStream(MuxRun& run, const ScriptStream& stream, int ordinal, const std::vector<VideoPiece>& pieces) {
    const std::vector<int> playOf = PairAudioPlays(stream, pieces);
    std::vector<std::optional<AudioPiece>> audio(pieces.size());
    for (std::size_t p = 0; p < pieces.size(); ++p) {
        if (playOf[p] >= 0) audio[p] = ReadAudioPlay(run, stream.Plays[static_cast<std::size_t>(playOf[p])], ordinal, p + 1);
    }
    const auto model = std::find_if(audio.begin(), audio.end(), [](const auto& piece) { return piece.has_value(); });
    const Ac3Frame format = (*model)->Frames.front();
    std::vector<std::uint8_t> silence;

    const std::string joined = run.Work.File("audio" + std::to_string(ordinal) + ".ac3");
    const auto out = platform::OpenFileWriter(run.Files.Paths(), joined, platform::WriteMode::Replace);
    std::int64_t end = 0, written = 0;
    for (std::size_t p = 0; p < pieces.size(); ++p) {
        end += pieces[p].Ticks;
        const std::int64_t wanted = (end + kAc3FrameTicks / 2) / kAc3FrameTicks - written;
        if (wanted <= 0) continue;
        std::size_t copied = 0;
        if (audio[p]) {
            copied = std::min(static_cast<std::size_t>(wanted), audio[p]->Frames.size());
            CopyFrames(run.Files.Paths(), *audio[p], copied, *out);
        }
        if (static_cast<std::int64_t>(copied) < wanted && silence.empty()) {
            silence = SilentFrame(run, format, stream.Place, ordinal);
        }
        for (std::int64_t f = static_cast<std::int64_t>(copied); f < wanted; ++f) out->Write(silence);
        written += wanted;
    }
    out->Close();
    return joined;
}

// A scene of the segment with its start.
struct SceneStart {
    const ScriptScene* Scene = nullptr;
    std::int64_t Frames = 0;
};

std::vector<SceneStart> ReadScenes(const MuxRun& run, std::int64_t videoTicks) {
    const VideoStandard& standard = run.Standard;
    std::vector<SceneStart> scenes;
    if (run.Segment.Scenes.empty()) throw MuxError(run.Segment.Place, "The segment \"" + run.Segment.Name + "\" has no scene");
    for (const ScriptScene& scene : run.Segment.Scenes) {
        const auto frames = TimeFrames(scene.SceneTime, standard.Labels);
        if (!frames) {
            throw MuxError(scene.Place, "The Scene Time \"" + scene.SceneTime + "\" of \"" + scene.Name +
                                            "\" is no time HH:MM:SS:FF at " + std::to_string(standard.Labels) +
                                            " frames a second");
        }
        if (scenes.empty() && *frames != 0) {
            throw MuxError(scene.Place, "The first scene \"" + scene.Name + "\" starts at " + scene.SceneTime +
                                            "; the first scene of a segment starts at 00:00:00:00");
        }
        if (!scenes.empty() && *frames <= scenes.back().Frames) {
            throw MuxError(scene.Place, "The scene \"" + scene.Name + "\" starts at " + scene.SceneTime +
                                            ", not after the scene before it");
        }
        if (*frames * standard.FrameTicks >= videoTicks) {
            throw MuxError(scene.Place, "The scene \"" + scene.Name + "\" starts at " + scene.SceneTime +
                                            ", past the end of the segment's video at " +
                                            TimeText(videoTicks / standard.FrameTicks, standard.Labels));
        }
        scenes.push_back({&scene, *frames});
    }
    return scenes;
}

// The program stream of the segment: the joined video and audio streams
// multiplexed by mplex in its DVD form, which starts a VOBU, with a NAV pack
// for dvdauthor to fill, at every group of pictures, so a scene can start
// at any group's start. (ffmpeg's DVD muxer starts one no sooner than
// 0.4 s after the last, and a scene on a group between them was cut late.)
std::string MultiplexSegment(MuxRun& run, const std::string& video, const std::vector<std::string>& audio) {
    const std::string vob = run.Work.File("segment.vob");
    std::vector<std::string> command = {kMplexProgram, "-v", "0", "-f", "8", "-o", run.Host(vob), run.Host(video)};
    for (const std::string& stream : audio) command.push_back(run.Host(stream));
    RunTool(run, command, vob, run.Segment.Place, "multiplex the segment \"" + run.Segment.Name + "\"");
    return vob;
}

// dvdauthor's project: the VOB as the one title of title set 1, one cell
// (and chapter) per scene, and an empty VMG, which needs a video format.
std::string AuthoringXml(const MuxRun& run, const std::string& vob, const std::vector<SceneStart>& scenes, bool wide) {
    const VideoStandard& standard = run.Standard;
    std::string video = std::string("<video format=\"") + standard.Format + "\" aspect=\"" + (wide ? "16:9" : "4:3") + "\"";
    if (wide && EqualsIgnoreCase(run.Segment.DisplayMode, "Only Letterbox")) video += " widescreen=\"nopanscan\"";
    if (wide && EqualsIgnoreCase(run.Segment.DisplayMode, "Only Panscan")) video += " widescreen=\"noletterbox\"";
    video += "/>";
    std::string xml = "<dvdauthor>\n";
    xml += std::string("  <vmgm><menus><video format=\"") + standard.Format + "\"/></menus></vmgm>\n";
    xml += "  <titleset>\n    <titles>\n      " + video + "\n      <pgc>\n";
    xml += "        <vob file=\"" + XmlText(run.Host(vob)) + "\">\n";
    for (std::size_t s = 0; s < scenes.size(); ++s) {
        xml += "          <cell start=\"" + SecondsText(scenes[s].Frames * standard.FrameTicks) + "\"";
        if (s + 1 < scenes.size()) xml += " end=\"" + SecondsText(scenes[s + 1].Frames * standard.FrameTicks) + "\"";
        xml += " chapter=\"1\"/>\n";
    }
    xml += "        </vob>\n      </pgc>\n    </titles>\n  </titleset>\n</dvdauthor>\n";
    return xml;
}

// Reads the authored VOB back: one VOB id, cells 1 to n in scene order. A
// cell that starts elsewhere than its scene (dvdauthor moves a cut to a
// VOBU start without a word) is a warning naming the scene and the time.
void CheckAuthoredVob(MuxRun& run, const std::string& vob, const std::vector<SceneStart>& scenes) {
    const VideoStandard& standard = run.Standard;
    const auto input = platform::OpenFileReader(run.Files.Paths(), vob);
    ProgramStreamReader reader(*input);
    std::set<std::uint16_t> vobIds;
    std::vector<std::pair<std::uint8_t, std::uint32_t>> cells;  // cell id, first VOBU start
    std::optional<std::uint32_t> first;
    try {
        while (const Pack* pack = reader.Next()) {
            if (!pack->NavFault.empty()) throw Error(pack->NavFault);
            if (!pack->HasNav) continue;
            vobIds.insert(pack->Nav.VobId);
            if (!first) first = pack->Nav.VobuStartPtm;
            if (cells.empty() || cells.back().first != pack->Nav.CellId) cells.emplace_back(pack->Nav.CellId, pack->Nav.VobuStartPtm);
        }
    } catch (const Error& fault) {
        throw MuxError(run.Segment.Place, std::string("The authored VOB cannot be read back: ") + fault.what());
    }
    if (vobIds.size() != 1) {
        throw MuxError(run.Segment.Place, "The authored VOB holds " + std::to_string(vobIds.size()) +
                                              " VOB ids; the segment is one");
    }
    if (cells.size() != scenes.size()) {
        throw MuxError(run.Segment.Place, "The authored VOB holds " + std::to_string(cells.size()) + " cells for the " +
                                              std::to_string(scenes.size()) +
                                              " scenes: scenes closer than a VOBU fell on one cut");
    }
    for (std::size_t c = 0; c < cells.size(); ++c) {
        if (cells[c].first != c + 1) {
            throw MuxError(run.Segment.Place, "The authored VOB's cell " + std::to_string(c + 1) + " has the cell id " +
                                                  std::to_string(cells[c].first));
        }
        const std::int64_t ticks = (static_cast<std::int64_t>(cells[c].second) - *first) * kTicksPerPtm;
        const std::int64_t frames = (ticks + standard.FrameTicks / 2) / standard.FrameTicks;
        if (frames != scenes[c].Frames) {
            const ScriptScene& scene = *scenes[c].Scene;
            run.Result.Messages.push_back(
                {Severity::Warning, scene.Place,
                 "The scene \"" + scene.Name + "\" at " + TimeText(scenes[c].Frames, standard.Labels) +
                     " is no VOBU start: its cell starts at " + TimeText(frames, standard.Labels)});
        }
    }
    run.Result.Cells = static_cast<int>(cells.size());
}

// One note per play this version leaves out.
void NoteLeftOut(MuxRun& run) {
    for (const ScriptStream& stream : run.Segment.SubpictureStreams) {
        for (const ScriptPlay& play : stream.Plays) {
            run.Result.Messages.push_back(
                {Severity::Note, play.Place, "The sub-picture play \"" + play.File + "\" is not muxed in this version"});
        }
    }
    for (const ScriptHighlight& highlight : run.Segment.Highlights) {
        run.Result.Messages.push_back(
            {Severity::Note, highlight.Play.Place,
             "The highlight play of " + std::to_string(highlight.Buttons.size()) + " buttons is not muxed in this version"});
    }
}

const ScriptTrack& TheSegment(const ScriptModel& model) {
    const ScriptTrack* found = nullptr;
    for (const ScriptTrackFolder& folder : model.TrackFolders) {
        for (const ScriptTrack& track : folder.Tracks) {
            if (found != nullptr) {
                throw MuxError(track.Place, "The segment \"" + track.Name + "\" is a second one; a small script holds one");
            }
            found = &track;
        }
    }
    if (found == nullptr) {
        const ScriptPlace place = model.TrackFolders.empty() ? ScriptPlace{} : model.TrackFolders.front().Place;
        throw MuxError(place, "The script holds no segment");
    }
    return *found;
}

SmallScriptMux MuxSegment(const ScriptModel& model, const ScriptTrack& segment, const VideoStandard& standard,
                          const std::string& destination, const platform::FileSystem& files,
                          platform::ProcessRunner& runner) {
    const WorkFolder work(files, destination + "\\kestrova-author.work");
    MuxRun run{model, segment, files, runner, work, standard, {}};
    run.Result.Segment = segment.Name;
    run.Result.VideoManager = std::none_of(model.Scenario.Domains.begin(), model.Scenario.Domains.end(),
                                           [](const ScriptDomain& domain) { return domain.Kind == ScriptDomainKind::TitleSet; });

    const std::vector<VideoPiece> pieces = MakeVideoPieces(run);
    std::int64_t videoTicks = 0;
    for (const VideoPiece& piece : pieces) videoTicks += piece.Ticks;
    const std::vector<SceneStart> scenes = ReadScenes(run, videoTicks);
    const std::string video = JoinVideo(run, pieces);

    std::vector<std::string> audio;
    for (const ScriptStream& stream : segment.AudioStreams) {
        if (stream.Plays.empty()) {
            run.Result.Messages.push_back({Severity::Note, stream.Place,
                                           "The audio stream " + std::to_string(stream.StreamNumber) +
                                               " has no play; the VOB has no stream for it"});
            continue;
        }
        audio.push_back(JoinAudioStream(run, stream, static_cast<int>(audio.size()) + 1, pieces));
    }
    NoteLeftOut(run);

    const std::string vob = MultiplexSegment(run, video, audio);
    const std::string xml = work.File("segment.xml");
    files.WriteText(xml, AuthoringXml(run, vob, scenes, pieces.front().Wide));
    const std::string authored = work.File("dvd");
    const std::string videoTs = authored + "\\VIDEO_TS";
    RunTool(run, {kDvdauthorProgram, "-o", files.ToHost(authored), "-x", files.ToHost(xml)}, videoTs + "\\VTS_01_1.VOB",
            segment.Place, "author the segment \"" + segment.Name + "\"");
    for (const char* name : {"VIDEO_TS.IFO", "VTS_01_0.IFO"}) {
        if (!files.FileExists(videoTs + "\\" + name)) {
            throw MuxError(segment.Place, std::string("dvdauthor left no ") + name + " for the segment \"" + segment.Name + "\"");
        }
    }
    CheckAuthoredVob(run, videoTs + "\\VTS_01_1.VOB", scenes);

    // The result lands flat in the destination, the IFOs last: a VIDEO_TS.IFO
    // there means the VOB is whole.
    std::vector<std::string> names = files.List(videoTs, "*.*", platform::ListKind::Files);
    std::stable_partition(names.begin(), names.end(), [](const std::string& name) { return !EqualsIgnoreCase(name, "VIDEO_TS.IFO"); });
    for (const std::string& name : names) files.MoveFile(videoTs + "\\" + name, destination + "\\" + name);
    return std::move(run.Result);
}

}  // namespace

void RegisterMuxPrograms(platform::Launcher& launcher) {
    for (const auto& [program, name, package] : {std::array<const char*, 3>{kFfmpegProgram, "ffmpeg", "ffmpeg"},
                                                  std::array<const char*, 3>{kMplexProgram, "mplex", "mjpegtools"},
                                                  std::array<const char*, 3>{kDvdauthorProgram, "dvdauthor", "dvdauthor"}}) {
        const std::string host = platform::FindOnHostPath(name);
        if (host.empty()) {
            throw Error(std::string(name) + " is not installed (it is not on PATH); the authoring engine runs it: "
                                            "apt-get install " + package);
        }
        launcher.AddOverride(program, platform::ToolOverride{{host}, "", false});
    }
}

SmallScriptMux MuxSmallScript(const ScriptModel& model, const std::string& destination,
                              const platform::FileSystem& files, platform::ProcessRunner& runner) {
    const ScriptTrack& segment = TheSegment(model);
    files.MakeFolder(destination);
    for (const char* name : kResultFiles) files.DeleteFile(destination + "\\" + name);

    const VideoStandard* standard = nullptr;
    if (EqualsIgnoreCase(segment.Standard, "PAL")) standard = &kPal;
    if (EqualsIgnoreCase(segment.Standard, "NTSC")) standard = &kNtsc;
    if (standard == nullptr) {
        throw MuxError(segment.Place, "The segment \"" + segment.Name + "\" gives the Standard \"" + segment.Standard +
                                          "\"; PAL or NTSC was expected");
    }
    try {
        return MuxSegment(model, segment, *standard, destination, files, runner);
    } catch (const MuxError&) {
        throw;
    } catch (const Error& fault) {
        // A file that cannot be read or written: the segment's fault to the user.
        throw MuxError(segment.Place, fault.what());
    }
}

std::string FormatMuxMessage(const ScriptModel& model, Severity level, ScriptPlace place, const std::string& text) {
    std::string out = place.File < model.Files.size() ? model.Files[place.File] : std::string("script");
    if (place.Line > 0) out += ":" + std::to_string(place.Line);
    out += ": ";
    out += SeverityName(level);
    return out + ": " + text;
}

}  // namespace kestrova
