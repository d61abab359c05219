// The command text parser: real commands decoded and read back, each field
// checked against the bytes it came from, and the texts it refuses.
#include "dvd/command_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "command_rows.h"
#include "disc_reading.h"
#include "dvd/title_pgcs.h"
#include "dvd/vm_commands.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Type = CommandOperand::Type;

// The fields of one command's bytes, read as the DVD lays them out.
struct Fields {
    std::array<int, 8> v{};
    explicit Fields(const CommandBytes& bytes) {
        for (std::size_t i = 0; i < 8; ++i) v[i] = CommandByteValue(bytes[i], "b");
    }
    int Hi(int i) const { return v[static_cast<std::size_t>(i)] >> 4; }
    int Lo(int i) const { return v[static_cast<std::size_t>(i)] & 15; }
    int Word(int i) const { return v[static_cast<std::size_t>(i)] << 8 | v[static_cast<std::size_t>(i) + 1]; }
    CommandOperand Register(int i) const {
        const int value = v[static_cast<std::size_t>(i)];
        if (value <= 15) return {Type::GPRM, value};
        if (value >= 128 && value <= 151) return {Type::SPRM, value - 128};
        return {Type::UnknownRegister, 0};
    }
};

// Halves to even, as the decoder rounds buttons.
int Rounded(int value, int divisor) { return static_cast<int>(std::nearbyint(static_cast<double>(value) / divisor)); }

void ExpectOperand(const CommandOperand& parsed, const CommandOperand& expected, const char* what) {
    EXPECT_EQ(parsed.Kind, expected.Kind) << what;
    EXPECT_EQ(parsed.Value, expected.Value) << what;
}

CommandKind KindOf(const Fields& b) {
    static const CommandKind kSpecial[] = {CommandKind::Nop, CommandKind::GoTo, CommandKind::Break,
                                           CommandKind::SetTmpPML};
    static const CommandKind kJumps[] = {CommandKind::Undefined, CommandKind::Exit,       CommandKind::JumpTT,
                                         CommandKind::JumpVTS_TT, CommandKind::Undefined, CommandKind::JumpVTS_PTT,
                                         CommandKind::JumpSS,     CommandKind::Undefined, CommandKind::CallSS};
    static const CommandKind kSystem[] = {CommandKind::Undefined, CommandKind::SetSTN,   CommandKind::SetNVTMR,
                                          CommandKind::SetGPRMMD, CommandKind::SetAMXMD, CommandKind::Undefined,
                                          CommandKind::SetHL_BTNN};
    if (b.v[0] == 0x00) return kSpecial[b.Lo(1)];
    if (b.v[0] == 0x20) return CommandKind::Link;
    if (b.v[0] == 0x30) return kJumps[b.Lo(1)];
    if (b.Hi(0) == 4 || b.Hi(0) == 5) return kSystem[b.Lo(0)];
    return CommandKind::Set;
}

// The comparison of hi(b1) with its operands where each family keeps them.
void ExpectCondition(const VmCommand& parsed, const Fields& b) {
    const int digit = b.Hi(1), family = b.Hi(0);
    const CommandCondition& condition = parsed.Condition;
    if (condition.Operator == Comparison::None) {
        EXPECT_TRUE(digit % 8 == 0 || parsed.Kind == CommandKind::Nop || parsed.Unknowns.Condition) << "condition lost";
        return;
    }
    EXPECT_EQ(static_cast<int>(condition.Operator), digit % 8);
    const bool registersOnly = b.v[0] == 0x30 || family == 4 || family == 5 || family == 11 || family == 13;
    const auto right = [&](int at) {
        return digit >= 8 && !registersOnly ? CommandOperand{Type::Immediate, b.Word(at)} : b.Register(at + 1);
    };
    struct Place { int left; CommandOperand right; };
    Place place{b.v[3], right(4)};                                                     // 00, 20, Ax, Cx
    if (registersOnly) place = {b.v[6], b.Register(7)};                                // 30, 4x, 5x
    if (family == 6 || family == 7) place = {b.v[2], right(6)};
    if (family == 8 || family == 9) place = {b.Lo(1), right(4)};
    if (family == 11 || family == 13) place = {b.v[4], b.Register(5)};
    EXPECT_EQ(condition.Left, place.left);
    ExpectOperand(condition.Right, place.right, "compared with");
}

// The link in lo(b1) and b6 b7: a plain link's (20) or the one behind a set.
void ExpectLink(const CommandLink& link, const Fields& b, bool behindSet, bool buttonUnknown) {
    static const LinkType kNames[] = {LinkType::None,    LinkType::TopC,    LinkType::NextC,   LinkType::PrevC,
                                      LinkType::None,    LinkType::TopPG,   LinkType::NextPG,  LinkType::PrevPG,
                                      LinkType::None,    LinkType::TopPGC,  LinkType::NextPGC, LinkType::PrevPGC,
                                      LinkType::GoUpPGC, LinkType::TailPGC};
    static const LinkType kByNumber[] = {LinkType::PGCN, LinkType::PTTN, LinkType::PGN, LinkType::CN};
    const int code = behindSet ? b.v[7] : b.Lo(7);
    if (b.Lo(1) >= 4) {
        EXPECT_EQ(link.Type, kByNumber[b.Lo(1) - 4]);
        EXPECT_EQ(link.Number, b.Lo(1) == 4 ? b.Word(6) : b.Lo(1) == 5 ? b.Word(6) % 1024 : b.v[7]);
    } else if (code == 0 || code == 16) {
        EXPECT_EQ(link.Type, b.v[7] == 0 ? LinkType::NoLink : LinkType::RSM);
    } else {
        EXPECT_EQ(link.Type, kNames[code]);
    }
    if (b.Lo(1) == 4 || buttonUnknown) return;
    if (b.Lo(1) == 5) EXPECT_EQ(link.Button, b.Word(6) / 1024);
    else if (behindSet) EXPECT_EQ(link.Button, Rounded(b.v[6], 4));
    else EXPECT_EQ(link.Button * 4 + link.ButtonQuarters, b.v[6]);
}

// The round trip's check: every field the text carries against the bytes.
void ExpectFields(const VmCommand& c, const Fields& b) {
    ASSERT_EQ(c.Kind, KindOf(b));
    ExpectCondition(c, b);
    const bool immediate = b.Hi(0) % 2 == 1;
    switch (c.Kind) {
    case CommandKind::GoTo: EXPECT_EQ(c.Line, b.v[7]); break;
    case CommandKind::SetTmpPML: EXPECT_EQ(c.ParentalLevel, b.Lo(6)); EXPECT_EQ(c.Line, b.v[7]); break;
    case CommandKind::Link: ExpectLink(c.Link, b, false, false); break;
    case CommandKind::JumpTT:
    case CommandKind::JumpVTS_TT: EXPECT_EQ(c.Title, b.v[5]); break;
    case CommandKind::JumpVTS_PTT: EXPECT_EQ(c.Chapter, b.Lo(2) * 256 + b.v[3]); EXPECT_EQ(c.Title, b.v[5]); break;
    case CommandKind::JumpSS:
    case CommandKind::CallSS: {
        static const SystemSpace kSpaces[] = {SystemSpace::FirstPlay, SystemSpace::TitleMenu,
                                              SystemSpace::TitleSetMenu, SystemSpace::VmgPgc};
        EXPECT_EQ(c.Space, kSpaces[b.Hi(5) / 4]);
        if (c.Space == SystemSpace::VmgPgc) { EXPECT_EQ(c.Pgc, b.Word(2)); }
        if (c.Space == SystemSpace::TitleSetMenu) {  // a digit outside 3..7 names no menu
            EXPECT_EQ(static_cast<int>(c.Menu), b.Lo(5) >= 3 && b.Lo(5) <= 7 ? b.Lo(5) : 0);
        }
        if (c.Kind == CommandKind::CallSS) {
            EXPECT_EQ(c.ResumeCell, c.Unknowns.ResumeCell ? 1 : b.v[4]);
            EXPECT_TRUE(!c.Unknowns.ResumeCell || b.v[4] <= 1);
        } else if (c.Space == SystemSpace::TitleSetMenu) {
            EXPECT_EQ(c.TitleSet, b.v[4]);
            if (!c.Unknowns.Title) { EXPECT_EQ(c.Title, b.v[3]); }
        }
        break;
    }
    case CommandKind::SetSTN: {
        const StreamSetting* parts[] = {&c.Audio, &c.Subpicture, &c.Angle};
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(parts[i]->Changed, b.v[static_cast<std::size_t>(3 + i)] >= 128) << "stream " << i;
            if (parts[i]->Changed && !immediate) ExpectOperand(parts[i]->Stream, {Type::GPRM, b.Lo(3 + i)}, "stream");
        }
        if (immediate && c.Audio.Changed) { EXPECT_EQ(c.Audio.Stream.Value, b.Lo(3) + 1); }
        break;
    }
    case CommandKind::SetNVTMR:
        ExpectOperand(c.Source, immediate ? CommandOperand{Type::Immediate, b.Word(2)} : b.Register(3), "NV_TMR");
        EXPECT_EQ(c.Pgc, b.Word(4));
        break;
    case CommandKind::SetGPRMMD:
        EXPECT_EQ(c.Target, b.Lo(5));
        EXPECT_EQ(c.CounterMode, b.v[5] >= 128);
        ExpectOperand(c.Source, {immediate ? Type::Immediate : Type::GPRM, immediate ? b.Word(2) : b.Lo(3)}, "source");
        break;
    case CommandKind::SetAMXMD:
        if (!immediate) ExpectOperand(c.Source, {Type::GPRM, b.v[5]}, "mix register");
        for (std::size_t ch = 0; immediate && ch < 2; ++ch) {
            if (!c.Unknowns.Mix[ch]) EXPECT_EQ(c.Mix[ch], b.v[4 + ch]);
            else EXPECT_TRUE(b.v[4 + ch] % 4 != 0 || b.v[4 + ch] > 28);
        }
        break;
    case CommandKind::SetHL_BTNN:
        ExpectOperand(c.Source, immediate ? CommandOperand{Type::Immediate, Rounded(b.Word(4), 1024)} : b.Register(5),
                      "button");
        break;
    case CommandKind::Set: {
        // Target and source by family 6 to D.
        static const int kTarget[] = {3, 3, -1, -1, -1, -1, -1, -1};
        static const int kSource[] = {5, 4, 3, 2, 2, 2, 2, 2};
        const int family = b.Hi(0) - 6;
        EXPECT_EQ(static_cast<int>(c.Operation), b.Lo(0) <= 11 ? b.Lo(0) : 0);
        EXPECT_EQ(c.Target, kTarget[family] < 0 ? b.Lo(1) : b.v[3]);
        ExpectOperand(c.Source, immediate ? CommandOperand{Type::Immediate, b.Word(kSource[family])}
                                          : b.Register(kSource[family]), "source");
        break;
    }
    default: break;
    }
    if (b.Hi(0) >= 4 && c.Link.Type != LinkType::None) ExpectLink(c.Link, b, true, c.Unknowns.Button);
}

CommandBytes Bytes(const std::string& spaced) {
    CommandBytes bytes;
    std::istringstream in(spaced);
    for (auto& byte : bytes) in >> byte;
    return bytes;
}

// The pre, post and cell commands of every PGC of a disc, read with the
// project's IFO reader: first play, the menus of every language unit, titles.
std::vector<CommandBytes> DiscCommands(JobContext& job, const std::string& disc) {
    std::vector<CommandBytes> commands;
    const auto add = [&commands](const PGCI& pgc) {
        for (const auto* list : {&pgc.Commands.Pre, &pgc.Commands.Post, &pgc.Commands.Cell}) {
            commands.insert(commands.end(), list->begin(), list->end());
        }
    };
    const auto files = test::IfoFiles(job, test::DrivePathOf(job, disc));
    const PlaybackPGCs playback = ReadPlaybackPGCs(job.Files, files);
    if (playback.FP_PGC) add(*playback.FP_PGC);
    for (const auto& titleSet : playback.VTS_PGCIT) {
        for (const TitlePGC& title : titleSet) add(title.Pgc);
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::vector<std::uint8_t> data = job.Files.ReadBytes(files[i]);
        const ByteSource source{data, files[i]};
        const auto units = IfoTable::AtSector(source, "PGCI_UT", i == 0 ? kVmgmPGCI_UT : kVtsmPGCI_UT);
        for (std::int64_t unit = 1; units && unit <= units->Word(0); ++unit) {
            const IfoTable table = units->Sub("PGCI_LU", units->Long(8 * unit + 4), "a language unit");
            for (const PGCI_SRP& entry : ReadPGCI_SRP(table)) add(ReadPGCI(table.Sub("PGC", entry.Offset, "a PGC")));
        }
    }
    return commands;
}

TEST(ParseCommandText, ReadsBackWhatTheDecoderWritesOfRealCommands) {
    test::JobFixture fixture;
    std::vector<CommandBytes> commands;
    for (const test::CommandRow& row : test::kCommandRows) commands.push_back(Bytes(row.bytes));
    // Forms whose text shows less than the bytes: no register, no operation,
    // no menu, unknown karaoke mixes, a braced 6x's condition, NV_TMR of no register.
    for (const char* row : {"61 00 00 02 00 20 00 00", "70 00 00 02 00 20 00 00", "54 00 00 00 02 9C 00 00",
                            "30 06 00 01 01 82 00 00", "61 A1 05 02 00 03 00 0D", "42 00 00 20 00 02 00 00",
                            "A6 11 02 05 00 20 08 10", "30 08 00 00 01 00 00 00"}) {
        commands.push_back(Bytes(row));
    }
    std::size_t fromDiscs = 0;
    for (const std::string& disc : test::FixtureDiscs()) {
        const auto found = DiscCommands(fixture.job, disc);
        EXPECT_FALSE(found.empty()) << disc;
        fromDiscs += found.size();
        commands.insert(commands.end(), found.begin(), found.end());
    }
    EXPECT_GT(fromDiscs, 0u);
    for (const CommandBytes& bytes : commands) {
        const std::string text = Hex2Command(fixture.job, bytes);
        SCOPED_TRACE(CommandHex(bytes) + " \"" + text + "\"");
        const VmCommand parsed = ParseCommandText(text);
        if (text.empty()) EXPECT_EQ(parsed.Kind, CommandKind::Undefined);
        else ExpectFields(parsed, Fields(bytes));
    }
}

TEST(ParseCommandText, RefusesOtherTextsAtTheirColumn) {
    struct Case { const char* text; int column; };
    const Case cases[] = {
        {"#%&!", 1}, {" Nop", 1}, {"Nop ", 4}, {"jumptt 3", 1},                   // garbage, blanks, case
        {"JumpVTS_PTT ptt_3 @ vts_", 25}, {"if ( GPRM3 == 5", 16}, {"JumpTT", 7},  // cut
        {"{ Mov GPRM1, GPRM2 ; LinkTailPGC, button=0", 43},
        {"JumpXX 3", 1}, {"SetSTN volume=2", 8}, {"LinkTopC, knob=1", 11},         // unknown words
        {"JumpSS vts_1, vts_ttn_1 : MainMenu", 27}, {"CallSS RSM=1, TitleMenu!", 24},
        {"Mov GPRM1, GPRM16", 16}, {"if ( GPRM3 == SPRM24 ) break", 19},           // registers out of range
        {"Mov GPRM256, 1", 9}, {"{ Add GPRM16, GPRM2 ;  }", 11},
        {"JumpTT 256", 8}, {"JumpTT 07", 8}, {"LinkTopC, button=64", 18},          // numbers out of range
        {"if ( GPRM1 == 5 ) JumpTT 3", 15},                                         // what one command's bytes hold
        {"{ Add GPRM2, GPRM3 ; if ( GPRM4 == 7 )  }", 31}, {"if ( GPRM1 == GPRM2 ) Nop", 23},
        {"{ SetNVTMR NV_TMR=300, TT_PGCN=260 ; LinkPGCN 261 }", 38}, {"SetSTN audio=1, angle=GPRM2", 23},
        {"CallSS RSM=2, pgc=5", 15}, {"{ SetSTN audio=1 ; LinkNoLink, button=0 }", 20},
    };
    for (const Case& c : cases) {
        try {
            ParseCommandText(c.text);
            ADD_FAILURE() << "taken: " << c.text;
        } catch (const CommandTextError& error) {
            EXPECT_EQ(error.Column(), c.column) << c.text << ": " << error.what();
        }
    }
    try {
        ParseCommandText("JumpTT 300");
        ADD_FAILURE() << "taken: JumpTT 300";
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "The command text \"JumpTT 300\" is refused at column 8: a title number from 0 to "
                                   "255 was expected.");
    }
}

}  // namespace
}  // namespace kestrova
