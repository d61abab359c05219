// "SoftEncode" (Sftencdd.exe): WAV to AC3, called as
//   -A -P INI -o OUT -L FILE -R FILE [-C FILE -l FILE -r FILE -e FILE] -N
// A channel input's file may be glued to its switch ("-CK:\a.wav"), and the
// line is read as written (see SplitArgumentText). Switches are matched
// with their case: -L and -R are the front channels, -l and -r the
// surrounds, -C the centre and -e the LFE. -A and -N ask for a run without
// dialogs and change nothing here.
//
// The [Parameters] section of INI says how to encode:
//
//   Key          Encoding
//   ------------ --------------------------------------------------------------
//   DataRate     the AC3 bitrate in kbit/s
//   CodeMode     2 (2/0): stereo from -L -R; 7 (3/2): 5.0 from -L -R -C -l -r
//   UseLFE       On: an LFE channel from -e as well (2.1 or 5.1)
//   SampleRate   0: 48 kHz, the rate of every result
//   the others   level, flag and filter choices with no effect here
//
// The job names one WAV file for every channel; its channels are mixed to
// the layout the mode asks for (ffmpeg's own matrix). Inputs naming
// different files are refused, as is any input that is not a WAV file:
// such a call leaves no output and says why.
#include <vector>

#include "audio.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kestrova::standin {

namespace {

struct SoftEncodeCall {
    std::string Ini;
    std::string Output;
    std::vector<std::pair<char, std::string>> Channels;  // switch letter, file
};

SoftEncodeCall ReadSoftEncodeLine(const Invocation& call) {
    SoftEncodeCall line;
    const std::vector<std::string> tokens = SplitArgumentText(call);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string& token = tokens[i];
        if (token == "-A" || token == "-N") continue;
        const std::string letters = "PoLRClre";
        if (token.size() < 2 || token[0] != '-' || letters.find(token[1]) == std::string::npos) {
            throw Error("SoftEncode: unknown switch \"" + token + "\"; nothing is encoded");
        }
        std::string value = token.substr(2);
        if (value.empty()) {
            if (i + 1 >= tokens.size()) throw Error("SoftEncode: " + token + " needs a file");
            value = tokens[++i];
        }
        if (token[1] == 'P') {
            line.Ini = value;
        } else if (token[1] == 'o') {
            line.Output = value;
        } else {
            line.Channels.emplace_back(token[1], value);
        }
    }
    if (line.Ini.empty() || line.Output.empty()) {
        throw Error("SoftEncode: expected at least -P SETTINGS.ini -o OUTPUT -L FILE -R FILE");
    }
    return line;
}

// The [Parameters] keys of the settings file, upper case, and their values.
std::vector<std::pair<std::string, std::string>> ReadParameters(const Invocation& call, const std::string& ini) {
    std::vector<std::pair<std::string, std::string>> parameters;
    bool inSection = false;
    std::vector<std::string> lines;
    try {
        lines = platform::FileSystem(call.Paths).ReadLines(ini);
    } catch (const Error& error) {
        throw Error("Cannot read the settings file \"" + ini + "\": " + error.what());
    }
    for (const std::string& raw : lines) {
        const std::string line = platform::Trim(raw);
        if (!line.empty() && line.front() == '[') {
            inSection = platform::EqualsIgnoreCase(line, "[Parameters]");
        } else if (const std::size_t equals = line.find('='); inSection && equals != std::string::npos) {
            parameters.emplace_back(platform::ToUpperAscii(platform::Trim(line.substr(0, equals))),
                                    platform::Trim(line.substr(equals + 1)));
        }
    }
    return parameters;
}

AudioConversion PlanEncode(const Invocation& call, const SoftEncodeCall& line) {
    const auto parameters = ReadParameters(call, line.Ini);
    const auto value = [&](const char* key, const char* otherwise) -> std::string {
        for (const auto& [name, text] : parameters) {
            if (name == platform::ToUpperAscii(key)) return text;
        }
        if (otherwise != nullptr) return otherwise;
        throw Error("The settings file \"" + line.Ini + "\" has no " + key + " in [Parameters]");
    };
    const auto number = [&](const char* key, const char* otherwise) {
        const std::string what = std::string(key) + " of \"" + line.Ini + "\"";
        return ParseNumber(value(key, otherwise), what.c_str());
    };
    AudioConversion conversion;
    conversion.Output = line.Output;
    conversion.Ac3Kbps = Ac3Bitrate(number("DataRate", nullptr), "DataRate of \"" + line.Ini + "\"");
    const long rate = number("SampleRate", "0");
    if (rate != 0 && rate != 48000) {
        throw Error("SampleRate=" + std::to_string(rate) + " of \"" + line.Ini +
                    "\" is not 0 (48 kHz), the only rate encoded here");
    }
    const std::string lfe = value("UseLFE", "Off");
    if (!platform::EqualsIgnoreCase(lfe, "On") && !platform::EqualsIgnoreCase(lfe, "Off")) {
        throw Error("UseLFE=" + lfe + " of \"" + line.Ini + "\" is not On or Off");
    }
    const bool withLfe = platform::EqualsIgnoreCase(lfe, "On");
    const long mode = number("CodeMode", nullptr);
    std::string needed;
    if (mode == 2) {
        conversion.Layout = withLfe ? "2.1" : "stereo";
        needed = "LR";
    } else if (mode == 7) {
        conversion.Layout = withLfe ? "5.1(side)" : "5.0(side)";
        needed = "LRClr";
    } else {
        throw Error("CodeMode=" + std::to_string(mode) + " of \"" + line.Ini +
                    "\" is not 2 (2/0) or 7 (3/2), the modes encoded here");
    }
    if (withLfe) needed += 'e';
    for (const char letter : needed) {
        bool given = false;
        for (const auto& [channel, file] : line.Channels) given = given || channel == letter;
        if (!given) {
            throw Error("CodeMode=" + std::to_string(mode) + (withLfe ? " with UseLFE=On" : "") +
                        " of \"" + line.Ini + "\" needs the channel input -" + letter + ", which the line lacks");
        }
    }
    for (const auto& [channel, file] : line.Channels) {
        if (!platform::EqualsIgnoreCase(file, line.Channels.front().second)) {
            throw Error(std::string("The channel inputs name different files (\"") +
                        line.Channels.front().second + "\" and \"" + file +
                        "\"); here every channel must come from one WAV file");
        }
    }
    conversion.Input = line.Channels.front().second;
    return conversion;
}

}  // namespace

int RunSoftEncode(const Invocation& call) {
    const SoftEncodeCall line = ReadSoftEncodeLine(call);
    return RunItems(
        call, 1,
        [&](std::size_t) {
            const platform::FileSystem files(call.Paths);
            files.DeleteFile(line.Output);
            const AudioConversion conversion = PlanEncode(call, line);
            if (!files.FileExists(conversion.Input)) throw Error("there is no WAV file \"" + conversion.Input + "\"");
            if (!IsWavFile(call, conversion.Input)) {
                throw Error("\"" + conversion.Input + "\" is not a WAV file (it does not begin with RIFF and WAVE); " +
                            "SoftEncode reads WAV files only");
            }
            ConvertAudio(call, conversion);
            return conversion.Output;
        },
        [&](std::size_t) { return "\"" + line.Output + "\""; });
}

}  // namespace kestrova::standin
