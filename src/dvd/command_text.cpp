// ParseCommandText: the command language of Hex2Command read back, one
// reader per part of the text as the decoder builds it (condition, body,
// braces, link), with the checks of what one command's bytes can hold.
#include "dvd/command_text.h"

#include <cstddef>
#include <span>
#include <string>

namespace kestrova {
namespace {

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }
std::string Dec(int value) { return std::to_string(value); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A word of the language and what it stands for.
template <typename Meaning>
struct Word {
    std::string_view Text;
    Meaning Value;
};

// The text, the place reached in it, and the refusals that name a column.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    int Column() const { return static_cast<int>(at_) + 1; }
    bool AtEnd() const { return at_ == text_.size(); }
    bool Sees(std::string_view literal) const { return text_.substr(at_).starts_with(literal); }
    bool SeesDigit() const { return !AtEnd() && IsDigit(text_[at_]); }

    bool Take(std::string_view literal) {
        if (!Sees(literal)) return false;
        at_ += literal.size();
        return true;
    }

    // The literal, or a refusal at the first character that differs.
    void Expect(std::string_view literal) {
        const std::string_view rest = text_.substr(at_);
        std::size_t same = 0;
        while (same < literal.size() && same < rest.size() && rest[same] == literal[same]) ++same;
        if (same < literal.size()) FailAt(Column() + static_cast<int>(same), Quoted(literal.substr(same)));
        at_ += literal.size();
    }

    void ExpectEnd() const {
        if (!AtEnd()) FailAt(Column(), "the end of the text");
    }

    // The longest of the words the text goes on with, or none.
    template <typename Meaning, std::size_t Extent>
    const Word<Meaning>* TakeWord(std::span<const Word<Meaning>, Extent> words) {
        const Word<Meaning>* longest = nullptr;
        for (const Word<Meaning>& word : words) {
            if (Sees(word.Text) && (longest == nullptr || word.Text.size() > longest->Text.size())) longest = &word;
        }
        if (longest != nullptr) at_ += longest->Text.size();
        return longest;
    }

    // A decimal number as the decoder writes one: digits without sign or
    // leading zeros, here from low to high.
    int Number(int low, int high, const std::string& what) {
        const int column = Column();
        std::size_t end = at_;
        while (end < text_.size() && IsDigit(text_[end])) ++end;
        const std::string_view digits = text_.substr(at_, end - at_);
        const std::string expected = what + " from " + Dec(low) + " to " + Dec(high);
        // Six digits hold every field's range and keep the value inside an int.
        if (digits.empty() || digits.size() > 6 || (digits.size() > 1 && digits[0] == '0')) FailAt(column, expected);
        int value = 0;
        for (const char digit : digits) value = value * 10 + (digit - '0');
        if (value < low || value > high) FailAt(column, expected);
        at_ = end;
        return value;
    }

    [[noreturn]] void FailAt(int column, const std::string& expected) const {
        throw CommandTextError(std::string(text_), column, expected);
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

constexpr Word<Comparison> kComparisons[] = {
    {"&", Comparison::BitAnd},          {"==", Comparison::Equal},   {"!=", Comparison::NotEqual},
    {">=", Comparison::GreaterOrEqual}, {">", Comparison::Greater},  {"<=", Comparison::LessOrEqual},
    {"<", Comparison::Less},
};

// Both spellings of the decoder's two link tables are taken in either place.
constexpr Word<LinkType> kLinks[] = {
    {"LinkNoLink", LinkType::NoLink},   {"RSM", LinkType::RSM},
    {"LinkTopC", LinkType::TopC},       {"LinkNextC", LinkType::NextC},
    {"LinkPrevC", LinkType::PrevC},     {"LinkTopPG", LinkType::TopPG},
    {"LinkNextPG", LinkType::NextPG},   {"LinkPrevPG", LinkType::PrevPG},
    {"LinkTopPGC", LinkType::TopPGC},   {"LinkNextPGC", LinkType::NextPGC},
    {"LinkPrevPGC", LinkType::PrevPGC}, {"LinkGoUpPGC", LinkType::GoUpPGC},
    {"LinkGoupPGC", LinkType::GoUpPGC}, {"LinkTailPGC", LinkType::TailPGC},
    {"LinkPGCN", LinkType::PGCN},       {"LinkPTT", LinkType::PTTN},
    {"LinkPTTN", LinkType::PTTN},       {"LinkPGN", LinkType::PGN},
    {"LinkCN", LinkType::CN},
};

constexpr Word<MenuId> kMenus[] = {
    {"RootMenu", MenuId::Root},   {"Sub-pictureMenu", MenuId::Subpicture}, {"AudioMenu", MenuId::Audio},
    {"AngleMenu", MenuId::Angle}, {"PTT_Menu", MenuId::PTT},
};

// The menu names of the SPECIAL_MENU_ mark.
constexpr Word<MenuId> kSpecialMenus[] = {
    {"Root Menu", MenuId::Root},   {"Subpicture Menu", MenuId::Subpicture}, {"Audio Menu", MenuId::Audio},
    {"Angle Menu", MenuId::Angle}, {"PTT Menu", MenuId::PTT},
};

constexpr Word<SetOperation> kSetOperations[] = {
    {"Mov", SetOperation::Mov}, {"Swp", SetOperation::Swp}, {"Add", SetOperation::Add}, {"Sub", SetOperation::Sub},
    {"Mul", SetOperation::Mul}, {"Div", SetOperation::Div}, {"Mod", SetOperation::Mod}, {"Rnd", SetOperation::Rnd},
    {"And", SetOperation::And}, {"Or", SetOperation::Or},   {"Xor", SetOperation::Xor},
};

const char* const kSetExpected = "a set operation (Mov, Swp, Add, Sub, Mul, Div, Mod, Rnd, And, Or, Xor)";
const char* const kCommandExpected = "a command word";

bool IsJumpOrCall(CommandKind kind) { return kind >= CommandKind::Exit && kind <= CommandKind::CallSS; }
bool IsSystemSet(CommandKind kind) { return kind >= CommandKind::SetSTN && kind <= CommandKind::SetHL_BTNN; }

class Parser {
public:
    explicit Parser(std::string_view text) : in_(text) {}

    VmCommand Parse() {
        if (in_.AtEnd()) return command_;
        if (in_.Take("Nop")) {
            command_.Kind = CommandKind::Nop;
            in_.ExpectEnd();
            return command_;
        }
        const bool conditioned = in_.Sees("if");
        if (conditioned) Condition();
        if (in_.Take("{ ")) Braced(conditioned);
        else Body();
        in_.ExpectEnd();
        CheckCondition();
        return command_;
    }

private:
    using Read = void (Parser::*)();
    Reader in_;
    VmCommand command_;
    int leftColumn_ = 0, rightColumn_ = 0, targetColumn_ = 0;

    // The words a body begins with, and the reader of the rest.
    static std::span<const Word<Read>> Commands() {
        static const Word<Read> words[] = {
            {"GoTo", &Parser::GoTo},
            {"break", &Parser::Break},
            {"SetTmpPML", &Parser::SetTmpPML},
            {"Exit", &Parser::Exit},
            {"JumpTT", &Parser::JumpTT},
            {"JumpVTS_TT", &Parser::JumpVTS_TT},
            {"JumpVTS_PTT", &Parser::JumpVTS_PTT},
            {"JumpSS", &Parser::JumpSS},
            {"SPECIAL_MENU_", &Parser::SpecialMenu},
            {"CallSS", &Parser::CallSS},
        };
        return words;
    }

    static std::span<const Word<Read>> SystemSets() {
        static const Word<Read> words[] = {
            {"SetSTN", &Parser::SetSTN},     {"SetNVTMR", &Parser::SetNVTMR},     {"SetGPRMMD", &Parser::SetGPRMMD},
            {"SetAMXMD", &Parser::SetAMXMD}, {"SetHL_BTNN", &Parser::SetHL_BTNN},
        };
        return words;
    }

    // "if ( GPRMa op c ) ". Which operands fit depends on the command behind
    // it, so CheckCondition looks again at the end.
    void Condition() {
        CommandCondition& condition = command_.Condition;
        in_.Expect("if ( GPRM");
        leftColumn_ = in_.Column();
        condition.Left = in_.Number(0, 255, "a general register number");
        in_.Expect(" ");
        const Word<Comparison>* comparison = in_.TakeWord(std::span(kComparisons));
        if (comparison == nullptr) in_.FailAt(in_.Column(), "a comparison (&, ==, !=, >=, >, <=, <)");
        condition.Operator = comparison->Value;
        in_.Expect(" ");
        rightColumn_ = in_.Column();
        condition.Right = RegisterOrValue(65535);
        in_.Expect(" ) ");
    }

    // R(b): "GPRMn", "SPRMn", or nothing where the byte held no register.
    CommandOperand Register(const std::string& expected) {
        if (in_.Take("GPRM")) return {CommandOperand::Type::GPRM, in_.Number(0, 15, "a general register number")};
        if (in_.Take("SPRM")) return {CommandOperand::Type::SPRM, in_.Number(0, 23, "a system register number")};
        if (!in_.AtEnd() && !in_.Sees(" ") && !in_.Sees(",")) in_.FailAt(in_.Column(), expected);
        return {CommandOperand::Type::UnknownRegister, 0};
    }

    CommandOperand RegisterOrValue(int high) {
        if (in_.SeesDigit()) return {CommandOperand::Type::Immediate, in_.Number(0, high, "a value")};
        return Register("a register (GPRMn, SPRMn) or a value");
    }

    void Body() {
        if (const auto* word = in_.TakeWord(Commands())) return (this->*word->Value)();
        if (const auto* word = in_.TakeWord(SystemSets())) return (this->*word->Value)();
        const int column = in_.Column();
        if (Link(false)) {
            command_.Kind = CommandKind::Link;
            return;
        }
        Set(kCommandExpected, column);
    }

    // "{ " behind an optional condition: a system set and its link, or a
    // general set in one of the layouts of families 6x to Dx.
    void Braced(bool conditioned) {
        const int column = in_.Column();
        if (!conditioned) {
            if (const auto* word = in_.TakeWord(SystemSets())) {
                (this->*word->Value)();
                in_.Expect(" ; ");
                const int linkColumn = in_.Column();
                if (!Link(true)) in_.FailAt(linkColumn, "a link");
                in_.Expect(" }");
                command_.Layout = CommandLayout::Braced;
                command_.Unknowns.Condition = true;
                if (command_.Kind == CommandKind::SetNVTMR) CheckTimerLink(linkColumn);
                return;
            }
        }
        Set(kSetExpected, column);
        in_.Expect(" ; ");
        if (in_.Take("}")) {
            command_.Layout = CommandLayout::LinkAfter;
            Link(true);
        } else {
            if (!conditioned && in_.Sees("if")) {
                Condition();
                command_.Layout = CommandLayout::LinkCondition;
            } else {
                command_.Layout = conditioned ? CommandLayout::ConditionBraced : CommandLayout::Braced;
            }
            Link(true);
            in_.Expect(" }");
        }
        // Only 6x and 7x, braced when they link, keep a target above 15 (b3);
        // the others hold it in lo(b1).
        const bool wholeByteTarget = command_.Layout == CommandLayout::Braced && command_.Link.Type != LinkType::None;
        if (wholeByteTarget) command_.Unknowns.Condition = true;
        if (!wholeByteTarget && command_.Target > 15) {
            in_.FailAt(targetColumn_, "a general register number from 0 to 15");
        }
    }

    // Op " GPRM" target ", " source.
    void Set(const char* expected, int column) {
        command_.Kind = CommandKind::Set;
        if (const auto* word = in_.TakeWord(std::span(kSetOperations))) command_.Operation = word->Value;
        else if (!in_.Sees(" GPRM")) in_.FailAt(column, expected);  // lo(b0) outside 1..11 leaves no name
        in_.Expect(" GPRM");
        targetColumn_ = in_.Column();
        command_.Target = in_.Number(0, 255, "a general register number");
        in_.Expect(", ");
        command_.Source = RegisterOrValue(65535);
    }

    // A link: of a plain link command (20), or behind a set, where the
    // button is whole and RSM shows none. False when no link stands here.
    bool Link(bool behindSet) {
        const int column = in_.Column();
        const Word<LinkType>* word = in_.TakeWord(std::span(kLinks));
        if (word == nullptr) return false;
        CommandLink& link = command_.Link;
        link.Type = word->Value;
        switch (link.Type) {
        case LinkType::NoLink:
            if (behindSet) in_.FailAt(column, "a link other than LinkNoLink");
            break;
        case LinkType::RSM:
            if (!behindSet) break;
            in_.Expect(", button=0");
            command_.Unknowns.Button = true;
            return true;
        case LinkType::PGCN:
            in_.Expect(" ");
            link.Number = in_.Number(0, 65535, "a PGC number");
            return true;
        case LinkType::PTTN:
            // The button is the top six bits of b6 b7, the chapter the low ten.
            in_.Expect(" ");
            link.Number = in_.Number(0, 1023, "a chapter number");
            in_.Expect(", button=");
            link.Button = in_.Number(0, 63, "a button number");
            return true;
        case LinkType::PGN:
        case LinkType::CN:
            in_.Expect(" ");
            link.Number = in_.Number(0, 255, link.Type == LinkType::PGN ? "a program number" : "a cell number");
            break;
        default:
            break;
        }
        in_.Expect(", button=");
        Button(behindSet);
        return true;
    }

    // v(b6) / 4: rounded behind a set; a plain link shows the reserved low
    // bits as a fraction.
    void Button(bool behindSet) {
        CommandLink& link = command_.Link;
        if (behindSet) {
            link.Button = in_.Number(0, 64, "a button number");
            return;
        }
        link.Button = in_.Number(0, 63, "a button number");
        if (in_.Take(".25")) link.ButtonQuarters = 1;
        else if (in_.Take(".5")) link.ButtonQuarters = 2;
        else if (in_.Take(".75")) link.ButtonQuarters = 3;
    }

    void GoTo() {
        command_.Kind = CommandKind::GoTo;
        in_.Expect(" ");
        command_.Line = in_.Number(0, 255, "a command line number");
    }

    void Break() { command_.Kind = CommandKind::Break; }

    void SetTmpPML() {
        command_.Kind = CommandKind::SetTmpPML;
        in_.Expect(" parental:");
        command_.ParentalLevel = in_.Number(0, 15, "a parental level");
        in_.Expect(", command:");
        command_.Line = in_.Number(0, 255, "a command line number");
    }

    void Exit() { command_.Kind = CommandKind::Exit; }

    void JumpTT() {
        command_.Kind = CommandKind::JumpTT;
        in_.Expect(" ");
        command_.Title = in_.Number(0, 255, "a title number");
    }

    void JumpVTS_TT() {
        JumpTT();
        command_.Kind = CommandKind::JumpVTS_TT;
    }

    void JumpVTS_PTT() {
        command_.Kind = CommandKind::JumpVTS_PTT;
        in_.Expect(" ptt_");
        command_.Chapter = in_.Number(0, 4095, "a chapter number");
        in_.Expect(" @ vts_ttn_");
        command_.Title = in_.Number(0, 255, "a title number");
    }

    void JumpSS() {
        command_.Kind = CommandKind::JumpSS;
        in_.Expect(" ");
        if (in_.Take("FP_DOM")) {
            command_.Space = SystemSpace::FirstPlay;
        } else if (in_.Take("TitleMenu")) {
            command_.Space = SystemSpace::TitleMenu;
        } else if (in_.Take("vts_")) {
            command_.Space = SystemSpace::TitleSetMenu;
            command_.TitleSet = in_.Number(0, 255, "a title set number");
            in_.Expect(", vts_ttn_");
            command_.Title = in_.Number(0, 255, "a title number");
            in_.Expect(" : ");
            command_.Menu = Menu(kMenus, "a menu (RootMenu, Sub-pictureMenu, AudioMenu, AngleMenu, PTT_Menu)");
        } else if (in_.Take("pgc_")) {
            command_.Space = SystemSpace::VmgPgc;
            command_.Pgc = in_.Number(0, 65535, "a PGC number");
        } else {
            in_.FailAt(in_.Column(), "FP_DOM, TitleMenu, vts_ or pgc_");
        }
    }

    // The mark of a jump to a menu of the current title set from the VMG
    // side; it does not show the title.
    void SpecialMenu() {
        command_.Kind = CommandKind::JumpSS;
        command_.Space = SystemSpace::TitleSetMenu;
        command_.Unknowns.Title = true;
        command_.Menu =
            Menu(kSpecialMenus, "a menu (Root Menu, Subpicture Menu, Audio Menu, Angle Menu, PTT Menu)");
    }

    // The menu ends the text; a byte that names no menu leaves it empty.
    MenuId Menu(std::span<const Word<MenuId>> names, const std::string& expected) {
        if (const auto* word = in_.TakeWord(names)) return word->Value;
        if (!in_.AtEnd()) in_.FailAt(in_.Column(), expected);
        return MenuId::Unknown;
    }

    // A resume cell of 0 is written as 1: "CallSS, RSM=1, " for a menu,
    // "pgc=" for a PGC, and no sign at all for FP_DOM and TitleMenu.
    void CallSS() {
        command_.Kind = CommandKind::CallSS;
        const char* const menuExpected = "FP_DOM, TitleMenu, pgc=, pgc_ or a menu (RootMenu, Sub-pictureMenu, "
                                         "AudioMenu, AngleMenu, PTT_Menu)";
        if (in_.Take(", RSM=1, ")) {
            command_.Space = SystemSpace::TitleSetMenu;
            command_.Unknowns.Title = true;
            command_.Menu = Menu(kMenus, "a menu (RootMenu, Sub-pictureMenu, AudioMenu, AngleMenu, PTT_Menu)");
            return;
        }
        in_.Expect(" RSM=");
        command_.ResumeCell = in_.Number(1, 255, "a resume cell number");
        in_.Expect(", ");
        const int column = in_.Column();
        if (in_.Take("FP_DOM")) {
            command_.Space = SystemSpace::FirstPlay;
            command_.Unknowns.ResumeCell = command_.ResumeCell == 1;
        } else if (in_.Take("TitleMenu")) {
            command_.Space = SystemSpace::TitleMenu;
            command_.Unknowns.ResumeCell = command_.ResumeCell == 1;
        } else if (in_.Take("pgc=")) {
            if (command_.ResumeCell != 1) in_.FailAt(column, "\"pgc_\"");
            command_.Space = SystemSpace::VmgPgc;
            command_.ResumeCell = 0;
            command_.Pgc = in_.Number(0, 65535, "a PGC number");
        } else if (in_.Take("pgc_")) {
            command_.Space = SystemSpace::VmgPgc;
            command_.Pgc = in_.Number(0, 65535, "a PGC number");
        } else {
            command_.Space = SystemSpace::TitleSetMenu;
            command_.Unknowns.Title = true;
            command_.Menu = Menu(kMenus, menuExpected);
        }
    }

    // The parts audio, subpicture and angle, each there or not, in that
    // order; all registers (41) or all numbers (51).
    void SetSTN() {
        command_.Kind = CommandKind::SetSTN;
        in_.Expect(" ");
        StreamSetting* const parts[] = {&command_.Audio, &command_.Subpicture, &command_.Angle};
        const std::string_view names[] = {"audio=", "subpicture=", "angle="};
        std::size_t next = 0;  // the first part that may still come
        int registers = -1;    // unknown until the first part
        while (next < 3 && !in_.AtEnd() && !in_.Sees(" ; ")) {
            if (next > 0) in_.Expect(", ");
            const int column = in_.Column();
            std::size_t part = next;
            while (part < 3 && !in_.Take(names[part])) ++part;
            if (part == 3) {
                std::string expected;
                for (std::size_t k = next; k < 3; ++k) expected += (k > next ? " or " : "") + Quoted(names[k]);
                in_.FailAt(column, expected);
            }
            StreamSetting& setting = *parts[part];
            setting.Changed = true;
            const int valueColumn = in_.Column();
            const bool isRegister = in_.Sees("GPRM");
            if (registers >= 0 && isRegister != (registers == 1)) {
                in_.FailAt(valueColumn, registers == 1 ? "a general register (GPRMn), as in the part before"
                                                       : "a stream number, as in the part before");
            }
            registers = isRegister ? 1 : 0;
            if (isRegister) {
                in_.Expect("GPRM");
                setting.Stream = {CommandOperand::Type::GPRM, in_.Number(0, 15, "a general register number")};
            } else {
                StreamNumber(part, setting);
            }
            next = part + 1;
        }
    }

    // The number of a stream of 51 as written: audio lo(b3) + 1, angle
    // lo(b5), subpicture with its display flag or as the dummy stream.
    void StreamNumber(std::size_t part, StreamSetting& setting) {
        const auto value = [&](int low, int high, const char* what) {
            setting.Stream = {CommandOperand::Type::Immediate, in_.Number(low, high, what)};
        };
        if (part == 0) return value(1, 16, "an audio stream number");
        if (part == 2) return value(0, 15, "an angle number");
        if (in_.Take("Dummy")) setting.Dummy = true;
        else value(1, 63, "a subpicture stream number or Dummy");
        if (in_.Take(":ON")) setting.Display = true;
        else in_.Expect(":OFF");
    }

    void SetNVTMR() {
        command_.Kind = CommandKind::SetNVTMR;
        in_.Expect(" NV_TMR=");
        command_.Source = RegisterOrValue(65535);
        in_.Expect(", TT_PGCN=");
        command_.Pgc = in_.Number(0, 65535, "a PGC number");
    }

    // The braced SetNVTMR shows "LinkPGCN" of its TT_PGCN, whatever link
    // its bytes had.
    void CheckTimerLink(int linkColumn) {
        if (command_.Link.Type != LinkType::PGCN || command_.Link.Number != command_.Pgc) {
            in_.FailAt(linkColumn, Quoted("LinkPGCN " + Dec(command_.Pgc)));
        }
        command_.Link = {};
        command_.Unknowns.Link = true;
    }

    void SetGPRMMD() {
        command_.Kind = CommandKind::SetGPRMMD;
        in_.Expect(" ");
        if (in_.Take("CounterMode")) command_.CounterMode = true;
        else if (!in_.Take("RegisterMode")) in_.FailAt(in_.Column(), "CounterMode or RegisterMode");
        in_.Expect(" GPRM");
        command_.Target = in_.Number(0, 15, "a general register number");
        in_.Expect("=");
        if (in_.SeesDigit()) {
            command_.Source = {CommandOperand::Type::Immediate, in_.Number(0, 65535, "a value")};
        } else {
            in_.Expect("GPRM");
            command_.Source = {CommandOperand::Type::GPRM, in_.Number(0, 15, "a general register number")};
        }
    }

    void SetAMXMD() {
        command_.Kind = CommandKind::SetAMXMD;
        in_.Expect(" ");
        if (in_.Take("GPRM")) {
            command_.Source = {CommandOperand::Type::GPRM, in_.Number(0, 255, "a general register number")};
            return;
        }
        Mix(0);
        in_.Expect(", ");
        Mix(1);
    }

    // "ACHn(4:ON,3:OFF,2:ON)": channels 4, 3 and 2 as bits 4, 3 and 2 of
    // the byte; "ACHn" alone for any other byte.
    void Mix(int channel) {
        in_.Expect("ACH" + Dec(channel));
        if (!in_.Take("(")) {
            command_.Unknowns.Mix[static_cast<std::size_t>(channel)] = true;
            return;
        }
        int byte = 0;
        for (int bit = 4; bit >= 2; --bit) {
            in_.Expect((bit == 4 ? "" : ",") + Dec(bit) + ":");
            if (in_.Take("ON")) byte |= 1 << bit;
            else if (!in_.Take("OFF")) in_.FailAt(in_.Column(), "ON or OFF");
        }
        in_.Expect(")");
        command_.Mix[static_cast<std::size_t>(channel)] = byte;
    }

    void SetHL_BTNN() {
        command_.Kind = CommandKind::SetHL_BTNN;
        in_.Expect(" HL_BTNN=");
        if (in_.SeesDigit()) command_.Source = {CommandOperand::Type::Immediate, in_.Number(0, 64, "a button number")};
        else command_.Source = Register("a register (GPRMn, SPRMn) or a button number");
    }

    // What one command's bytes can hold: jumps, calls, system sets and the
    // value-sourced sets of Bx and Dx compare two registers; 8x and 9x
    // compare the register they set.
    void CheckCondition() const {
        const CommandCondition& condition = command_.Condition;
        if (condition.Operator == Comparison::None) return;
        const bool fiveByteSet = command_.Kind == CommandKind::Set &&
                                 (command_.Layout == CommandLayout::ConditionBraced ||
                                  command_.Layout == CommandLayout::LinkAfter) &&
                                 command_.Source.Kind == CommandOperand::Type::Immediate;
        const bool twoRegisters = IsJumpOrCall(command_.Kind) || IsSystemSet(command_.Kind) || fiveByteSet;
        if (twoRegisters && condition.Right.Kind == CommandOperand::Type::Immediate) {
            in_.FailAt(rightColumn_, "a register (GPRMn, SPRMn): this command compares two registers");
        }
        if (command_.Layout == CommandLayout::LinkCondition && condition.Left != command_.Target) {
            in_.FailAt(leftColumn_, "the register the command sets (" + Dec(command_.Target) + ")");
        }
    }
};

}  // namespace

CommandTextError::CommandTextError(const std::string& text, int column, const std::string& expected)
    : Error("The command text \"" + text + "\" is refused at column " + Dec(column) + ": " + expected +
            " was expected."),
      column_(column),
      expected_(expected) {}

VmCommand ParseCommandText(std::string_view text) { return Parser(text).Parse(); }

}  // namespace kestrova
