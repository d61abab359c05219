// The decoder of DVD virtual-machine commands: an 8-byte command of a PGC,
// a cell or a button becomes one line in the command language of the
// authoring tools, which the model stores and both back ends consume; a
// user-operation mask becomes its list of names; and commands that reach a
// title are collected so that the title is kept.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

struct JobContext;

// The eight bytes of a command, b0 first, each as two hexadecimal digits.
using CommandBytes = std::array<std::string, 8>;

// The command as text, or the empty text when the bytes match no known
// command. Byte texts of either case are accepted; a text that is not two
// hexadecimal digits throws Error naming the byte.
std::string Hex2Command(const JobContext& job, const CommandBytes& bytes);

// The prohibited user operations of a 32-bit mask given as the binary texts
// of its four bytes (byte 0, the most significant, first), least
// significant bit first. Sets job.UOPFound to -1 when any of the low 28 bits
// is set, else to 0. A text that is not eight binary digits throws Error.
std::vector<std::string> GETUOP(JobContext& job, const std::string& byte0, const std::string& byte1,
                                const std::string& byte2, const std::string& byte3);

// Adds a TitleCommands entry when the command text jumps to a title or to a
// chapter of a title ("JumpVTS_TT", "JumpTT", "JumpVTS_PTT").
void GetTitleCommands(JobContext& job, const std::string& text, int titleSet);

// The parts Hex2Command is built from.

// The condition in front of a command ("if ( GPRM3 == 5 ) "), by the
// comparison digit (the high digit of b1) and the command family's version
// 1..5 of where the operands lie; empty when the command has no comparison.
std::string Compare_Codes(const CommandBytes& bytes, int version);

// The link that follows a set command, by the low digit of b1, with the
// link code or target in b7 and the button in b6; empty when there is none.
std::string Compare_Link_Command(int lowDigitOfB1, const std::string& b7, const std::string& b6);

// "GPRMn" for 0..15, "SPRMn" for 128..151, else the empty text.
std::string Compare_Registers(const std::string& byteText);

// The arithmetic of a set command by the low digit of b0 ("Mov", "Add", ...).
std::string Compare_Set_Type(const std::string& b0);

// The comparison operator of a comparison digit ("==", "<", ...).
std::string Math_Function(int digit);

// Menu names of a jump to a title set menu, for the command text and for
// the mark the back ends resolve.
std::string Compare_Menu_Type(int digit);
std::string SpecialCompare_Menu_Type(int digit);

// One karaoke channel's mixing: "ACH" channel and the state of channels 4,
// 3 and 2 from bits 4, 3 and 2 of the byte.
std::string GetKaraoke(const std::string& byteText, int channel);

// The value of one byte text of two hexadecimal digits (either case);
// throws Error naming the byte by `name` otherwise.
int CommandByteValue(std::string_view text, std::string_view name);

}  // namespace kestrova
