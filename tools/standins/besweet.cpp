// "BeSweet": one audio file converted as the command line's switch groups
// say, each a name and its switches in parentheses:
//
//   -core( -input "SRC" -output "DST" [-2ch|-6chwav] )
//   -ssrc( --rate 48000 )
//   -azid( -s dplii -d 2/0 -L 0db -f1 )
//   -ota( -r A B -d N -e M -fs RATE )
//   -ac3enc( -b N )
//   -profile( ~~~~~ Default Profile ~~~~~ )
//
// The line is read as written: a double quote opens a run, kept whole, that
// the next one closes; "(" and ")" outside such a run stand alone, so
// "-ota(" and "-ota (" are the same. Names and switches are matched
// without regard to case. A group or switch not listed here fails the call.
//
//   Switch            Conversion
//   ----------------- --------------------------------------------------------
//   -input, -output   the source (AC3, MP2, WAV: what ffmpeg decodes) and
//                     the result
//   -2ch, -6chwav     stereo (a fold-down of more channels), or 6 channels
//                     (5.1, side surrounds); neither: the azid -d layout if
//                     given, else the source's channels
//   --rate, -fs       the sample rate of the result; 48000 when not given
//   azid -s           the fold-down into stereo: dplii Pro Logic II, dpl Pro
//                     Logic, stereo a plain one
//   azid -d 2/0       stereo when the core names no channels (2/0 is the
//                     only mode read)
//   azid -L XdB       the LFE channel's level in the fold-down (absent: left out)
//   azid -fN          a decoder choice with no effect on what is converted here
//   ota -r A B        the speed of play times B/A with the pitch kept: the
//                     result lasts A/B of the source (atempo)
//   ota -d N, -e M    N ms of silence before the sound and M ms after it,
//                     in the time of the result
//   ac3enc -b N       an AC3 stream at N kbit/s, whatever the output's name
//                     says; without -ac3enc a 16-bit WAV file
//   -profile          only the default profile, which changes nothing
#include <cmath>
#include <cstdlib>
#include <vector>

#include "audio.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova::standin {

namespace {

struct Token {
    std::string Text;
    bool Quoted = false;
};

bool IsParenthesis(const Token& token, char which) {
    return !token.Quoted && token.Text.size() == 1 && token.Text[0] == which;
}

std::vector<Token> Tokenise(const std::string& line) {
    std::vector<Token> tokens;
    std::string word;
    const auto flush = [&] {
        if (!word.empty()) tokens.push_back({word, false});
        word.clear();
    };
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (c == '"') {
            flush();
            const std::size_t close = line.find('"', at + 1);
            if (close == std::string::npos) {
                throw Error("BeSweet: the double quote at column " + std::to_string(at + 1) +
                            " of the command line is not closed");
            }
            tokens.push_back({line.substr(at + 1, close - at - 1), true});
            at = close;
        } else if (c == ' ' || c == '\t') {
            flush();
        } else if (c == '(' || c == ')') {
            flush();
            tokens.push_back({std::string(1, c), false});
        } else {
            word += c;
        }
    }
    flush();
    return tokens;
}

struct Group {
    std::string Name;  // as written: "-core"
    std::vector<Token> Items;
};

std::vector<Group> SwitchGroups(const std::vector<Token>& tokens) {
    std::vector<Group> groups;
    for (std::size_t at = 0; at < tokens.size();) {
        const Token& name = tokens[at++];
        if (name.Quoted || name.Text.empty() || name.Text[0] != '-') {
            throw Error("BeSweet: \"" + name.Text + "\" stands where a switch group such as -core( ... ) should begin");
        }
        if (at >= tokens.size() || !IsParenthesis(tokens[at], '(')) {
            throw Error("BeSweet: the switch group " + name.Text + " has no \"(\" after it");
        }
        Group group{name.Text, {}};
        for (++at; at < tokens.size() && !IsParenthesis(tokens[at], ')'); ++at) {
            if (IsParenthesis(tokens[at], '(')) throw Error("BeSweet: a \"(\" inside " + name.Text + "( ... )");
            group.Items.push_back(tokens[at]);
        }
        if (at >= tokens.size()) throw Error("BeSweet: the switch group " + name.Text + "( is not closed by \")\"");
        ++at;
        groups.push_back(std::move(group));
    }
    return groups;
}

// Reads the switches of one group in order.
class GroupReader {
public:
    explicit GroupReader(const Group& group) : group_(group) {}

    bool AtEnd() const { return next_ >= group_.Items.size(); }
    std::string Switch() {
        current_ = group_.Items[next_++].Text;
        return platform::ToUpperAscii(current_);
    }
    const std::string& Value() {
        if (AtEnd()) throw Error("BeSweet: " + current_ + " in " + group_.Name + "( ... ) needs a value");
        return group_.Items[next_++].Text;
    }
    long Number() {
        const std::string what = "value of " + current_ + " in " + group_.Name + "( ... )";
        return ParseNumber(Value(), what.c_str());
    }
    Error Unknown() const {
        return Error("BeSweet: unknown switch \"" + current_ + "\" in " + group_.Name + "( ... ); nothing is converted");
    }

private:
    const Group& group_;
    std::size_t next_ = 0;
    std::string current_;
};

// "0db", "-3dB": the gain in decibels as a factor.
double DecibelGain(const std::string& text) {
    const std::string upper = platform::ToUpperAscii(text);
    char* end = nullptr;
    const double decibels = std::strtod(upper.c_str(), &end);
    if (upper.size() < 3 || upper.compare(upper.size() - 2, 2, "DB") != 0 || end != upper.c_str() + upper.size() - 2) {
        throw Error("BeSweet: the level \"" + text + "\" of -azid( -L ) is not a number of decibels as 0db or -3db");
    }
    return std::pow(10.0, decibels / 20.0);
}

AudioConversion ReadBeSweetLine(const Invocation& call) {
    AudioConversion conversion;
    std::string coreLayout;
    std::string azidLayout;
    for (const Group& group : SwitchGroups(Tokenise(call.ArgumentText))) {
        const std::string name = platform::ToUpperAscii(group.Name);
        GroupReader reader(group);
        if (name == "-PROFILE") {
            std::string profile;
            for (const Token& item : group.Items) profile += (profile.empty() ? "" : " ") + item.Text;
            if (profile != "~~~~~ Default Profile ~~~~~") {
                throw Error("BeSweet: there is no profile \"" + profile +
                            "\"; only \"~~~~~ Default Profile ~~~~~\" is known");
            }
            continue;
        }
        if (name != "-CORE" && name != "-SSRC" && name != "-OTA" && name != "-AZID" && name != "-AC3ENC") {
            throw Error("BeSweet: unknown switch group \"" + group.Name + "\"; nothing is converted");
        }
        while (!reader.AtEnd()) {
            const std::string item = reader.Switch();
            if (name == "-CORE" && item == "-INPUT") {
                conversion.Input = reader.Value();
            } else if (name == "-CORE" && item == "-OUTPUT") {
                conversion.Output = reader.Value();
            } else if (name == "-CORE" && (item == "-2CH" || item == "-6CHWAV")) {
                coreLayout = item == "-2CH" ? "stereo" : "5.1(side)";
            } else if ((name == "-SSRC" && item == "--RATE") || (name == "-OTA" && item == "-FS")) {
                conversion.SampleRate = reader.Number();
                if (conversion.SampleRate < 8000 || conversion.SampleRate > 192000) {
                    throw Error("BeSweet: the sample rate " + std::to_string(conversion.SampleRate) +
                                " is outside 8000 to 192000");
                }
            } else if (name == "-OTA" && item == "-R") {
                conversion.SpeedDivisor = reader.Number();
                conversion.SpeedMultiplier = reader.Number();
                if (conversion.SpeedDivisor == 0 || conversion.SpeedMultiplier == 0) {
                    throw Error("BeSweet: -ota( -r A B ) needs two rates above 0");
                }
            } else if (name == "-OTA" && item == "-D") {
                conversion.LeadSilenceMs = reader.Number();
            } else if (name == "-OTA" && item == "-E") {
                conversion.TrailSilenceMs = reader.Number();
            } else if (name == "-AZID" && item == "-S") {
                const std::string mode = platform::ToUpperAscii(reader.Value());
                if (mode == "DPLII") {
                    conversion.MatrixEncoding = "dplii";
                } else if (mode == "DPL") {
                    conversion.MatrixEncoding = "dolby";
                } else if (mode == "STEREO") {
                    conversion.MatrixEncoding = "none";
                } else {
                    throw Error("BeSweet: the fold-down -azid( -s " + mode + " ) is not dplii, dpl or stereo");
                }
            } else if (name == "-AZID" && item == "-D") {
                if (reader.Value() != "2/0") throw Error("BeSweet: -azid( -d ) reads only the output mode 2/0");
                azidLayout = "stereo";
            } else if (name == "-AZID" && item == "-L") {
                conversion.LfeMixLevel = DecibelGain(reader.Value());
            } else if (name == "-AZID" && item.size() > 2 && item.compare(0, 2, "-F") == 0 &&
                       item.find_first_not_of("0123456789", 2) == std::string::npos) {
                // A decoder choice that does not change the result here.
            } else if (name == "-AC3ENC" && item == "-B") {
                conversion.Ac3Kbps = Ac3Bitrate(reader.Number(), "BeSweet: -ac3enc( -b )");
            } else {
                throw reader.Unknown();
            }
        }
    }
    if (conversion.Input.empty() || conversion.Output.empty()) {
        throw Error("BeSweet: expected at least -core( -input \"SOURCE\" -output \"TARGET\" )");
    }
    conversion.Layout = !coreLayout.empty() ? coreLayout : azidLayout;
    return conversion;
}

}  // namespace

int RunBeSweet(const Invocation& call) {
    const AudioConversion conversion = ReadBeSweetLine(call);
    return RunItems(
        call, 1,
        [&](std::size_t) {
            ConvertAudio(call, conversion);
            return conversion.Output;
        },
        [&](std::size_t) { return "\"" + conversion.Input + "\""; });
}

}  // namespace kestrova::standin
