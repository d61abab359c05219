// D2V project files: see d2v_file.h.
#include "frameserver/d2v_file.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <string_view>

#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// Where each variant keeps its lines, counted from 0, and where the flag
// tokens of a data line begin.
struct D2vLayout {
    const char* Name;
    std::size_t FieldOperationLine;
    std::size_t FrameRateLine;
    std::size_t FirstDataLine;
    std::size_t FirstFlagToken;
};

constexpr D2vLayout kDvd2aviLayout{"DVD2AVI", 10, 11, 13, 5};
constexpr D2vLayout kDGIndexLayout{"DGIndex", 12, 13, 14, 6};

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::size_t stop = end;
        if (stop > start && text[stop - 1] == '\r') --stop;
        lines.push_back(text.substr(start, stop - start));
        start = end + 1;
    }
    return lines;
}

// The unsigned decimal number at the start of the text; its length goes to
// `used`. Empty when there is no digit or the value passes the limit.
std::optional<std::uint64_t> LeadingNumber(std::string_view text, std::size_t& used,
                                           std::uint64_t limit = std::numeric_limits<std::uint32_t>::max()) {
    std::uint64_t value = 0;
    used = 0;
    while (used < text.size() && text[used] >= '0' && text[used] <= '9') {
        value = value * 10 + static_cast<std::uint64_t>(text[used] - '0');
        if (value > limit) return std::nullopt;
        ++used;
    }
    if (used == 0) return std::nullopt;
    return value;
}

std::string LineLabel(const std::string& name, std::size_t line) {
    return "D2V project file \"" + name + "\", line " + std::to_string(line) + ",";
}

// The text behind "key=" on a line that must carry that key.
std::string_view ValueOfKey(const std::vector<std::string>& lines, std::size_t line, std::string_view key,
                            const std::string& name, const D2vLayout& layout) {
    const std::string_view text = lines[line];
    if (text.substr(0, key.size()) != key) {
        throw Error(LineLabel(name, line) + " reads \"" + std::string(text.substr(0, 60)) + "\"; a " + layout.Name +
                    " project file has its " + std::string(key) + " line there");
    }
    return text.substr(key.size());
}

FieldOperation ReadFieldOperation(const std::vector<std::string>& lines, const std::string& name,
                                  const D2vLayout& layout, D2vVariant variant) {
    const std::size_t line = layout.FieldOperationLine;
    const std::string_view value = ValueOfKey(lines, line, "Field_Operation=", name, layout);
    std::size_t used = 0;
    const auto number = LeadingNumber(value, used, 1000);
    // DVD2AVI numbers 0 none, 1 forced film, 2 swapped order, 3 raw frames;
    // DGIndex has no swap and numbers raw frames 2.
    if (number && *number == 0) return FieldOperation::None;
    if (number && *number == 1) return FieldOperation::ForceFilm;
    if (number && *number == 2) {
        return variant == D2vVariant::Dvd2avi ? FieldOperation::SwapOrder : FieldOperation::RawFrames;
    }
    if (number && *number == 3 && variant == D2vVariant::Dvd2avi) return FieldOperation::RawFrames;
    throw Error(LineLabel(name, line) + " has the field operation \"" + std::string(value.substr(0, 40)) +
                "\"; expected " + (variant == D2vVariant::Dvd2avi ? "0, 1, 2 or 3" : "0, 1 or 2"));
}

FrameRate ReadFrameRate(const std::vector<std::string>& lines, const std::string& name, const D2vLayout& layout) {
    const std::size_t line = layout.FrameRateLine;
    const std::string_view value = ValueOfKey(lines, line, "Frame_Rate=", name, layout);
    std::size_t used = 0;
    const auto thousandths = LeadingNumber(value, used);
    if (!thousandths || *thousandths == 0) {
        throw Error(LineLabel(name, line) + " has the frame rate \"" + std::string(value.substr(0, 40)) +
                    "\"; expected a rate in thousandths above 0, such as 25000 or 29970");
    }
    // DGIndex adds the exact fraction: "Frame_Rate=29970 (30000/1001)".
    const std::string trimmed = platform::Trim(value.substr(used));
    std::string_view rest = trimmed;
    if (!rest.empty() && rest.front() == '(') {
        rest.remove_prefix(1);
        std::size_t numeratorLength = 0;
        std::size_t denominatorLength = 0;
        const auto numerator = LeadingNumber(rest, numeratorLength);
        if (numerator && numeratorLength < rest.size() && rest[numeratorLength] == '/') {
            const auto denominator = LeadingNumber(rest.substr(numeratorLength + 1), denominatorLength);
            const std::size_t close = numeratorLength + 1 + denominatorLength;
            if (denominator && close < rest.size() && rest[close] == ')' && *numerator > 0 && *denominator > 0) {
                return MakeFrameRate(*numerator, *denominator);
            }
        }
        throw Error(LineLabel(name, line) + " has the frame rate \"" + std::string(value.substr(0, 40)) +
                    "\"; expected the fraction in the form (30000/1001)");
    }
    return FrameRateFromThousandths(static_cast<std::uint32_t>(*thousandths));
}

// "Picture_Size=720x576" among the header lines; DVD2AVI's
// "Picture_Size=0,0,0,0,0,0" is a clipping setting, not a size, and is passed by.
void ReadPictureSize(const std::vector<std::string>& lines, const D2vLayout& layout, D2vProject& project) {
    for (std::size_t line = 0; line < layout.FirstDataLine && line < lines.size(); ++line) {
        const std::string_view text = lines[line];
        const std::string_view key = "Picture_Size=";
        if (text.substr(0, key.size()) != key) continue;
        const std::string_view value = text.substr(key.size());
        std::size_t widthLength = 0;
        std::size_t heightLength = 0;
        const auto width = LeadingNumber(value, widthLength, 65535);
        if (!width || widthLength >= value.size() || (value[widthLength] != 'x' && value[widthLength] != 'X')) continue;
        const auto height = LeadingNumber(value.substr(widthLength + 1), heightLength, 65535);
        if (!height || *width == 0 || *height == 0) continue;
        project.Width = static_cast<std::int32_t>(*width);
        project.Height = static_cast<std::int32_t>(*height);
        return;
    }
}

std::vector<std::string> ReadFileList(const std::vector<std::string>& lines, const std::string& name) {
    std::size_t used = 0;
    const std::string countText = platform::Trim(lines[1]);
    const auto count = LeadingNumber(countText, used, 10000);
    if (!count || used != countText.size() || *count == 0 || *count > lines.size() - 2) {
        throw Error(LineLabel(name, 1) + " reads \"" + std::string(countText.substr(0, 40)) +
                    "\"; expected the number of video files, followed by their paths");
    }
    std::vector<std::string> files;
    for (std::size_t i = 0; i < *count; ++i) {
        std::string path = platform::Trim(lines[2 + i]);
        // Some DVD2AVI builds put the length of the name before it.
        std::size_t lengthDigits = 0;
        const auto length = LeadingNumber(path, lengthDigits);
        if (length && lengthDigits < path.size() && path[lengthDigits] == ' ' &&
            *length == path.size() - lengthDigits - 1) {
            path.erase(0, lengthDigits + 1);
        }
        if (path.empty()) throw Error(LineLabel(name, 2 + i) + " is empty; expected the path of a video file");
        files.emplace_back(path);
    }
    return files;
}

// Turns the picture flags into the frames the MPEG-2 source filter delivers.
// Bit 1 of a flag is top field first, bit 0 repeat first field.
class DecoderFrameCounter {
public:
    explicit DecoderFrameCounter(FieldOperation operation) : operation_(operation) {}

    void Add(int flag) {
        const bool topFirst = (flag & 2) != 0;
        const bool repeat = (flag & 1) != 0;
        switch (operation_) {
            case FieldOperation::RawFrames: ++frames_; break;
            case FieldOperation::ForceFilm: AddFilm(repeat); break;
            case FieldOperation::None:
            case FieldOperation::SwapOrder: AddWithPulldown(topFirst, repeat); break;
        }
    }

    std::int64_t Frames() const { return frames_; }

private:
    // Every picture completes one frame (a field left over from a repeat
    // pairs with its first field, its second field waits in turn); a
    // repeated field waits until a field of the other parity joins it.
    void AddWithPulldown(bool topFirst, bool repeat) {
        ++frames_;
        if (!repeat) return;
        if (topFirst) {
            topWaiting_ = true;
        } else {
            bottomWaiting_ = true;
        }
        if (topWaiting_ && bottomWaiting_) {
            topWaiting_ = bottomWaiting_ = false;
            ++frames_;
        }
    }

    // Force film keeps one frame per picture and follows the 3:2 cadence
    // of the repeat flags: a run of pictures without repeats drops one of
    // each five (three before the cadence is found), a run of repeats adds one.
    void AddFilm(bool repeat) {
        if (repeat) {
            ++repeatOn_;
        } else {
            ++repeatOff_;
        }
        const int limit = cadenceFound_ ? 5 : 3;
        if (repeatOff_ - repeatOn_ == limit) {
            repeatOn_ = repeatOff_ = 0;
            cadenceFound_ = true;
        } else {
            ++frames_;
        }
        if (repeatOn_ - repeatOff_ == limit) {
            repeatOn_ = repeatOff_ = 0;
            cadenceFound_ = true;
            ++frames_;
        }
    }

    FieldOperation operation_;
    std::int64_t frames_ = 0;
    bool topWaiting_ = false;
    bool bottomWaiting_ = false;
    std::int64_t repeatOn_ = 0;
    std::int64_t repeatOff_ = 0;
    bool cadenceFound_ = false;
};

void CountPictures(const std::vector<std::string>& lines, const std::string& name, const D2vLayout& layout,
                   D2vProject& project) {
    DecoderFrameCounter counter(project.Operation);
    for (std::size_t line = layout.FirstDataLine; line < lines.size(); ++line) {
        const std::string& text = lines[line];
        std::size_t token = 0;
        std::size_t pos = 0;
        while (pos < text.size()) {
            while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t')) ++pos;
            if (pos >= text.size()) break;
            std::size_t end = pos;
            while (end < text.size() && text[end] != ' ' && text[end] != '\t') ++end;
            const std::string_view word(text.data() + pos, end - pos);
            pos = end;
            if (token++ < layout.FirstFlagToken) continue;
            if (word == "ff" || word == "FF") break;  // end of the stream
            const char flag = word.back();
            if (flag == '9') break;                   // end of this line's flags
            if (flag < '0' || flag > '3') continue;
            ++project.FlagCounts[static_cast<std::size_t>(flag - '0')];
            ++project.Pictures;
            counter.Add(flag - '0');
        }
    }
    if (project.Pictures == 0) {
        throw Error("D2V project file \"" + name + "\" lists no pictures (flags 0 to 3) from line " +
                    std::to_string(layout.FirstDataLine) + " on");
    }
    if (counter.Frames() > std::numeric_limits<std::int32_t>::max()) {
        throw Error("D2V project file \"" + name + "\" lists more frames than a clip can hold");
    }
    project.Frames = static_cast<std::int32_t>(counter.Frames());
}

}  // namespace

bool operator==(const FrameRate& left, const FrameRate& right) {
    return left.Numerator == right.Numerator && left.Denominator == right.Denominator;
}

FrameRate MakeFrameRate(std::uint64_t numerator, std::uint64_t denominator) {
    if (denominator == 0) throw Error("A frame rate cannot have a denominator of 0");
    const std::uint64_t divisor = numerator == 0 ? denominator : std::gcd(numerator, denominator);
    numerator /= divisor;
    denominator /= divisor;
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (numerator > kMax || denominator > kMax) {
        throw Error("The frame rate " + std::to_string(numerator) + "/" + std::to_string(denominator) +
                    " is out of range; both terms must fit 32 bits");
    }
    return {static_cast<std::uint32_t>(numerator), static_cast<std::uint32_t>(denominator)};
}

FrameRate FrameRateFromThousandths(std::uint32_t thousandths) {
    if (thousandths % 1000 != 0) {
        // n*1000/1001 written in thousandths: 23976, 29970, 59940.
        const std::uint64_t numerator =
            static_cast<std::uint64_t>(std::llround(thousandths * 1.001 / 1000.0)) * 1000;
        if (numerator > 0 && numerator * 1000 / 1001 == thousandths) return MakeFrameRate(numerator, 1001);
    }
    return MakeFrameRate(thousandths, 1000);
}

D2vProject ParseD2vProject(const std::string& text, const std::string& name) {
    const std::vector<std::string> lines = SplitLines(text);
    if (lines.empty()) throw Error("D2V project file \"" + name + "\" is empty");

    D2vProject project;
    project.Variant = platform::Trim(lines[0]) == "DVD2AVIProjectFile03" ? D2vVariant::Dvd2avi : D2vVariant::DGIndex;
    const D2vLayout& layout = project.Variant == D2vVariant::Dvd2avi ? kDvd2aviLayout : kDGIndexLayout;
    if (lines.size() <= layout.FrameRateLine) {
        throw Error("D2V project file \"" + name + "\" ends after " + std::to_string(lines.size()) +
                    " lines; a " + layout.Name + " project file has its Frame_Rate on line " +
                    std::to_string(layout.FrameRateLine));
    }
    project.Files = ReadFileList(lines, name);
    project.Operation = ReadFieldOperation(lines, name, layout, project.Variant);
    project.StreamRate = ReadFrameRate(lines, name, layout);
    project.Rate = project.Operation == FieldOperation::ForceFilm ? FrameRate{24000, 1001} : project.StreamRate;
    ReadPictureSize(lines, layout, project);
    CountPictures(lines, name, layout, project);
    return project;
}

D2vProject ReadD2vProject(const platform::FileSystem& files, const std::string& path) {
    if (!files.FileExists(path)) {
        throw Error("Cannot open the D2V project file \"" + path + "\": " +
                    (files.FolderExists(path) ? "it is not a file" : "there is no such file"));
    }
    return ParseD2vProject(files.ReadText(path), path);
}

}  // namespace kestrova
