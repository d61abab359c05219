// "revpulldown": the flags of an MPEG-2 video stream set as an authoring
// engine wants them, by the project's stream patcher. Called as
//   INPUT OUTPUT [switches]
// with the switches in any order, matched without regard to case:
//
//   Switch                      Effect
//   --------------------------- ------------------------------------------------
//   -framerate R                frame rate code of R (23.976 24 25 29.97 30 50
//                               59.94 60) in every sequence header
//   -aspect_ratio A             aspect code of A (1:1 4:3 16:9 2.21:1)
//   -drop_frame true|false      drop_frame_flag of every group; the group time
//                               codes are counted again at the output rate
//   -nopulldown                 the pictures' field flags stay as they are
//   -3_2                        soft pulldown of a 23.976 stream, first frame
//                               three fields
//   -ps_add / -ps_remove        pan-scan display extensions added / dropped
//   -ignoresequenceendcode      sequence end codes inside the stream dropped
//   -novif                      accepted; no .vif side file is ever written
//
// A 23.976 stream always leaves at 29.97 through soft pulldown (2:3, first
// frame two fields; 3:2 with -3_2), unless it is sent to 25 or kept at its
// rate by -nopulldown alone: DVD-Video has no 23.976 rate, and a rate code
// changed without the repeated fields would play the film a fifth too
// fast. With -framerate 25 it is only relabelled, as film is shown on PAL.
//
// The output is written under a temporary name and renamed when whole, so
// a failed run leaves no OUTPUT for the job to take as done.
#include <optional>
#include <string>

#include "assets/m2v_header.h"
#include "frameserver/mpeg_header.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/text.h"
#include "standin.h"
#include "video/m2v_patcher.h"

namespace kestrova::standin {

namespace {

constexpr std::uint8_t kFilmRateCode = 1;   // 23.976
constexpr std::uint8_t kNtscRateCode = 4;   // 29.97

std::uint8_t FrameRateCodeOf(const std::string& text) {
    static const char* const kRates[] = {"23.976", "24", "25", "29.97", "30", "50", "59.94", "60"};
    for (std::uint8_t code = 1; code <= 8; ++code) {
        if (text == kRates[code - 1]) return code;
    }
    throw Error("revpulldown: -framerate takes 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60, not \"" + text + "\"");
}

std::uint8_t AspectCodeOf(const std::string& text) {
    static const char* const kAspects[] = {"1:1", "4:3", "16:9", "2.21:1"};
    for (std::uint8_t code = 1; code <= 4; ++code) {
        if (text == kAspects[code - 1]) return code;
    }
    throw Error("revpulldown: -aspect_ratio takes 1:1, 4:3, 16:9 or 2.21:1, not \"" + text + "\"");
}

struct Switches {
    M2vPatch Patch;
    bool NoPulldown = false;
    bool ThreeTwo = false;
};

Switches ReadSwitches(const std::vector<std::string>& arguments) {
    Switches switches;
    for (std::size_t at = 2; at < arguments.size(); ++at) {
        const std::string name = platform::ToUpperAscii(arguments[at]);
        const auto value = [&]() -> const std::string& {
            if (at + 1 >= arguments.size()) throw Error("revpulldown: the switch " + arguments[at] + " needs a value");
            return arguments[++at];
        };
        if (name == "-FRAMERATE") {
            switches.Patch.FrameRateCode = FrameRateCodeOf(value());
        } else if (name == "-ASPECT_RATIO") {
            switches.Patch.AspectRatioCode = AspectCodeOf(value());
        } else if (name == "-DROP_FRAME") {
            const std::string flag = platform::ToUpperAscii(value());
            if (flag != "TRUE" && flag != "FALSE") {
                throw Error("revpulldown: -drop_frame takes true or false, not \"" + arguments[at] + "\"");
            }
            switches.Patch.DropFrame = flag == "TRUE";
        } else if (name == "-NOPULLDOWN") {
            switches.NoPulldown = true;
        } else if (name == "-3_2") {
            switches.ThreeTwo = true;
        } else if (name == "-PS_ADD") {
            switches.Patch.PanScan = PanScanChange::Add;
        } else if (name == "-PS_REMOVE") {
            switches.Patch.PanScan = PanScanChange::Remove;
        } else if (name == "-IGNORESEQUENCEENDCODE") {
            switches.Patch.IgnoreSequenceEndCode = true;
        } else if (name != "-NOVIF") {
            throw Error("revpulldown: unknown switch \"" + arguments[at] + "\"");
        }
    }
    if (switches.NoPulldown && switches.ThreeTwo) throw Error("revpulldown: -nopulldown and -3_2 exclude each other");
    return switches;
}

}  // namespace

int RunRevPulldown(const Invocation& call) {
    if (call.Arguments.size() < 2) throw Error("revpulldown: expected INPUT OUTPUT [switches]");
    Switches switches = ReadSwitches(call.Arguments);
    const platform::FileSystem files(call.Paths);
    const std::string& input = call.Arguments[0];
    const std::optional<SequenceHeader> header = FindFirstSequenceHeader(files, input, kSequenceHeaderSearchBytes);
    const bool film = header && header->FrameRateCode == kFilmRateCode;

    M2vPatch& patch = switches.Patch;
    if (switches.ThreeTwo) {
        if (!film) throw Error("revpulldown: -3_2 needs a 23.976 stream; \"" + input + "\" is not one");
        patch.Pulldown = PulldownChange::ThreeTwo;
    } else if (film && (!switches.NoPulldown || patch.FrameRateCode == kNtscRateCode) &&
               patch.FrameRateCode.value_or(kNtscRateCode) == kNtscRateCode) {
        patch.Pulldown = PulldownChange::TwoThree;
    }
    if (patch.Pulldown != PulldownChange::Keep) patch.FrameRateCode.reset();  // the pulldown makes 29.97
    PatchM2vFile(files, input, call.Arguments[1], patch);
    return 0;
}

}  // namespace kestrova::standin
