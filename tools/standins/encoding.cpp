// The encoders' shared work: see encoding.h.
//
// The frame server gives the shape of a script's clip and the plan that
// makes it, not its pixels. So an item is encoded by ffmpeg in one run:
// the plan's source files are decoded, the plan's steps become ffmpeg
// filters, the item's frames are cut out (padded with the last frame if
// the decode runs short), and mpeg2video writes the elementary stream.
//
// How a request maps to ffmpeg:
//
//   Request                  ffmpeg
//   ------------------------ --------------------------------------------------
//   Constant                 -b:v R -minrate R -maxrate R -bufsize 1835008
//   OnePassQuality           -q:v Q -maxrate M -bufsize 1835008
//   OnePassAverage           -b:v R -maxrate M -bufsize 1835008
//   MultiPass                -b:v R -maxrate M -bufsize 1835008, -pass 1 then -pass 2
//   GopLength, BFrames       -g, -bf; scene cuts never start a group (-sc_threshold)
//   ClosedGops               -flags +cgop
//   Progressive false        -flags +ilme+ildct (field DCT and motion)
//   TopFieldFirst            -top 1 (else -top 0)
//   DcPrecision              -dc (none for the encoder's choice: 8 bits)
//   AlternateScan            -alternate_scan 1
//   Intra/NonIntraMatrix     -intra_matrix / -inter_matrix, 64 values in raster
//                            order; none: the MPEG default matrices
//   Aspect                   -aspect 4:3 or 16:9
//   Chapters                 -force_key_frames expr:eq(n,A)+eq(n,B)...
//   Height, Rate             scale=720:H at the end of the filters, -r
//
// The bitrates are kbit/s; 1835008 bits is the video buffer of DVD-Video.
//
//   Script step              ffmpeg filter
//   ------------------------ --------------------------------------------------
//   source, no field op.     repeatfields (the pulldown flags make frames)
//   Trim(F,L)                trim=start_frame=F:end_frame=L+1
//   Crop                     crop=W:H:X:Y
//   AddBorders               pad (black)
//   *Resize(W,H)             scale=W:H with the kernel of the name
//   AssumeFPS                the same frames retimed (settb, setpts)
//   ChangeFPS / ConvertFPS   fps / framerate (blending)
//   SeparateFields, Weave    separatefields, weave
//   SelectEvery(C,o...)      select of the frames with n mod C in the offsets
//   Decimate(cycle=C)        decimate=cycle=C
//   Kernelbob(order=1|0)     yadif=mode=send_field:parity=tff|bff
//   Telecide                 fieldmatch
//   FieldDeinterlace         yadif=deint=interlaced
//   Decimate(mode=1)         nothing (the blend keeps every frame)
//   ConvertToYUY2/YV12       nothing (the encoder takes 4:2:0 at the end)
//   LoadPlugin, Import,      nothing (no step of the plan: the plugins' filters
//   AddAudio                 are built in, and the audio is not the encoder's)
// Every step that changes the rate is followed by a retiming to the rate
// the frame server gives, so that the timestamps ffmpeg's filters go by
// are the script's.
#include "encoding.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include <unistd.h>

#include "frameserver/frame_server.h"
#include "platform/command_line.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "platform/terminal.h"

namespace kestrova::standin {

namespace {

constexpr const char* kVideoBufferBits = "1835008";

std::string RateText(const FrameRate& rate) {
    return std::to_string(rate.Numerator) + "/" + std::to_string(rate.Denominator);
}

// Frames numbered from 0 at the given rate: one tick of the time base a frame.
std::string Retime(const FrameRate& rate) {
    return "settb=" + std::to_string(rate.Denominator) + "/" + std::to_string(rate.Numerator) + ",setpts=N";
}

// The rate after each step, as the frame server computes it.
FrameRate ScaledRate(const FrameRate& rate, std::uint64_t multiplier, std::uint64_t divisor) {
    return MakeFrameRate(static_cast<std::uint64_t>(rate.Numerator) * multiplier,
                         static_cast<std::uint64_t>(rate.Denominator) * divisor);
}

std::string ScaleKernel(const std::string& function) {
    struct Kernel {
        const char* Function;
        const char* Flags;
    };
    static const Kernel kKernels[] = {
        {"LANCZOSRESIZE", "lanczos"},   {"LANCZOS4RESIZE", "lanczos:param0=4"}, {"BILINEARRESIZE", "bilinear"},
        {"BICUBICRESIZE", "bicubic"},   {"POINTRESIZE", "neighbor"},           {"SPLINE36RESIZE", "spline"},
    };
    const std::string upper = platform::ToUpperAscii(function);
    for (const Kernel& kernel : kKernels) {
        if (upper == kernel.Function) return kernel.Flags;
    }
    return "bicubic";
}

// The filters for the plan's steps, from the decoded source to the script's clip.
std::vector<std::string> StepFilters(const ClipPlan& plan) {
    std::vector<std::string> filters;
    if (plan.Operation == FieldOperation::None) filters.push_back("repeatfields");
    FrameRate rate = plan.SourceRate;
    filters.push_back(Retime(rate));
    for (const ClipStep& step : plan.Steps) {
        const std::string function = platform::ToUpperAscii(step.Function);
        bool retime = true;
        switch (step.Kind) {
            case ClipStepKind::Trim:
                filters.push_back("trim=start_frame=" + std::to_string(step.First) +
                                  ":end_frame=" + std::to_string(step.Last + 1));
                break;
            case ClipStepKind::Crop:
                filters.push_back("crop=" + std::to_string(step.Width) + ":" + std::to_string(step.Height) + ":" +
                                  std::to_string(step.Left) + ":" + std::to_string(step.Top));
                retime = false;
                break;
            case ClipStepKind::AddBorders:
                filters.push_back("pad=w=iw+" + std::to_string(step.Left + step.Right) + ":h=ih+" +
                                  std::to_string(step.Top + step.Bottom) + ":x=" + std::to_string(step.Left) +
                                  ":y=" + std::to_string(step.Top) + ":color=black");
                retime = false;
                break;
            case ClipStepKind::Resize:
                filters.push_back("scale=" + std::to_string(step.Width) + ":" + std::to_string(step.Height) +
                                  ":flags=" + ScaleKernel(step.Function));
                retime = false;
                break;
            case ClipStepKind::AssumeFps:
                rate = step.Rate;
                break;
            case ClipStepKind::ChangeFps:
                rate = step.Rate;
                filters.push_back((function == "CONVERTFPS" ? "framerate=fps=" : "fps=") + RateText(rate));
                break;
            case ClipStepKind::SeparateFields:
                rate = ScaledRate(rate, 2, 1);
                filters.push_back("separatefields");
                break;
            case ClipStepKind::SelectEvery: {
                std::string picks;
                for (const std::int64_t offset : step.Offsets) {
                    picks += (picks.empty() ? "" : "+") + std::string("eq(mod(n,") + std::to_string(step.Cycle) +
                             ")," + std::to_string(offset) + ")";
                }
                rate = ScaledRate(rate, step.Offsets.size(), static_cast<std::uint64_t>(step.Cycle));
                filters.push_back("select='" + picks + "'");
                break;
            }
            case ClipStepKind::Weave:
                rate = ScaledRate(rate, 1, 2);
                filters.push_back("weave=first_field=top");
                break;
            case ClipStepKind::Decimate:
                rate = ScaledRate(rate, static_cast<std::uint64_t>(step.Cycle - 1),
                                  static_cast<std::uint64_t>(step.Cycle));
                filters.push_back("decimate=cycle=" + std::to_string(step.Cycle));
                break;
            case ClipStepKind::Kernelbob:
                rate = ScaledRate(rate, 2, 1);
                filters.push_back(std::string("yadif=mode=send_field:parity=") + (step.TopFieldFirst ? "tff" : "bff"));
                break;
            case ClipStepKind::PassThrough:
                if (function == "TELECIDE") filters.push_back("fieldmatch");
                if (function == "FIELDDEINTERLACE") filters.push_back("yadif=deint=interlaced");
                retime = false;
                break;
        }
        if (retime) filters.push_back(Retime(rate));
    }
    return filters;
}

std::string Join(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : separator) + part;
    return text;
}

std::string MatrixText(const std::vector<int>& values) {
    std::vector<std::string> parts;
    for (const int value : values) parts.push_back(std::to_string(value));
    return Join(parts, ",");
}

std::string KilobitsText(long kbits) { return std::to_string(kbits) + "k"; }

// The options that make the stream, all but the passes.
std::vector<std::string> EncoderOptions(const EncodeRequest& request, const FrameRate& rate, std::int64_t first) {
    const int gop = request.GopLength != 0 ? request.GopLength : rate == FrameRate{25, 1} ? 12 : 15;
    std::vector<std::string> options = {"-an", "-sn", "-r", RateText(rate), "-c:v", "mpeg2video", "-pix_fmt",
                                        "yuv420p", "-aspect", request.Aspect, "-g", std::to_string(gop),
                                        "-bf", std::to_string(request.BFrames), "-sc_threshold", "1000000000",
                                        "-top", request.TopFieldFirst ? "1" : "0"};
    std::string flags;
    if (request.ClosedGops) flags += "+cgop";
    if (!request.Progressive) flags += "+ilme+ildct";
    if (!flags.empty()) options.insert(options.end(), {"-flags", flags});
    if (request.DcPrecision != 0) options.insert(options.end(), {"-dc", std::to_string(request.DcPrecision)});
    if (request.AlternateScan) options.insert(options.end(), {"-alternate_scan", "1"});
    if (!request.IntraMatrix.empty()) options.insert(options.end(), {"-intra_matrix", MatrixText(request.IntraMatrix)});
    if (!request.NonIntraMatrix.empty()) {
        options.insert(options.end(), {"-inter_matrix", MatrixText(request.NonIntraMatrix)});
    }
    switch (request.Mode) {
        case RateControl::Constant:
            options.insert(options.end(), {"-b:v", KilobitsText(request.Bitrate), "-minrate",
                                           KilobitsText(request.Bitrate), "-maxrate", KilobitsText(request.Bitrate)});
            break;
        case RateControl::OnePassQuality:
            options.insert(options.end(), {"-q:v", std::to_string(request.Quantiser), "-maxrate",
                                           KilobitsText(request.MaxBitrate)});
            break;
        case RateControl::OnePassAverage:
        case RateControl::MultiPass:
            options.insert(options.end(), {"-b:v", KilobitsText(request.Bitrate), "-maxrate",
                                           KilobitsText(request.MaxBitrate)});
            break;
    }
    options.insert(options.end(), {"-bufsize", kVideoBufferBits});
    std::vector<std::string> keys;
    for (const std::int64_t chapter : request.Chapters) {
        if (chapter > first) keys.push_back("eq(n," + std::to_string(chapter - first) + ")");
    }
    if (!keys.empty()) options.insert(options.end(), {"-force_key_frames", "expr:" + Join(keys, "+")});
    return options;
}

// The plan's video files as one ffmpeg input.
std::string SourceInput(const Invocation& call, const ClipPlan& plan, const std::string& script) {
    const platform::FileSystem files(call.Paths);
    std::vector<std::string> hosts;
    for (const std::string& source : plan.SourceFiles) {
        bool present = false;
        try {
            present = files.FileExists(source);
        } catch (const Error&) {
            // A drive that is not mapped holds no file.
        }
        if (!present) {
            throw Error("The video file \"" + source + "\" that the script \"" + script + "\" reads is gone");
        }
        hosts.push_back(files.ToHost(source));
    }
    if (hosts.size() == 1) return "file:" + hosts.front();
    for (const std::string& host : hosts) {
        if (host.find('|') != std::string::npos) {
            throw Error("The video file " + host + " cannot be joined to the others: its name holds a \"|\"");
        }
    }
    return "concat:" + Join(hosts, "|");
}

bool IsMpegFrameRate(const FrameRate& rate) {
    for (long code = 1; code <= 8; ++code) {
        if (MpegFrameRate(code) == rate) return true;
    }
    return false;
}

}  // namespace

FrameRate MpegFrameRate(long code) {
    static const FrameRate kRates[] = {{24000, 1001}, {24, 1}, {25, 1}, {30000, 1001},
                                       {30, 1},       {50, 1}, {60000, 1001}, {60, 1}};
    if (code < 1 || code > 8) return {0, 1};
    return kRates[code - 1];
}

std::string RequireHostProgram(const std::string& name, const std::string& purpose) {
    const std::string host = platform::FindOnHostPath(name);
    if (host.empty()) throw Error(name + " is not installed (it is not on PATH); it is needed " + purpose);
    return host;
}

int RunHostProgram(const Invocation& call, const std::vector<std::string>& argv) {
    const std::string name = platform::FileNameOf(argv.front()) + ".exe";
    platform::Launcher launcher(call.Paths);
    launcher.AddOverride(name, platform::ToolOverride{{argv.front()}, "", false});
    platform::ProcessRunner runner(launcher);
    runner.SetChildOutput([](const std::string& line) { std::cerr << line << "\n"; });
    std::vector<std::string> tokens = {name};
    tokens.insert(tokens.end(), argv.begin() + 1, argv.end());
    runner.ShellAndWait(platform::JoinCommandLine(tokens), 0);
    return runner.History().back().ExitCode;
}

ScratchFolder::ScratchFolder(const Invocation& call) : call_(call) {
    static int made = 0;
    std::string temp = platform::EnvironmentValue("TMPDIR");
    if (temp.empty() || temp.front() != '/') temp = "/tmp";
    host_ = temp + "/kestrova-" + call.Tool + "-" + std::to_string(::getpid()) + "-" + std::to_string(++made);
    drive_ = call.Paths.ToWindows(host_);
    platform::FileSystem(call.Paths).MakeFolder(drive_);
}

ScratchFolder::~ScratchFolder() {
    try {
        platform::FileSystem(call_.Paths).DeleteTree(drive_);
    } catch (const Error& error) {
        std::cerr << error.what() << "\n";
    }
}

void EncodeScript(const Invocation& call, const EncodeRequest& request) {
    const platform::FileSystem files(call.Paths);
    files.DeleteFile(request.Output);
    const AviStreamInfo info = ReadAviStreamInfo(files, request.Script);
    if (info.ErrorClip) throw Error(info.Error);

    // "encode_last=1" of a one-frame still is its one frame; a last frame
    // beyond the script (a trimmed part of a longer asset) is the script's end.
    const std::int64_t length = info.Length;
    const std::int64_t last = request.EncodeLast < 0 ? length : std::min(request.EncodeLast, length);
    const std::int64_t first = request.EncodeFirst;
    if (first >= last) {
        throw Error("The script \"" + request.Script + "\" gives " + std::to_string(length) +
                    " frames; frames " + std::to_string(first) + " up to " + std::to_string(last) +
                    " hold none to encode");
    }
    const FrameRate rate = request.Rate.Numerator != 0 ? request.Rate : FrameRate{info.Rate, info.Scale};
    if (!IsMpegFrameRate(rate)) {
        throw Error("The script \"" + request.Script + "\" runs at " + RateText(rate) +
                    " frames a second, which is not an MPEG-2 frame rate");
    }
    const std::int32_t height = request.Height != 0 ? request.Height : info.Height;
    if (height <= 0 || height > 1152 || height % 2 != 0) {
        throw Error("The picture height " + std::to_string(height) + " of \"" + request.Output +
                    "\" is not one an MPEG-2 stream of 720 pixels a line can have");
    }

    std::vector<std::string> filters = StepFilters(info.Plan);
    filters.push_back("trim=start_frame=" + std::to_string(first) + ":end_frame=" + std::to_string(last));
    filters.push_back("tpad=stop_mode=clone:stop=-1");  // a decode that runs short ends on its last frame
    filters.push_back("scale=720:" + std::to_string(height));
    filters.push_back("format=yuv420p");
    filters.push_back(Retime(rate));

    const std::string ffmpeg = RequireHostProgram("ffmpeg", "to encode in the place of " + call.Tool);
    const ScratchFolder scratch(call);
    const std::string encoded = scratch.Host() + "/encoded.m2v";
    std::vector<std::string> command = {ffmpeg, "-nostdin", "-loglevel", "error", "-y",
                                        "-i", SourceInput(call, info.Plan, request.Script),
                                        "-vf", Join(filters, ","), "-frames:v", std::to_string(last - first)};
    const std::vector<std::string> options = EncoderOptions(request, rate, first);
    command.insert(command.end(), options.begin(), options.end());
    std::vector<std::vector<std::string>> runs;
    if (request.Mode == RateControl::MultiPass) {
        for (const char* pass : {"1", "2"}) {
            std::vector<std::string> run = command;
            run.insert(run.end(), {"-pass", pass, "-passlogfile", scratch.Host() + "/pass"});
            runs.push_back(run);
        }
    } else {
        runs.push_back(command);
    }
    for (std::vector<std::string>& run : runs) {
        run.insert(run.end(), {"-f", "mpeg2video", encoded});
        if (const int status = RunHostProgram(call, run); status != 0) {
            throw Error("ffmpeg could not encode the script \"" + request.Script + "\" (exit status " +
                        std::to_string(status) + ")");
        }
    }
    // The encoders close a stream with a sequence end code (the lists ask
    // for it with "seq_endcode=1"); ffmpeg's stream ends after the last slice.
    {
        std::ofstream out(encoded, std::ios::binary | std::ios::app);
        static constexpr char kSequenceEnd[] = {0x00, 0x00, 0x01, static_cast<char>(0xB7)};
        out.write(kSequenceEnd, sizeof kSequenceEnd);
        if (!out) throw Error("Cannot finish the encoded stream of \"" + request.Script + "\"");
    }
    files.MoveFile(scratch.Drive() + "\\encoded.m2v", request.Output);
}

int RunItems(const Invocation& call, std::size_t count, const std::function<std::string(std::size_t)>& item,
             const std::function<std::string(std::size_t)>& label) {
    const bool dies = call.Fail == FailMode::Partial;
    const std::size_t whole = dies ? static_cast<std::size_t>(call.ItemsBeforeFailure) : count;
    int status = 0;
    for (std::size_t index = 0; index < count; ++index) {
        std::string output;
        try {
            output = item(index);
        } catch (const Error& error) {
            std::cerr << call.Tool << ": nothing written for " << label(index) << ": " << error.what() << "\n";
            status = 1;
        }
        if (index < whole) continue;
        if (!output.empty()) {
            // A batch that died while writing: the file is there, its end is not.
            const platform::FileSystem files(call.Paths);
            const std::string bytes = files.ReadText(output);
            files.WriteText(output, bytes.substr(0, bytes.size() / 2));
        }
        std::cerr << call.Tool << ": dying during " << label(index) << " as asked by KESTROVA_STANDIN_FAIL\n";
        return 1;
    }
    if (dies) {
        std::cerr << call.Tool << ": failing after the last item as asked by KESTROVA_STANDIN_FAIL\n";
        return 1;
    }
    return status;
}

}  // namespace kestrova::standin
