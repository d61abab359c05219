// The reader of command texts: a line that Hex2Command wrote, taken back
// apart into the fields it carries (the kind, the condition, the operands,
// the link and jump targets), so that a command can be checked or turned
// into eight bytes again. The texts are machine-written, so they are read
// exactly, blank for blank; anything the decoder does not write is refused
// with the column where it goes wrong and what was expected there.
//
// Some texts say less than their bytes held. The record keeps what the text
// says and marks in `Unknowns` (or with an `Unknown` enumerator) what it
// cannot know, for the writer of the bytes to fill or to choose.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/error.h"

namespace kestrova {

// What a command does, by the family of b0 that writes it.
enum class CommandKind {
    Undefined,  // the empty text: bytes outside the decoder's tables
    Nop,        // 00
    GoTo,
    Break,
    SetTmpPML,
    Link,  // 20: a link within the domain
    Exit,  // 30
    JumpTT,
    JumpVTS_TT,
    JumpVTS_PTT,
    JumpSS,
    CallSS,
    SetSTN,  // 41 51: the system registers
    SetNVTMR,
    SetGPRMMD,
    SetAMXMD,
    SetHL_BTNN,
    Set,  // 6x to Dx: arithmetic on a general register
};

// Where a text places its parts. Set commands of each layout come from
// certain families of b0; every other kind is Plain.
enum class CommandLayout {
    Plain,            // [C] body: also 4x to 7x without a link
    Braced,           // "{ body ; L }": 4x to 7x with a link, or 8x to Bx without a condition
    LinkCondition,    // "{ set ; C L }": 8x 9x, the condition guarding the link alone
    ConditionBraced,  // "C { set ; L }": Ax Bx, the condition guarding both
    LinkAfter,        // "[C] { set ; }L": Cx Dx, the condition guarding the set alone
};

// A register or a value as it stands in the text.
struct CommandOperand {
    enum class Type {
        None,
        GPRM,
        SPRM,
        Immediate,
        UnknownRegister,  // the byte held no register number: the text shows nothing
    };
    Type Kind = Type::None;
    int Value = 0;  // the register number or the value
};

// The comparison operators, numbered as the low three bits of the
// comparison digit (hi(b1)).
enum class Comparison { None = 0, BitAnd = 1, Equal, NotEqual, GreaterOrEqual, Greater, LessOrEqual, Less };

struct CommandCondition {
    Comparison Operator = Comparison::None;  // None: the text has no condition
    int Left = 0;                            // GPRM number
    CommandOperand Right;
};

enum class LinkType {
    None,
    NoLink,
    TopC,
    NextC,
    PrevC,
    TopPG,
    NextPG,
    PrevPG,
    TopPGC,
    NextPGC,
    PrevPGC,
    GoUpPGC,
    TailPGC,
    RSM,
    PGCN,  // Number: the PGC
    PTTN,  // Number: the chapter
    PGN,   // Number: the program
    CN,    // Number: the cell
};

struct CommandLink {
    LinkType Type = LinkType::None;
    int Number = 0;
    int Button = 0;          // the button to highlight, 0 for none
    int ButtonQuarters = 0;  // the reserved low bits of b6, which a plain link shows as .25, .5, .75
};

// The places JumpSS and CallSS reach, by hi(b5).
enum class SystemSpace { None, FirstPlay, TitleMenu, TitleSetMenu, VmgPgc };

// Menus of a title set by lo(b5).
enum class MenuId { Unknown = 0, Root = 3, Subpicture = 4, Audio = 5, Angle = 6, PTT = 7 };

// The arithmetic of a set command, numbered as lo(b0).
enum class SetOperation { Unknown = 0, Mov, Swp, Add, Sub, Mul, Div, Mod, Rnd, And, Or, Xor };

// One stream of SetSTN.
struct StreamSetting {
    bool Changed = false;   // the part is in the text: the top bit of its byte
    // A GPRM (41), or the number as written (51: audio 1 to 16, subpicture
    // 1 to 63, angle 0 to 15).
    CommandOperand Stream;
    bool Dummy = false;     // subpicture "Dummy"
    bool Display = false;   // subpicture ":ON"
};

// What the text cannot tell about the bytes it came from.
struct CommandUnknowns {
    // A braced text with a link and no condition shown, as 4x to 7x write
    // theirs: the decoder drops their condition, if they had one.
    bool Condition = false;
    bool Link = false;        // braced SetNVTMR: "LinkPGCN" of its TT_PGCN stands for whatever link it had
    bool Button = false;      // "RSM, button=0" behind a set: the button byte is not shown
    bool ResumeCell = false;  // "CallSS RSM=1" to FP_DOM or TitleMenu: the resume cell was 0 or 1
    bool Title = false;       // SPECIAL_MENU_ and CallSS to a menu: the title (b3) is not shown
    std::array<bool, 2> Mix{};  // karaoke "ACHn" alone: a mix byte outside the eight patterns
};

struct VmCommand {
    CommandKind Kind = CommandKind::Undefined;
    CommandLayout Layout = CommandLayout::Plain;
    CommandCondition Condition;
    CommandLink Link;

    int Line = 0;           // GoTo; the "command:" line of SetTmpPML
    int ParentalLevel = 0;  // SetTmpPML
    int Title = 0;          // JumpTT, JumpVTS_TT, JumpVTS_PTT, JumpSS to a title set menu
    int Chapter = 0;        // JumpVTS_PTT

    SystemSpace Space = SystemSpace::None;  // JumpSS, CallSS
    int TitleSet = 0;                       // JumpSS to a title set menu; 0 is the current one
    MenuId Menu = MenuId::Unknown;
    int Pgc = 0;         // JumpSS and CallSS to a VMG PGC; TT_PGCN of SetNVTMR
    int ResumeCell = 0;  // CallSS

    SetOperation Operation = SetOperation::Unknown;  // Set
    int Target = 0;         // the GPRM of Set and SetGPRMMD
    CommandOperand Source;  // Set, SetGPRMMD, SetAMXMD (its GPRM), SetHL_BTNN, NV_TMR of SetNVTMR
    bool CounterMode = false;  // SetGPRMMD

    StreamSetting Audio, Subpicture, Angle;  // SetSTN
    // SetAMXMD by value: the byte of each channel, bits 4, 3 and 2 set for
    // channels 4, 3 and 2 on.
    std::array<int, 2> Mix{};

    CommandUnknowns Unknowns;
};

// The refusal of a text, with the column (from 1) and what was expected.
class CommandTextError : public Error {
public:
    CommandTextError(const std::string& text, int column, const std::string& expected);
    int Column() const { return column_; }
    const std::string& Expected() const { return expected_; }

private:
    int column_;
    std::string expected_;
};

// The fields of a text Hex2Command writes. Throws CommandTextError for any
// other text.
VmCommand ParseCommandText(std::string_view text);

}  // namespace kestrova
