// Lists made beside the command decoder: GETUOP, the names of a
// user-operation mask, and GetTitleCommands, the commands that reach a title.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "dvd/vm_commands.h"
#include "job/context.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {
namespace {

constexpr const char* kModule = "VMCommands";

// The number behind a marker in the text, held to the range of a 16-bit
// field; 0 when the marker is missing.
std::int16_t NumberBehind(const std::string& text, const std::string& marker) {
    const std::size_t at = text.find(marker);
    if (at == std::string::npos) return 0;
    const std::int64_t number = platform::LeadingWholeNumber(std::string_view(text).substr(at + marker.size()));
    return static_cast<std::int16_t>(std::clamp<std::int64_t>(number, 0, std::numeric_limits<std::int16_t>::max()));
}

const char* const kUserOperations[] = {
    "UOP0  Time_Play(), Time_Search()=Prohibited",
    "UOP1  PTT_Play(), PTT_Search()=Prohibited",
    "UOP2  TitlePlay()=Prohibited",
    "UOP3  Stop()=Prohibited",
    "UOP4  GoUp()=Prohibited",
    "UOP5  Time_Search(), PTT_Search()=Prohibited",
    "UOP6  PrevPG_Search(), TopPG_Search()=Prohibited",
    "UOP7  NextPG_Search()=Prohibited",
    "UOP8  Forward_Scan()=Prohibited",
    "UOP9  Backward_Search()=Prohibited",
    "UOP10  Menu_Call(Title)=Prohibited",
    "UOP11  Menu_Call(Root)=Prohibited",
    "UOP12  Menu_Call(Sub-picture)=Prohibited",
    "UOP13  Menu_Call(Audio)=Prohibited",
    "UOP14  Menu_Call(Angle)=Prohibited",
    "UOP15  Menu_Call(PTT)=Prohibited",
    "UOP16  Resume()=Prohibited",
    "UOP17  Button_Select()=Prohibited",
    "UOP18  Still_Off()=Prohibited",
    "UOP19  Pause_On()=Prohibited",
    "UOP20  Audio_Sream_Change()=Prohibited",
    "UOP21  Sub-picture_Sream_Change()=Prohibited",
    "UOP22  Angle_Change()=Prohibited",
    "UOP23  Karaoke_Audio()=Prohibited",
    "UOP24  Video_Presentation()=Prohibited",
};

// The value of one byte of the mask given as eight binary digits.
std::uint32_t MaskByte(const std::string& text, const char* name) {
    std::uint32_t value = 0;
    bool valid = text.size() == 8;
    for (char digit : text) {
        if (digit != '0' && digit != '1') valid = false;
        value = (value << 1) | (digit == '1' ? 1U : 0U);
    }
    if (!valid) {
        throw Error(std::string("The user operation mask byte ") + name + " is \"" + text +
                    "\"; eight binary digits were expected.");
    }
    return value;
}

}  // namespace

std::vector<std::string> GETUOP(JobContext& job, const std::string& byte0, const std::string& byte1,
                                const std::string& byte2, const std::string& byte3) {
    platform::TraceFrame frame(job.Trace, kModule, "GETUOP");
    const std::uint32_t mask = MaskByte(byte0, "byte0") << 24 | MaskByte(byte1, "byte1") << 16 |
                               MaskByte(byte2, "byte2") << 8 | MaskByte(byte3, "byte3");
    job.UOPFound = 0;
    std::vector<std::string> names;
    // Bits 28 to 31 are reserved; 25 to 27 count as found but have no name.
    for (int bit = 0; bit < 28; ++bit) {
        if ((mask >> bit & 1U) == 0) continue;
        job.UOPFound = -1;
        names.emplace_back(bit <= 24 ? kUserOperations[bit] : "");
    }
    return names;
}

void GetTitleCommands(JobContext& job, const std::string& text, int titleSet) {
    platform::TraceFrame frame(job.Trace, kModule, "GetTitleCommands");
    TempCommands_Properties entry;
    entry.Command = text;
    entry.VTS = static_cast<std::int16_t>(titleSet);
    if (text.find("JumpVTS_TT") != std::string::npos) {
        entry.Title = NumberBehind(text, "JumpVTS_TT ");
    } else if (text.find("JumpTT") != std::string::npos) {
        entry.Title = NumberBehind(text, "JumpTT ");
    } else if (text.find("JumpVTS_PTT") != std::string::npos) {
        entry.Program = NumberBehind(text, "JumpVTS_PTT ptt_");
        entry.Title = NumberBehind(text, "vts_ttn_");
    } else {
        return;
    }
    job.TitleCommands.Add(entry);
}

}  // namespace kestrova
