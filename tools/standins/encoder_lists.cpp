// The encoders driven by an encoder control list: "CCE" (the CCE program
// itself) and "EclPro" (Procoder's list runner), both called as
// -ecl "LIST" -batch, and "EclCCE", which finds the CCE program through
// "EclCCE.ini" beside itself and then encodes the list as CCE does.
//
// A list is a run of items: "[item]" opens one, and every "key=value" line
// up to the next "[item]" belongs to it, its "[file]" section included (the
// Basic dialect has no "[file]" line). Lines of ";" or "#" are comments.
// Each item names its dialect by its keys, and reads:
//
//   What              Ecl25            Ecl266          Ecl267          Ecl27             EclBasic
//   ----------------- ---------------- --------------- --------------- ----------------- ---------------
//   told by           vmode            video_type      video_type+uscc ve_exec_mode      is_pal
//   mode key          vmode            video_type      video_type      ve_exec_mode      video_type
//   constant rate     1                1               1               1                 1, 2
//   one-pass VBR      0                2               2               0                 -
//   multi-pass VBR    2                4               4               2                 8
//   field order (0 =  top_first        top_first       offset_line     offset_line       offset_line
//     top first)
//   DC precision      intra_dc_prec    intra_dc_prec   intra_dc_prec   intra_dc_precision_9_max and
//                     -1: the encoder  + 8 bits        + 8 bits        _10_max: 1,1 8 bits; 113,1 9;
//                     's choice                                        113,113 10 (Basic: intra_dc_prec + 8)
//                     (a list without the DC key: the encoder's choice, 8 bits)
//   matrix            -                qmat_idx        qmat_idx        qmat_idx          -
//
// Bitrates: constant rate cbr_brate; one-pass VBR opv_q_factor (1 to 100,
// 100 the best) as the quantiser 31 - (q - 1) * 30 / 99 rounded, capped by
// opv_brate_max; multi-pass VBR vbr_brate_avg and vbr_brate_max, in two
// passes whatever vbr_pass says. The script is "name=" (else "title="),
// the output "vid_file0=". height, frame_rate_idx (the MPEG frame rate
// code: 1 24000/1001, 3 25, 4 30000/1001), aspect_ratio (2 4:3, 3 16:9),
// gop_m (B pictures + 1) times gop_nm (the group length), all_closed_gop,
// progressive, alternate_scan, encode_first, encode_last, and one
// "chapter=N:" line per frame N that starts a group with an I picture.
// The matrix indexes name CCE's own five matrix sets, which are not known
// here: every index encodes with the MPEG default matrices.
#include <cstdlib>
#include <iostream>
#include <optional>
#include <vector>

#include "encoding.h"
#include "job/tool_table.h"
#include "platform/error.h"
#include "platform/files.h"

namespace kestrova::standin {

namespace {

enum class EclDialect { Ecl25, Ecl266, Ecl267, Ecl27, EclBasic };

struct EclItem {
    std::size_t Line = 0;  // of its "[item]", counted from 1
    std::vector<std::pair<std::string, std::string>> Keys;  // names in lower case
    std::vector<std::int64_t> Chapters;
    std::string Fault;  // a line the item cannot hold
};

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// A whole number, with an optional minus sign.
std::optional<long> WholeNumber(const std::string& text) {
    const std::size_t digits = text.size() - (text.rfind('-', 0) == 0 ? 1 : 0);
    if (digits == 0 || digits > 9 || text.find_first_not_of("0123456789", text.size() - digits) != std::string::npos) {
        return std::nullopt;
    }
    return std::strtol(text.c_str(), nullptr, 10);
}

std::vector<EclItem> ReadItems(const std::string& text) {
    std::vector<EclItem> items;
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = platform::Trim(text.substr(start, end - start));
        start = end + 1;
        ++number;
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;
        if (platform::EqualsIgnoreCase(line, "[item]")) {
            items.push_back(EclItem{number, {}, {}, ""});
            continue;
        }
        if (items.empty() || platform::EqualsIgnoreCase(line, "[file]")) continue;
        EclItem& item = items.back();
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) {
            if (item.Fault.empty()) item.Fault = "line " + std::to_string(number) + " \"" + line.substr(0, 40) +
                                                 "\" is not a key=value line";
            continue;
        }
        const std::string key = Lower(platform::Trim(line.substr(0, equals)));
        const std::string value = platform::Trim(line.substr(equals + 1));
        if (key == "chapter") {
            const std::optional<long> frame =
                value.size() > 1 && value.back() == ':' ? WholeNumber(value.substr(0, value.size() - 1)) : std::nullopt;
            if (!frame || *frame < 0) {
                if (item.Fault.empty()) item.Fault = "line " + std::to_string(number) + " \"" + line +
                                                     "\" is not a chapter line (chapter=FRAME:)";
                continue;
            }
            item.Chapters.push_back(*frame);
            continue;
        }
        item.Keys.emplace_back(key, value);
    }
    return items;
}

// The keys of one item, read with their bounds.
class ItemKeys {
public:
    explicit ItemKeys(const EclItem& item) : item_(item) {}

    const std::string* Find(const char* key) const {
        for (const auto& [name, value] : item_.Keys) {
            if (name == key) return &value;
        }
        return nullptr;
    }
    bool Has(const char* key) const { return Find(key) != nullptr; }

    std::string Text(const char* key) const {
        const std::string* value = Find(key);
        if (value == nullptr || value->empty()) throw Error(std::string("it has no \"") + key + "=\" line");
        return *value;
    }
    long Number(const char* key, long lowest, long highest) const {
        const std::string* value = Find(key);
        if (value == nullptr) throw Error(std::string("it has no \"") + key + "=\" line");
        const std::optional<long> number = WholeNumber(*value);
        if (!number || *number < lowest || *number > highest) {
            throw Error(std::string("\"") + key + "=" + value->substr(0, 20) + "\" is not a whole number from " +
                        std::to_string(lowest) + " to " + std::to_string(highest));
        }
        return *number;
    }
    long Number(const char* key, long lowest, long highest, long absent) const {
        return Has(key) ? Number(key, lowest, highest) : absent;
    }
    bool Flag(const char* key) const { return Number(key, 0, 1, 0) == 1; }

private:
    const EclItem& item_;
};

EclDialect DialectOf(const ItemKeys& keys) {
    if (keys.Has("ve_exec_mode")) return EclDialect::Ecl27;
    if (keys.Has("vmode")) return EclDialect::Ecl25;
    if (keys.Has("is_pal")) return EclDialect::EclBasic;
    if (keys.Has("video_type")) return keys.Has("uscc") ? EclDialect::Ecl267 : EclDialect::Ecl266;
    throw Error("it names no encoding mode (no \"ve_exec_mode=\", \"vmode=\" or \"video_type=\" line)");
}

// The mode key's value as a rate control, by the dialect's table above.
RateControl ModeOf(EclDialect dialect, const ItemKeys& keys) {
    const char* key = dialect == EclDialect::Ecl27   ? "ve_exec_mode"
                      : dialect == EclDialect::Ecl25 ? "vmode"
                                                     : "video_type";
    const long mode = keys.Number(key, 0, 99);
    struct ModeRow {
        long Constant, OnePass, MultiPass;
    };
    const bool early = dialect == EclDialect::Ecl25 || dialect == EclDialect::Ecl27;
    const ModeRow row = early ? ModeRow{1, 0, 2} : ModeRow{1, 2, 4};
    if (dialect == EclDialect::EclBasic) {
        // One frame is coded at the constant rate (2); the Basic list has no one-pass quality.
        if (mode == 1 || mode == 2) return RateControl::Constant;
        if (mode == 8) return RateControl::MultiPass;
    } else {
        if (mode == row.Constant) return RateControl::Constant;
        if (mode == row.OnePass) return RateControl::OnePassQuality;
        if (mode == row.MultiPass) return RateControl::MultiPass;
    }
    throw Error(std::string("\"") + key + "=" + std::to_string(mode) + "\" is not an encoding mode of this list");
}

int DcPrecisionOf(EclDialect dialect, const ItemKeys& keys) {
    if (dialect == EclDialect::Ecl27) {
        if (!keys.Has("intra_dc_precision_9_max") && !keys.Has("intra_dc_precision_10_max")) return 0;
        const long nine = keys.Number("intra_dc_precision_9_max", 0, 999);
        const long ten = keys.Number("intra_dc_precision_10_max", 0, 999);
        if (nine == 1 && ten == 1) return 8;
        if (nine == 113 && ten == 1) return 9;
        if (nine == 113 && ten == 113) return 10;
        throw Error("the intra DC precision pair " + std::to_string(nine) + ", " + std::to_string(ten) +
                    " is not one of 1,1 113,1 113,113");
    }
    const long value = keys.Number("intra_dc_prec", dialect == EclDialect::Ecl25 ? -1 : 0, 3, -1);
    return value < 0 ? 0 : static_cast<int>(value + 8);
}

EncodeRequest RequestOf(const EclItem& item) {
    if (!item.Fault.empty()) throw Error(item.Fault);
    const ItemKeys keys(item);
    const EclDialect dialect = DialectOf(keys);
    EncodeRequest request;
    if (!keys.Has("name") && !keys.Has("title")) throw Error("it has no \"name=\" or \"title=\" line");
    request.Script = keys.Has("name") ? keys.Text("name") : keys.Text("title");
    request.Output = keys.Text("vid_file0");
    request.Mode = ModeOf(dialect, keys);
    switch (request.Mode) {
        case RateControl::Constant:
            request.Bitrate = keys.Number("cbr_brate", 1, 15000);
            break;
        case RateControl::OnePassQuality: {
            const long quality = keys.Number("opv_q_factor", 1, 100);
            request.Quantiser = static_cast<int>(31 - ((quality - 1) * 30 + 49) / 99);
            request.MaxBitrate = keys.Number("opv_brate_max", 1, 15000);
            break;
        }
        case RateControl::OnePassAverage:
        case RateControl::MultiPass:
            request.Bitrate = keys.Number("vbr_brate_avg", 1, 15000);
            request.MaxBitrate = keys.Number("vbr_brate_max", request.Bitrate, 15000);
            break;
    }
    request.Height = static_cast<std::int32_t>(keys.Number("height", 2, 1152));
    request.Rate = MpegFrameRate(keys.Number("frame_rate_idx", 1, 8));
    const long aspect = keys.Number("aspect_ratio", 2, 3);
    request.Aspect = aspect == 2 ? "4:3" : "16:9";
    const long m = keys.Number("gop_m", 1, 8);
    request.GopLength = static_cast<int>(m * keys.Number("gop_nm", 1, 30));
    request.BFrames = static_cast<int>(m - 1);
    request.ClosedGops = keys.Flag("all_closed_gop");
    const bool topKey = dialect == EclDialect::Ecl25 || dialect == EclDialect::Ecl266;
    request.TopFieldFirst = keys.Number(topKey ? "top_first" : "offset_line", 0, 1, 0) == 0;
    request.DcPrecision = DcPrecisionOf(dialect, keys);
    request.Progressive = keys.Flag("progressive");
    request.AlternateScan = keys.Flag("alternate_scan");
    keys.Number("qmat_idx", 0, 4, 0);  // every set encodes with the MPEG default matrices
    request.EncodeFirst = keys.Number("encode_first", 0, 99999999);
    request.EncodeLast = keys.Number("encode_last", 0, 99999999);
    request.Chapters = item.Chapters;
    return request;
}

struct ListArguments {
    std::string List;
};

// -ecl "LIST" -batch, with -nocancel and -hideshutdown allowed.
ListArguments ParseListArguments(const Invocation& call) {
    ListArguments result;
    bool batch = false;
    for (std::size_t i = 0; i < call.Arguments.size(); ++i) {
        const std::string& argument = call.Arguments[i];
        if (platform::EqualsIgnoreCase(argument, "-ecl")) {
            if (i + 1 >= call.Arguments.size()) throw Error(call.Tool + ": -ecl needs the list's path");
            result.List = call.Arguments[++i];
        } else if (platform::EqualsIgnoreCase(argument, "-batch")) {
            batch = true;
        } else if (!platform::EqualsIgnoreCase(argument, "-nocancel") &&
                   !platform::EqualsIgnoreCase(argument, "-hideshutdown")) {
            throw Error(call.Tool + ": \"" + argument +
                        "\" is not an option of this tool; expected -ecl \"LIST\" -batch");
        }
    }
    if (result.List.empty() || !batch) throw Error(call.Tool + ": expected -ecl \"LIST\" -batch");
    return result;
}

int EncodeList(const Invocation& call, const std::string& list) {
    std::string text;
    try {
        text = ReadJobFile(call, list);
    } catch (const Error& error) {
        throw Error(call.Tool + ": cannot read the encoder control list \"" + list + "\": " + error.what());
    }
    const std::vector<EclItem> items = ReadItems(text);
    if (items.empty()) throw Error(call.Tool + ": the encoder control list \"" + list + "\" holds no [item]");
    return RunItems(
        call, items.size(),
        [&](std::size_t index) {
            const EncodeRequest request = RequestOf(items[index]);
            EncodeScript(call, request);
            return request.Output;
        },
        [&](std::size_t index) {
            return "item " + std::to_string(index + 1) + " (line " + std::to_string(items[index].Line) + ") of \"" +
                   list + "\"";
        });
}

}  // namespace

int RunCce(const Invocation& call) { return EncodeList(call, ParseListArguments(call).List); }

int RunEclCce(const Invocation& call) {
    const std::string list = ParseListArguments(call).List;
    if (!platform::PathSpace::IsDrivePath(call.Program)) {
        std::cerr << call.Tool << ": the folder this program runs from is not known ("
                  << (call.Program.empty() ? "no command line was passed in $KESTROVA_COMMAND_LINE"
                                           : "its command line names it as \"" + call.Program + "\"")
                  << "), so there is no EclCCE.ini to name the CCE program; nothing is encoded\n";
        return 1;
    }
    const std::string ini = call.Program.substr(0, call.Program.find_last_of('\\')) + "\\EclCCE.ini";
    std::string cce;
    try {
        for (const std::string& line : platform::FileSystem(call.Paths).ReadLines(ini)) {
            const std::string trimmed = platform::Trim(line);
            if (platform::StartsWithIgnoreCase(trimmed, "CCE=")) cce = platform::Trim(trimmed.substr(4));
        }
    } catch (const Error& error) {
        std::cerr << call.Tool << ": cannot read \"" << ini << "\", which names the CCE program: " << error.what()
                  << "; nothing is encoded\n";
        return 1;
    }
    bool present = false;
    try {
        present = !cce.empty() && platform::FileSystem(call.Paths).FileExists(cce);
    } catch (const Error&) {
        // A drive that is not mapped holds no file.
    }
    if (!present && (cce.empty() || FindOutsideTool(platform::FileNameOf(cce)) == nullptr)) {
        std::cerr << call.Tool << ": \"" << ini << "\" names as the CCE program \"" << cce
                  << "\", which is neither a file nor a tool this system knows; nothing is encoded\n";
        return 1;
    }
    return EncodeList(call, list);
}

}  // namespace kestrova::standin
