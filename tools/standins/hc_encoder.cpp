// "HCenc": one Avisynth script to one MPEG-2 elementary stream, as the
// ".ini" named by -ini says, one "*KEYWORD value" a line:
//
//   Line               Encoding
//   ------------------ --------------------------------------------------------
//   *INFILE, *OUTFILE  the script and the output (the rest of the line)
//   *BITRATE, *MAXBITRATE  two passes at the average, the maximum the ceiling
//                      (9800 when it is not given)
//   *CLOSEDGOPS        closed groups
//   *DC_PREC n         DC precision n bits (8 when not given)
//   *INTERLACED        interlaced coding; without it progressive
//   *TFF, *BFF         field order, top first when neither
//   *ASPECT 4:3|16:9   4:3 when not given
//   *CHAPTER n         the next n lines each hold a chapter frame + 1
//   *MATRIX name       "MPEG" the MPEG default matrices; the other named
//                      sets (HC, NOTCH, QLB, BACH1, JAWOR1CD, HVSGOOD,
//                      HVSBETTER, HVSBEST, AUTOQ2) are the encoder's own and
//                      are not known here: the MPEG default matrices
//   *CUSTOMMATRIX      8 lines of intra values, a blank line, 8 lines of
//                      non-intra values, 8 values a line (separated by
//                      blanks, "*", ">", ",", or ";" as matrix files are)
//   *PROFILE, *WAIT, *LOGFILE, *BIAS, *LASTIFRAME: speed, pacing and
//                      logging choices with no effect on what is encoded here
// The group is 12 pictures at 25 frames a second and 15 otherwise, with two
// B pictures, as the encoder's defaults for DVD. Picture height and rate
// are the script's.
#include <vector>

#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"

namespace kestrova::standin {

namespace {

class IniLines {
public:
    IniLines(std::vector<std::string> lines, std::string path) : lines_(std::move(lines)), path_(std::move(path)) {}

    bool AtEnd() const { return next_ >= lines_.size(); }
    const std::string& Next(const std::string& needed) {
        if (AtEnd()) throw Fault("ends where " + needed + " should follow");
        return lines_[next_++];
    }
    Error Fault(const std::string& what) const {
        return Error("The HC settings file \"" + path_ + "\", line " + std::to_string(next_) + ", " + what);
    }

private:
    std::vector<std::string> lines_;
    std::string path_;
    std::size_t next_ = 0;
};

long IniNumber(const IniLines& ini, const std::string& text, long lowest, long highest) {
    const std::string trimmed = platform::Trim(text);
    if (trimmed.empty() || trimmed.size() > 9 || trimmed.find_first_not_of("0123456789") != std::string::npos) {
        throw ini.Fault("\"" + trimmed.substr(0, 20) + "\" is not a whole number");
    }
    const long value = std::stol(trimmed);
    if (value < lowest || value > highest) {
        throw ini.Fault(trimmed + " is out of range; expected " + std::to_string(lowest) + " to " +
                        std::to_string(highest));
    }
    return value;
}

// Eight lines of eight matrix values, appended in raster order.
void ReadMatrix(IniLines& ini, std::vector<int>& values, const char* which) {
    for (int row = 0; row < 8; ++row) {
        const std::string& line = ini.Next(std::string("the ") + which + " matrix");
        std::string value;
        int count = 0;
        for (std::size_t i = 0; i <= line.size(); ++i) {
            const char c = i < line.size() ? line[i] : ' ';
            if (c >= '0' && c <= '9') {
                value += c;
                continue;
            }
            if (c != ' ' && c != '\t' && c != '*' && c != '>' && c != ',' && c != ';' && c != '\r') {
                throw ini.Fault(std::string("the ") + which + " matrix holds \"" + c + "\"");
            }
            if (value.empty()) continue;
            values.push_back(static_cast<int>(IniNumber(ini, value, 1, 255)));
            value.clear();
            ++count;
        }
        if (count != 8) throw ini.Fault(std::string("the ") + which + " matrix has " + std::to_string(count) +
                                        " values on a line; expected 8");
    }
}

EncodeRequest ReadHcIni(const Invocation& call, const std::string& path) {
    std::vector<std::string> text;
    try {
        text = platform::FileSystem(call.Paths).ReadLines(path);
    } catch (const Error& error) {
        throw Error("HCenc: cannot read the settings file \"" + path + "\": " + error.what());
    }
    IniLines ini(std::move(text), path);
    EncodeRequest request;
    request.Mode = RateControl::MultiPass;
    request.MaxBitrate = 9800;
    request.DcPrecision = 8;
    request.Progressive = true;
    request.GopLength = 0;
    while (!ini.AtEnd()) {
        const std::string line = platform::Trim(ini.Next(""));
        if (line.empty()) continue;
        const std::size_t blank = line.find_first_of(" \t");
        const std::string keyword = platform::ToUpperAscii(line.substr(0, blank));
        const std::string value = blank == std::string::npos ? "" : platform::TrimLeft(line.substr(blank + 1));
        if (keyword == "*INFILE") {
            request.Script = value;
        } else if (keyword == "*OUTFILE") {
            request.Output = value;
        } else if (keyword == "*BITRATE") {
            request.Bitrate = IniNumber(ini, value, 1, 15000);
        } else if (keyword == "*MAXBITRATE") {
            request.MaxBitrate = IniNumber(ini, value, 1, 15000);
        } else if (keyword == "*CLOSEDGOPS") {
            request.ClosedGops = true;
        } else if (keyword == "*DC_PREC") {
            request.DcPrecision = static_cast<int>(IniNumber(ini, value, 8, 11));
        } else if (keyword == "*INTERLACED") {
            request.Progressive = false;
        } else if (keyword == "*TFF" || keyword == "*BFF") {
            request.TopFieldFirst = keyword == "*TFF";
        } else if (keyword == "*ASPECT") {
            if (value != "4:3" && value != "16:9") throw ini.Fault("*ASPECT " + value + " is not 4:3 or 16:9");
            request.Aspect = value;
        } else if (keyword == "*CHAPTER") {
            const long count = IniNumber(ini, value, 0, 999);
            for (long i = 0; i < count; ++i) {
                request.Chapters.push_back(IniNumber(ini, ini.Next("a chapter frame"), 1, 99999999) - 1);
            }
        } else if (keyword == "*MATRIX") {
            request.IntraMatrix.clear();
            request.NonIntraMatrix.clear();
        } else if (keyword == "*CUSTOMMATRIX") {
            request.IntraMatrix.clear();
            request.NonIntraMatrix.clear();
            ReadMatrix(ini, request.IntraMatrix, "intra");
            if (!platform::Trim(ini.Next("the blank line between the matrices")).empty()) {
                throw ini.Fault("should be the blank line between the intra and the non-intra matrix");
            }
            ReadMatrix(ini, request.NonIntraMatrix, "non-intra");
        } else if (keyword != "*PROFILE" && keyword != "*WAIT" && keyword != "*LOGFILE" && keyword != "*BIAS" &&
                   keyword != "*LASTIFRAME") {
            throw ini.Fault("\"" + line.substr(0, 40) + "\" is not a setting of this encoder");
        }
    }
    if (request.Script.empty() || request.Output.empty() || request.Bitrate == 0) {
        throw Error("The HC settings file \"" + path + "\" lacks *INFILE, *OUTFILE or *BITRATE");
    }
    if (request.MaxBitrate < request.Bitrate) request.MaxBitrate = request.Bitrate;
    return request;
}

}  // namespace

int RunHcEncoder(const Invocation& call) {
    if (call.Arguments.size() != 2 || !platform::EqualsIgnoreCase(call.Arguments[0], "-ini")) {
        throw Error("HCenc: expected -ini SETTINGS.ini");
    }
    const std::string& path = call.Arguments[1];
    return RunItems(
        call, 1,
        [&](std::size_t) {
            const EncodeRequest request = ReadHcIni(call, path);
            EncodeScript(call, request);
            return request.Output;
        },
        [&](std::size_t) { return "\"" + path + "\""; });
}

}  // namespace kestrova::standin
