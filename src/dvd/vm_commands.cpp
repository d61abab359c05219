// Hex2Command, the decoder of an 8-byte virtual-machine command into the
// text of the authoring tools' command language: the dispatch by family and
// the parts each text is built from (conditions, links, registers, set
// operations, menu names, karaoke mixing).
#include "dvd/vm_commands.h"

#include <cctype>
#include <cstddef>
#include <string>

#include "job/context.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {
namespace {

constexpr const char* kModule = "VMCommands";

std::string Dec(int value) { return std::to_string(value); }

// A whole number nearest to numerator / denominator; halves go to the even
// neighbour.
int RoundedQuotient(int numerator, int denominator) {
    const int quotient = numerator / denominator;
    const int twiceRemainder = 2 * (numerator % denominator);
    if (twiceRemainder > denominator || (twiceRemainder == denominator && quotient % 2 == 1)) return quotient + 1;
    return quotient;
}

// The comparison operands of one version, as numbers of the command's bytes.
struct Operands {
    bool Known = false;
    std::string Left;   // the register number behind "GPRM"
    std::string Right;  // a register text or a number
};

Operands OperandsOf(const CommandBytes& bytes, int version, int digit) {
    auto value = [&](int index) { return CommandByteValue(bytes[static_cast<std::size_t>(index)], "b" + Dec(index)); };
    auto word = [&](int index) { return value(index) * 256 + value(index + 1); };
    auto reg = [&](int index) { return Compare_Registers(bytes[static_cast<std::size_t>(index)]); };
    const bool registerForm = digit >= 1 && digit <= 7;
    const bool immediateForm = digit >= 9 && digit <= 15;
    switch (version) {
    case 1:
        if (registerForm) return {true, Dec(value(3)), reg(5)};
        if (immediateForm) return {true, Dec(value(3)), Dec(word(4))};
        break;
    case 2:
        return {true, Dec(value(6)), reg(7)};
    case 3:
        if (registerForm) return {true, Dec(value(2)), reg(7)};
        if (immediateForm) return {true, Dec(value(2)), Dec(word(6))};
        break;
    case 4:
        if (registerForm) return {true, Dec(value(1) % 16), reg(5)};
        if (immediateForm) return {true, Dec(value(1) % 16), Dec(word(4))};
        break;
    case 5: {
        const int family = value(0) / 16;
        if (family == 10 || family == 12) {
            if (registerForm) return {true, Dec(value(3)), reg(5)};
            if (immediateForm) return {true, Dec(value(3)), Dec(word(4))};
        } else if (family == 11 || family == 13) {
            return {true, Dec(value(4)), reg(5)};
        }
        break;
    }
    default:
        break;
    }
    return {};
}

// One command: its byte texts in upper case and their values.
class Command {
public:
    explicit Command(const CommandBytes& bytes) {
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            values_[index] = CommandByteValue(bytes[index], "b" + Dec(static_cast<int>(index)));
            std::string upper = bytes[index];
            for (char& digit : upper) digit = static_cast<char>(std::toupper(static_cast<unsigned char>(digit)));
            texts_[index] = upper;
        }
    }

    const std::string& Text(int index) const { return texts_[static_cast<std::size_t>(index)]; }
    int V(int index) const { return values_[static_cast<std::size_t>(index)]; }
    int Hi(int index) const { return V(index) / 16; }
    int Lo(int index) const { return V(index) % 16; }
    // Two bytes as one big-endian 16-bit value.
    int Word(int index) const { return V(index) * 256 + V(index + 1); }
    std::string R(int index) const { return Compare_Registers(Text(index)); }
    std::string C(int version) const { return Compare_Codes(texts_, version); }
    // The link behind a set command.
    std::string L() const { return Compare_Link_Command(Lo(1), Text(7), Text(6)); }

private:
    CommandBytes texts_;
    std::array<int, 8> values_{};
};

// The button of a link: the top six bits of b6, as a number; the two
// reserved bits below show as a fraction.
std::string QuarterText(int value) {
    static const char* const kFractions[] = {"", ".25", ".5", ".75"};
    return Dec(value / 4) + kFractions[value % 4];
}

// b0 = 00: no operation, goto, break, temporary parental level.
std::string SpecialCommand(const Command& command) {
    switch (command.Lo(1)) {
    case 0: return "Nop";
    case 1: return command.C(1) + "GoTo " + Dec(command.V(7));
    case 2: return command.C(1) + "break";
    case 3: return command.C(1) + "SetTmpPML parental:" + Dec(command.Lo(6)) + ", command:" + Dec(command.V(7));
    default: return "";
    }
}

// The name of a link sub-instruction in b7 of a plain link command.
std::string LinkName(const Command& command) {
    switch (command.Lo(7)) {
    case 0: return command.Text(7) == "00" ? "LinkNoLink" : "RSM";
    case 1: return "LinkTopC";
    case 2: return "LinkNextC";
    case 3: return "LinkPrevC";
    case 5: return "LinkTopPG";
    case 6: return "LinkNextPG";
    case 7: return "LinkPrevPG";
    case 9: return "LinkTopPGC";
    case 10: return "LinkNextPGC";
    case 11: return "LinkPrevPGC";
    case 12: return "LinkGoUpPGC";
    case 13: return "LinkTailPGC";
    default: return "";
    }
}

// b0 = 20: links within the domain.
std::string LinkCommand(const Command& command) {
    const std::string button = QuarterText(command.V(6));
    switch (command.Lo(1)) {
    case 1: {
        const std::string name = LinkName(command);
        if (name.empty()) return "";
        return command.C(1) + name + ", button=" + button;
    }
    case 4: return command.C(1) + "LinkPGCN " + Dec(command.Word(6));
    case 5:
        // Button in the top 6 bits, chapter in the low 10.
        return command.C(1) + "LinkPTT " + Dec(command.Word(6) % 1024) + ", button=" + Dec(command.Word(6) / 1024);
    case 6: return command.C(1) + "LinkPGN " + Dec(command.V(7)) + ", button=" + button;
    case 7: return command.C(1) + "LinkCN " + Dec(command.V(7)) + ", button=" + button;
    default: return "";
    }
}

// JumpSS: first play, the title menu, a title set menu or a VMG menu PGC.
std::string JumpSS(const JobContext& job, const Command& command) {
    switch (command.Hi(5)) {
    case 0: return "JumpSS FP_DOM";
    case 4: return "JumpSS TitleMenu";
    case 8: {
        const std::string menu = Compare_Menu_Type(command.Lo(5));
        const std::string title = Dec(command.V(3));
        const int titleSet = command.V(4);
        if (titleSet > 0) return "JumpSS vts_" + Dec(titleSet) + ", vts_ttn_" + title + " : " + menu;
        const Settings_Properties& options = job.Settings.Item(1);
        if (options.SingleMXP == 1 && options.Muxman == 1) return "JumpSS vts_0, vts_ttn_" + title + " : " + menu;
        // A menu of the current title set reached from the VMG side: the
        // back ends resolve the mark.
        return "SPECIAL_MENU_" + SpecialCompare_Menu_Type(command.Lo(5));
    }
    case 12: return "JumpSS pgc_" + Dec(command.Word(2));
    default: return "";
    }
}

// CallSS: like JumpSS, with the cell to resume at in b4 (0 resumes at 1).
std::string CallSS(const Command& command) {
    const int resume = command.V(4);
    const std::string rsm = resume == 0 ? "1" : Dec(resume);
    switch (command.Hi(5)) {
    case 0: return "CallSS RSM=" + rsm + ", FP_DOM";
    case 4: return "CallSS RSM=" + rsm + ", TitleMenu";
    case 8: {
        const std::string menu = Compare_Menu_Type(command.Lo(5));
        return resume == 0 ? "CallSS, RSM=1, " + menu : "CallSS RSM=" + rsm + ", " + menu;
    }
    case 12: return "CallSS RSM=" + rsm + (resume == 0 ? ", pgc=" : ", pgc_") + Dec(command.Word(2));
    default: return "";
    }
}

// b0 = 30: exit, jumps to titles and chapters, jumps and calls across domains.
std::string JumpCommand(const JobContext& job, const Command& command) {
    std::string body;
    switch (command.Lo(1)) {
    case 1: body = "Exit"; break;
    case 2: body = "JumpTT " + Dec(command.V(5)); break;
    case 3: body = "JumpVTS_TT " + Dec(command.V(5)); break;
    case 5:
        body = "JumpVTS_PTT ptt_" + Dec(command.Lo(2) * 256 + command.V(3)) + " @ vts_ttn_" + Dec(command.V(5));
        break;
    case 6: body = JumpSS(job, command); break;
    case 8: body = CallSS(command); break;
    default: break;
    }
    if (body.empty()) return "";
    return command.C(2) + body;
}

// The streams of SetSTN that b3, b4 and b5 switch on by their top bit.
std::string SetSTNParts(const Command& command, bool immediate) {
    std::string parts;
    auto add = [&parts](const std::string& part) { parts += (parts.empty() ? "" : ", ") + part; };
    if (command.V(3) & 0x80) add(immediate ? "audio=" + Dec(command.Lo(3) + 1) : "audio=GPRM" + Dec(command.Lo(3)));
    if (command.V(4) & 0x80) {
        if (!immediate) {
            add("subpicture=GPRM" + Dec(command.Lo(4)));
        } else {
            // Bit 6 is the display flag; 63 is the dummy stream.
            const int stream = command.V(4) & 0x7F;
            if (stream == 127) add("subpicture=Dummy:ON");
            else if (stream >= 64) add("subpicture=" + Dec(stream - 63) + ":ON");
            else if (stream == 63) add("subpicture=Dummy:OFF");
            else add("subpicture=" + Dec(stream + 1) + ":OFF");
        }
    }
    if (command.V(5) & 0x80) add(immediate ? "angle=" + Dec(command.Lo(5)) : "angle=GPRM" + Dec(command.Lo(5)));
    return parts;
}

bool IsSystemSet(const std::string& b0) {
    static const char* const kCodes[] = {"41", "51", "42", "52", "43", "53", "44", "54", "46", "56"};
    for (const char* code : kCodes) {
        if (b0 == code) return true;
    }
    return false;
}

// b0 = 4x / 5x: the system registers, with an optional link.
std::string SystemSetCommand(const Command& command) {
    const std::string& b0 = command.Text(0);
    const std::string link = command.L();
    std::string body;
    std::string bracedLink = link;
    if (b0 == "41" || b0 == "51") {
        body = "SetSTN " + SetSTNParts(command, b0 == "51");
    } else if (b0 == "42" || b0 == "52") {
        const std::string pgc = Dec(command.Word(4));
        const std::string timer = b0 == "42" ? command.R(3) : Dec(command.Word(2));
        body = "SetNVTMR NV_TMR=" + timer + ", TT_PGCN=" + pgc;
        bracedLink = "LinkPGCN " + pgc;
    } else if (b0 == "43" || b0 == "53") {
        const std::string mode = (command.V(5) & 0x80) ? "CounterMode" : "RegisterMode";
        const std::string source = b0 == "43" ? Compare_Registers("0" + command.Text(3).substr(1))
                                              : Dec(command.Word(2));
        body = "SetGPRMMD " + mode + " GPRM" + Dec(command.Lo(5)) + "=" + source;
    } else if (b0 == "44") {
        body = "SetAMXMD GPRM" + Dec(command.V(5));
    } else if (b0 == "54") {
        body = "SetAMXMD " + GetKaraoke(command.Text(4), 0) + ", " + GetKaraoke(command.Text(5), 1);
    } else if (b0 == "46") {
        body = "SetHL_BTNN HL_BTNN=" + command.R(5);
    } else {
        // The button number sits in the top six bits of b4 b5; the reserved
        // bits below round to the nearest button.
        body = "SetHL_BTNN HL_BTNN=" + Dec(RoundedQuotient(command.Word(4), 1024));
    }
    if (link.empty()) return command.C(2) + body;
    return "{ " + body + " ; " + bracedLink + " }";
}

// b0 = 6x to Dx: arithmetic on a general register, with a condition and a
// link arranged by family.
std::string SetCommand(const Command& command) {
    const int family = command.Hi(0);
    if (family < 6 || family > 13) return "";
    const bool immediate = family % 2 == 1;
    std::string target;
    std::string source;
    if (family <= 7) {
        target = Dec(command.V(3));
        source = immediate ? Dec(command.Word(4)) : command.R(5);
    } else if (family <= 9) {
        target = Dec(command.Lo(1));
        source = immediate ? Dec(command.Word(2)) : command.R(3);
    } else {
        target = Dec(command.Lo(1));
        source = immediate ? Dec(command.Word(2)) : command.R(2);
    }
    const std::string set = Compare_Set_Type(command.Text(0)) + " GPRM" + target + ", " + source;
    const std::string link = command.L();
    switch (family) {
    case 6:
    case 7:
        if (link.empty()) return command.C(3) + set;
        return "{ " + set + " ; " + link + " }";
    case 8:
    case 9: return "{ " + set + " ; " + command.C(4) + link + " }";
    case 10:
    case 11: return command.C(5) + "{ " + set + " ; " + link + " }";
    default: return command.C(5) + "{ " + set + " ; }" + link;
    }
}


}  // namespace

int CommandByteValue(std::string_view text, std::string_view name) {
    const int high = text.size() == 2 ? platform::HexDigitValue(text[0]) : -1;
    const int low = text.size() == 2 ? platform::HexDigitValue(text[1]) : -1;
    if (high < 0 || low < 0) {
        throw Error("The command byte " + std::string(name) + " is \"" + std::string(text) +
                    "\"; two hexadecimal digits were expected.");
    }
    return high * 16 + low;
}

std::string Compare_Codes(const CommandBytes& bytes, int version) {
    const int digit = CommandByteValue(bytes[1], "b1") / 16;
    // 0 is no comparison; 8 carries only the immediate flag and no operator.
    if (digit == 0 || digit == 8) return "";
    const Operands operands = OperandsOf(bytes, version, digit);
    if (!operands.Known) return "";
    return "if ( GPRM" + operands.Left + " " + Math_Function(digit) + " " + operands.Right + " ) ";
}

std::string Compare_Link_Command(int lowDigitOfB1, const std::string& b7, const std::string& b6) {
    const int target = CommandByteValue(b7, "b7");
    const int buttonByte = CommandByteValue(b6, "b6");
    const std::string button = Dec(RoundedQuotient(buttonByte, 4));
    const int word = buttonByte * 256 + target;
    switch (lowDigitOfB1) {
    case 1: {
        std::string name;
        switch (target) {
        case 1: name = "LinkTopC"; break;
        case 2: name = "LinkNextC"; break;
        case 3: name = "LinkPrevC"; break;
        case 5: name = "LinkTopPG"; break;
        case 6: name = "LinkNextPG"; break;
        case 7: name = "LinkPrevPG"; break;
        case 9: name = "LinkTopPGC"; break;
        case 10: name = "LinkNextPGC"; break;
        case 11: name = "LinkPrevPGC"; break;
        case 12: name = "LinkGoupPGC"; break;
        case 13: name = "LinkTailPGC"; break;
        case 16: return "RSM, button=0";
        default: return "";
        }
        return name + ", button=" + button;
    }
    case 4:
        return "LinkPGCN " + Dec(word);
    case 5:
        // Button in the top 6 bits, chapter in the low 10.
        return "LinkPTTN " + Dec(word % 1024) + ", button=" + Dec(word / 1024);
    case 6:
        return "LinkPGN " + Dec(target) + ", button=" + button;
    case 7:
        return "LinkCN " + Dec(target) + ", button=" + button;
    default:
        return "";
    }
}

std::string Compare_Registers(const std::string& byteText) {
    const int value = CommandByteValue(byteText, "holding a register");
    if (value <= 15) return "GPRM" + Dec(value);
    if (value >= 128 && value <= 151) return "SPRM" + Dec(value - 128);
    return "";
}

std::string Compare_Set_Type(const std::string& b0) {
    switch (CommandByteValue(b0, "b0") % 16) {
    case 1: return "Mov";
    case 2: return "Swp";
    case 3: return "Add";
    case 4: return "Sub";
    case 5: return "Mul";
    case 6: return "Div";
    case 7: return "Mod";
    case 8: return "Rnd";
    case 9: return "And";
    case 10: return "Or";
    case 11: return "Xor";
    default: return "";
    }
}

std::string Math_Function(int digit) {
    switch (digit) {
    case 1: case 9: return "&";
    case 2: case 10: return "==";
    case 3: case 11: return "!=";
    case 4: case 12: return ">=";
    case 5: case 13: return ">";
    case 6: case 14: return "<=";
    case 7: case 15: return "<";
    default: return "";
    }
}

std::string Compare_Menu_Type(int digit) {
    switch (digit) {
    case 3: return "RootMenu";
    case 4: return "Sub-pictureMenu";
    case 5: return "AudioMenu";
    case 6: return "AngleMenu";
    case 7: return "PTT_Menu";
    default: return "";
    }
}

std::string SpecialCompare_Menu_Type(int digit) {
    switch (digit) {
    case 3: return "Root Menu";
    case 4: return "Subpicture Menu";
    case 5: return "Audio Menu";
    case 6: return "Angle Menu";
    case 7: return "PTT Menu";
    default: return "";
    }
}

std::string GetKaraoke(const std::string& byteText, int channel) {
    const std::string head = "ACH" + Dec(channel);
    switch (CommandByteValue(byteText, "holding a karaoke mix")) {
    case 0: return head + "(4:OFF,3:OFF,2:OFF)";
    case 4: return head + "(4:OFF,3:OFF,2:ON)";
    case 8: return head + "(4:OFF,3:ON,2:OFF)";
    case 12: return head + "(4:OFF,3:ON,2:ON)";
    case 16: return head + "(4:ON,3:OFF,2:OFF)";
    case 20: return head + "(4:ON,3:OFF,2:ON)";
    case 24: return head + "(4:ON,3:ON,2:OFF)";
    case 28: return head + "(4:ON,3:ON,2:ON)";
    default: return head;
    }
}

std::string Hex2Command(const JobContext& job, const CommandBytes& bytes) {
    platform::TraceFrame frame(job.Trace, kModule, "Hex2Command");
    const Command command(bytes);
    const std::string& b0 = command.Text(0);
    if (b0 == "00") return SpecialCommand(command);
    if (b0 == "20") return LinkCommand(command);
    if (b0 == "30") return JumpCommand(job, command);
    if (IsSystemSet(b0)) return SystemSetCommand(command);
    return SetCommand(command);
}

}  // namespace kestrova
