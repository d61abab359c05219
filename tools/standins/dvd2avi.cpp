// The indexing tools "dvd2avirb", "dvd2avidg" and "DGIndex": each reads an
// MPEG-2 video elementary stream named by -IF=[...] and leaves, under the
// name given by -OF=[...], a project file OUT.d2v for the frame server and
// a statistics log OUT.log. The two DVD2AVI builds write the
// "DVD2AVIProjectFile03" layout, DGIndex the "DGIndexProjectFile16" one.
// Every call writes both files: the job reads the log of the first call
// and the project file of the second, and either may be the only one.
//
// Project file lines, counted from 0:
//   DVD2AVI: 0 header, 1 file count, 2 the video file, 3 blank, 4-9 decoder
//            settings and the location, 10 Field_Operation, 11 Frame_Rate,
//            12 blank, 13 on: one data line per group of pictures.
//   DGIndex: 0 header, 1 file count, 2 the video file, 3 blank, 4-11
//            stream and decoder settings with Picture_Size, 12
//            Field_Operation, 13 Frame_Rate, 14 on: the data lines.
// A data line is: info (hex: bit 11 always, bit 10 closed group, bit 9
// progressive sequence), [DGIndex: the matrix coefficients], file index,
// byte position of the group, VOB id, cell id, then one flag token per
// picture in display order. A DVD2AVI flag is one digit, 2 * top field
// first + repeat first field; a DGIndex flag is two hex digits whose low
// bits are the same and whose high bits are decodable-alone (7),
// progressive frame (6) and the picture type (5-4). The last line ends
// with "ff".
//
// Log lines: "D2V=" coded frames (a still is 1), "PRO=" progressive
// frames, "TFF=" top-field-first frames, "ZIG=" frames in zigzag scan
// order, "PER=" the percentage of film frames (progressive frames in or
// beside a repeat-first-field picture, the 3:2 pulldown of film).
#include <algorithm>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "assets/video_stream.h"
#include "platform/error.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

enum class IndexVariant { Dvd2avi, DGIndex };

struct IndexOptions {
    std::string Input;       // -IF=[...]: the video file, a Windows path
    std::string Output;      // -OF=[...]: the output name without extension
    long IdctAlgorithm = 1;  // -IA
    long FieldOperation = 0; // -FO
    long YuvRgbScale = 1;    // -YR
};

struct OptionValue {
    std::string Name;
    std::string Text;
    bool HasValue = false;
    bool Bracketed = false;
};

constexpr const char* kBlanks = " \t";

// Splits the command line as the tools read it: the line as written (not
// the Windows splitting, which would cut a bracketed path at its blanks and
// lose runs of them), options beginning with "-", a value behind "=", and a
// value in "[...]" that is taken byte for byte.
std::vector<OptionValue> SplitOptions(const Invocation& call) {
    const std::string& text = call.ArgumentText;
    std::vector<OptionValue> options;
    std::size_t pos = 0;
    while (true) {
        pos = std::min(text.find_first_not_of(kBlanks, pos), text.size());
        if (pos >= text.size()) break;
        if (text[pos] != '-') {
            throw Error(call.Tool + ": expected an option beginning with \"-\" at \"" + text.substr(pos, 40) + "\"");
        }
        const std::size_t nameEnd = std::min(text.find_first_of("= \t", pos), text.size());
        OptionValue option;
        option.Name = text.substr(pos + 1, nameEnd - pos - 1);
        pos = nameEnd;
        if (pos < text.size() && text[pos] == '=') {
            option.HasValue = true;
            ++pos;
            if (pos < text.size() && text[pos] == '[') {
                const std::size_t close = text.find(']', pos);
                if (close == std::string::npos) {
                    throw Error(call.Tool + ": the value of -" + option.Name + " opens with \"[\" but has no \"]\"");
                }
                option.Text = text.substr(pos + 1, close - pos - 1);
                option.Bracketed = true;
                pos = close + 1;
                if (pos < text.size() && text[pos] != ' ' && text[pos] != '\t') {
                    throw Error(call.Tool + ": the value of -" + option.Name + " runs on after its \"]\"");
                }
            } else {
                const std::size_t end = std::min(text.find_first_of(kBlanks, pos), text.size());
                option.Text = text.substr(pos, end - pos);
                pos = end;
            }
        }
        options.push_back(option);
    }
    return options;
}

long NumberOption(const Invocation& call, const OptionValue& option, long highest) {
    if (!option.HasValue || option.Bracketed) {
        throw Error(call.Tool + ": -" + option.Name + " takes a number, as -" + option.Name + "=1");
    }
    const std::string what = "value of -" + option.Name;
    const long value = ParseNumber(option.Text, what.c_str());
    if (value > highest) {
        throw Error(call.Tool + ": -" + option.Name + "=" + option.Text + " is out of range; expected 0 to " +
                    std::to_string(highest));
    }
    return value;
}

std::string PathOption(const Invocation& call, const OptionValue& option) {
    if (!option.Bracketed || option.Text.empty()) {
        throw Error(call.Tool + ": -" + option.Name + " takes a path in brackets, as -" + option.Name + "=[K:\\FILE]");
    }
    return option.Text;
}

IndexOptions ParseIndexCommandLine(const Invocation& call, IndexVariant variant) {
    IndexOptions result;
    std::set<std::string> seen;
    for (const OptionValue& option : SplitOptions(call)) {
        const std::string name = platform::ToUpperAscii(option.Name);
        if (!seen.insert(name).second) throw Error(call.Tool + ": -" + option.Name + " is given twice");
        if (name == "IA") {
            result.IdctAlgorithm = NumberOption(call, option, 7);
            if (result.IdctAlgorithm == 0) throw Error(call.Tool + ": -IA=0 names no iDCT algorithm; expected 1 to 7");
        } else if (name == "FO") {
            result.FieldOperation = NumberOption(call, option, variant == IndexVariant::Dvd2avi ? 3 : 2);
        } else if (name == "YR") {
            result.YuvRgbScale = NumberOption(call, option, 1);
        } else if (name == "TN" || name == "DRC") {
            NumberOption(call, option, name == "DRC" ? 3 : 99);  // audio options: this tool writes no audio
        } else if (name == "CS" && variant == IndexVariant::Dvd2avi) {
            NumberOption(call, option, 99);
        } else if (name == "IF") {
            result.Input = PathOption(call, option);
        } else if (name == "OF") {
            result.Output = PathOption(call, option);
        } else if (name == "EXIT") {
            if (option.HasValue) throw Error(call.Tool + ": -exit takes no value");
        } else {
            throw Error(call.Tool + ": the option -" + option.Name + " is not one this tool knows");
        }
    }
    for (const char* required : {"IF", "OF", "EXIT"}) {
        if (seen.count(required) == 0) {
            throw Error(call.Tool + ": the option -" + (std::string(required) == "EXIT" ? "exit" : required) +
                        " is missing; expected -IF=[VIDEO] -OF=[OUTPUT] ... -exit");
        }
    }
    return result;
}

std::string Hex(unsigned value, int width) {
    std::ostringstream text;
    text << std::hex;
    text.width(width);
    text.fill('0');
    text << value;
    return text.str();
}

std::uint64_t Thousandths(const FrameRate& rate) {
    return static_cast<std::uint64_t>(rate.Numerator) * 1000 / rate.Denominator;
}

// The aspect ratio as the project file names it.
std::string AspectRatioText(const SequenceHeader& sequence) {
    if (sequence.Mpeg2) {
        static const char* const kAspects[] = {"1:1", "4:3", "16:9", "2.21:1"};
        return kAspects[sequence.AspectRatioCode - 1];
    }
    // MPEG-1 codes give the shape of one pixel, height over width.
    static const char* const kPixelAspects[] = {"1.0000", "0.6735", "0.7031", "0.7615", "0.8055", "0.8437", "0.8935",
                                                "0.9157", "0.9815", "1.0255", "1.0695", "1.0950", "1.1575", "1.2015"};
    return kPixelAspects[sequence.AspectRatioCode - 1];
}

// The flag token of one picture.
std::string FlagToken(const VideoPicture& picture, bool decodableAlone, IndexVariant variant) {
    const unsigned fields = (picture.TopFieldFirst ? 2u : 0u) + (picture.RepeatFirstField ? 1u : 0u);
    if (variant == IndexVariant::Dvd2avi) return std::to_string(fields);
    // D pictures of MPEG-1 are intra coded: they are listed as I.
    const unsigned type = picture.Type == PictureCodingType::D ? 1u : static_cast<unsigned>(picture.Type);
    const unsigned flags =
        (decodableAlone ? 0x80u : 0u) | (picture.ProgressiveFrame ? 0x40u : 0u) | (type << 4) | fields;
    return Hex(flags, 2);
}

std::string DataLine(const VideoStream& stream, const GroupOfPictures& group, IndexVariant variant) {
    const unsigned info =
        0x800u | (group.ClosedGop ? 0x400u : 0u) | (stream.Sequence.ProgressiveSequence ? 0x200u : 0u);
    std::string line = Hex(info, 3);
    if (variant == IndexVariant::DGIndex) line += " " + std::to_string(stream.Sequence.MatrixCoefficients);
    line += " 0 " + std::to_string(group.Offset) + " 0 0";
    // B pictures shown before the group's I picture need the group before,
    // unless the group is closed.
    bool intraShown = group.ClosedGop;
    for (const std::size_t index : DisplayOrder(stream, group)) {
        const VideoPicture& picture = stream.Pictures[index];
        if (picture.Type != PictureCodingType::B) intraShown = true;
        line += " " + FlagToken(picture, intraShown, variant);
    }
    return line;
}

std::vector<std::string> ProjectLines(const VideoStream& stream, const IndexOptions& options, IndexVariant variant) {
    const FrameRate rate = SequenceFrameRate(stream.Sequence);
    const std::string thousandths = std::to_string(Thousandths(rate));
    std::vector<std::string> lines;
    if (variant == IndexVariant::Dvd2avi) {
        lines = {
            "DVD2AVIProjectFile03",
            "1",
            options.Input,
            "",
            "Stream_Type=0,0,0",
            "iDCT_Algorithm=" + std::to_string(options.IdctAlgorithm) + " (1:MMX 2:SSEMMX 3:FPU 4:REF 5:SSE2MMX)",
            "YUVRGB_Scale=" + std::to_string(options.YuvRgbScale) + " (0:TVScale 1:PCScale)",
            "Luminance=128,0",
            "Picture_Size=0,0,0,0,0,0",
            "Location=0,0,0," + Hex(static_cast<unsigned>(stream.Size / 2048), 1),
            "Field_Operation=" + std::to_string(options.FieldOperation) +
                " (0:None 1:ForcedFILM 2:SwapOrder 3:RawFrames)",
            "Frame_Rate=" + thousandths,
            "",
        };
    } else {
        lines = {
            "DGIndexProjectFile16",
            "1",
            options.Input,
            "",
            "Stream_Type=0",
            std::string("MPEG_Type=") + (stream.Sequence.Mpeg2 ? "2" : "1"),
            "iDCT_Algorithm=" + std::to_string(options.IdctAlgorithm) +
                " (1:MMX 2:SSEMMX 3:SSE2MMX 4:FPU 5:REF 6:Skal 7:Simple)",
            "YUVRGB_Scale=" + std::to_string(options.YuvRgbScale),
            "Luminance_Filter=0,0",
            "Clipping=0,0,0,0",
            "Aspect_Ratio=" + AspectRatioText(stream.Sequence),
            "Picture_Size=" + std::to_string(stream.Sequence.Width) + "x" + std::to_string(stream.Sequence.Height),
            "Field_Operation=" + std::to_string(options.FieldOperation),
            "Frame_Rate=" + thousandths + " (" + std::to_string(rate.Numerator) + "/" +
                std::to_string(rate.Denominator) + ")",
        };
    }
    for (const GroupOfPictures& group : stream.Groups) lines.push_back(DataLine(stream, group, variant));
    lines.back() += " ff";
    return lines;
}

// Film frames: progressive frames that are, or stand beside, a picture
// repeating its first field; in display order across the whole stream.
std::int64_t FilmFrames(const VideoStream& stream) {
    const std::vector<std::size_t> order = DisplayOrder(stream);
    std::int64_t film = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const VideoPicture& picture = stream.Pictures[order[i]];
        if (!picture.ProgressiveFrame) continue;
        const bool before = i > 0 && stream.Pictures[order[i - 1]].RepeatFirstField;
        const bool after = i + 1 < order.size() && stream.Pictures[order[i + 1]].RepeatFirstField;
        if (picture.RepeatFirstField || before || after) ++film;
    }
    return film;
}

std::vector<std::string> LogLines(const VideoStream& stream) {
    const VideoStreamCounts& counts = stream.Counts;
    return {
        "D2V=" + std::to_string(counts.Frames),
        "PRO=" + std::to_string(counts.ProgressiveFrames),
        "TFF=" + std::to_string(counts.TopFieldFirstFrames),
        "ZIG=" + std::to_string(counts.Frames - counts.AlternateScanFrames),
        "PER=" + std::to_string(FilmFrames(stream) * 100 / counts.Frames),
    };
}

// Windows tools end their lines with CR LF.
std::string JoinLines(const std::vector<std::string>& lines, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count && i < lines.size(); ++i) text += lines[i] + "\r\n";
    return text;
}

}  // namespace

int RunDvd2avi(const Invocation& call) {
    const IndexVariant variant =
        platform::EqualsIgnoreCase(call.Tool, "DGIndex") ? IndexVariant::DGIndex : IndexVariant::Dvd2avi;
    const IndexOptions options = ParseIndexCommandLine(call, variant);
    const VideoStream stream = ScanVideoStreamFile(call.Paths.ToHost(options.Input));
    const std::vector<std::string> project = ProjectLines(stream, options, variant);
    if (call.Fail == FailMode::Partial) {
        // A tool that died mid-run: half the project file, no end mark, no log.
        WriteJobFile(call, options.Output + ".d2v", JoinLines(project, project.size() / 2));
        return 1;
    }
    WriteJobFile(call, options.Output + ".d2v", JoinLines(project, project.size()));
    const std::vector<std::string> log = LogLines(stream);
    WriteJobFile(call, options.Output + ".log", JoinLines(log, log.size()));
    return 0;
}

}  // namespace kestrova::standin
