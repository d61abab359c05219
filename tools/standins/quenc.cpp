// "QuEnc": one Avisynth script to one MPEG-2 elementary stream, all said on
// the command line:
//   -i "AVS" -o "OUT" -tff|-bff -maxbitrate N -interlaced|-nointerlaced
//   -b N -1|-2 -cgop|-nocgop [-aspectratio 4:3|16:9] -tff|-bff -dc N
//   -gopsize N -extreme|-noextreme -trell|-notrell -mpeg2mux nomux
//   -maxbframes N -vbr -mpeg2 -hq -scene -auto -close
// The line is read as written: blanks separate switches, a double quote
// opens or closes a run in which blanks are kept, and a backslash is just a
// character. A switch given twice (the field order is) counts as the last.
//
//   Switch            Encoding
//   ----------------- --------------------------------------------------------
//   -vbr -1           one pass at -b on average, -maxbitrate the ceiling
//   -vbr -2           two passes at -b on average, -maxbitrate the ceiling
//   no -vbr           constant rate -b
//   -maxbitrate       9800 when it is not given
//   -interlaced       interlaced coding; -nointerlaced progressive (interlaced when neither)
//   -tff / -bff       field order, top first when neither
//   -gopsize N        group length N, -maxbframes B pictures (2 when not given)
//   -cgop             closed groups
//   -dc N             DC precision N bits (8 when not given)
//   -aspectratio      4:3 when not given
//   -extreme -trell -hq -scene -mpeg2 -mpeg2mux nomux -auto -close:
//                     search and packaging choices with no effect on what is
//                     encoded here
// Picture height and rate are the script's.
#include <vector>

#include "encoding.h"
#include "platform/error.h"

namespace kestrova::standin {

namespace {

EncodeRequest ParseQuEncLine(const Invocation& call) {
    EncodeRequest request;
    request.MaxBitrate = 9800;
    request.DcPrecision = 8;
    bool vbr = false;
    int passes = 1;
    const std::vector<std::string> tokens = SplitArgumentText(call);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string name = platform::ToUpperAscii(tokens[i]);
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= tokens.size()) throw Error("QuEnc: " + tokens[i] + " needs a value");
            return tokens[++i];
        };
        const auto number = [&](long lowest, long highest) {
            const std::string what = "value of " + tokens[i];
            const long result = ParseNumber(value(), what.c_str());
            if (result < lowest || result > highest) {
                throw Error("QuEnc: " + tokens[i - 1] + " " + tokens[i] + " is out of range; expected " +
                            std::to_string(lowest) + " to " + std::to_string(highest));
            }
            return result;
        };
        if (name == "-I") {
            request.Script = value();
        } else if (name == "-O") {
            request.Output = value();
        } else if (name == "-TFF" || name == "-BFF") {
            request.TopFieldFirst = name == "-TFF";
        } else if (name == "-INTERLACED" || name == "-NOINTERLACED") {
            request.Progressive = name == "-NOINTERLACED";
        } else if (name == "-MAXBITRATE") {
            request.MaxBitrate = number(1, 15000);
        } else if (name == "-B") {
            request.Bitrate = number(1, 15000);
        } else if (name == "-1" || name == "-2") {
            passes = name == "-1" ? 1 : 2;
        } else if (name == "-CGOP" || name == "-NOCGOP") {
            request.ClosedGops = name == "-CGOP";
        } else if (name == "-ASPECTRATIO") {
            request.Aspect = value();
            if (request.Aspect != "4:3" && request.Aspect != "16:9") {
                throw Error("QuEnc: -aspectratio " + request.Aspect + " is not 4:3 or 16:9");
            }
        } else if (name == "-DC") {
            request.DcPrecision = static_cast<int>(number(8, 11));
        } else if (name == "-GOPSIZE") {
            request.GopLength = static_cast<int>(number(1, 99));
        } else if (name == "-MAXBFRAMES") {
            request.BFrames = static_cast<int>(number(0, 4));
        } else if (name == "-MPEG2MUX") {
            value();
        } else if (name == "-VBR") {
            vbr = true;
        } else if (name != "-EXTREME" && name != "-NOEXTREME" && name != "-TRELL" && name != "-NOTRELL" &&
                   name != "-MPEG2" && name != "-HQ" && name != "-SCENE" && name != "-AUTO" && name != "-CLOSE") {
            throw Error("QuEnc: \"" + tokens[i] + "\" is not a switch of this tool");
        }
    }
    if (request.Script.empty() || request.Output.empty() || request.Bitrate == 0) {
        throw Error("QuEnc: expected at least -i \"SCRIPT\" -o \"OUTPUT\" -b BITRATE");
    }
    request.Mode = !vbr ? RateControl::Constant : passes == 1 ? RateControl::OnePassAverage : RateControl::MultiPass;
    if (request.MaxBitrate < request.Bitrate) request.MaxBitrate = request.Bitrate;
    return request;
}

}  // namespace

int RunQuEnc(const Invocation& call) {
    const EncodeRequest request = ParseQuEncLine(call);
    return RunItems(
        call, 1,
        [&](std::size_t) {
            EncodeScript(call, request);
            return request.Output;
        },
        [&](std::size_t) { return "\"" + request.Script + "\""; });
}

}  // namespace kestrova::standin
