// The command decoder: every form of every command family, the parts it is
// built from, user-operation masks, the title command list, and every
// command found on the fixture discs.
#include "dvd/vm_commands.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "command_rows.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

// "30 06 00 01 00 C0 00 00" as the eight byte texts.
CommandBytes Bytes(const std::string& spaced) {
    CommandBytes bytes;
    std::istringstream in(spaced);
    for (auto& byte : bytes) in >> byte;
    return bytes;
}

template <typename Call>
std::string ErrorText(Call call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

struct Row {
    const char* bytes;
    const char* expected;
};

// Every text the decoder writes, once; values only where a field has a bound.
TEST(Hex2Command, EveryFormOfEveryFamily) {
    test::JobFixture fixture;
    for (const test::CommandRow& row : test::kCommandRows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(Hex2Command(fixture.job, Bytes(row.bytes)), row.expected);
    }
}

// Every pre, post and cell command libdvdread lists on the fixture discs
// (menu, first-play and title PGCs) decodes to a text. The one form left
// empty is a command of type 7 (top three bits of b0), which the DVD's
// command set does not define.
TEST(Hex2Command, EveryCommandOnTheFixtureDiscs) {
    test::JobFixture fixture;
    for (const auto& disc : test::FixtureDiscs()) {
        const std::string call = std::string(KESTROVA_DVDREAD_DUMP) + " '" + disc + "'";
        FILE* dump = popen(call.c_str(), "r");
        ASSERT_NE(dump, nullptr) << call;
        int commands = 0;
        char line[512];
        while (std::fgets(line, sizeof line, dump) != nullptr) {
            std::istringstream fields(line);
            std::string word, id, list, number, hex;
            if (!(fields >> word >> id >> list >> number >> hex) || word != "CMD") continue;
            ++commands;
            CommandBytes bytes;
            for (std::size_t b = 0; b < bytes.size(); ++b) bytes[b] = hex.substr(2 * b, 2);
            const bool undefined = CommandByteValue(bytes[0], "b0") >> 5 == 7;
            EXPECT_TRUE(!Hex2Command(fixture.job, bytes).empty() || undefined) << disc << ": " << line;
        }
        EXPECT_EQ(pclose(dump), 0) << call;
        EXPECT_GT(commands, 0) << "dvdread-dump listed no command of " << disc;
    }
}

TEST(Hex2Command, JumpToTheCurrentTitleSetMenuInMuxmanSingleFileMode) {
    test::JobFixture fixture;
    const CommandBytes jump = Bytes("30 06 00 02 00 85 00 00");
    fixture.job.Options().Muxman = 1;
    EXPECT_EQ(Hex2Command(fixture.job, jump), "SPECIAL_MENU_Audio Menu");
    fixture.job.Options().SingleMXP = 1;
    EXPECT_EQ(Hex2Command(fixture.job, jump), "JumpSS vts_0, vts_ttn_2 : AudioMenu");
    fixture.job.Options().Muxman = -1;  // only the value 1 counts as on
    EXPECT_EQ(Hex2Command(fixture.job, jump), "SPECIAL_MENU_Audio Menu");
}

TEST(Hex2Command, ByteTextsAreCheckedAndMayBeLowerCase) {
    test::JobFixture fixture;
    EXPECT_EQ(Hex2Command(fixture.job, Bytes("51 00 00 81 c0 00 00 00")), "SetSTN audio=2, subpicture=1:ON");
    EXPECT_EQ(Hex2Command(fixture.job, Bytes("61 00 00 09 00 8a 00 00")), "Mov GPRM9, SPRM10");
    EXPECT_EQ(Hex2Command(fixture.job, Bytes("20 01 00 00 00 00 0c 0d")), "LinkTailPGC, button=3");

    const std::string badDigit = ErrorText([&] { Hex2Command(fixture.job, Bytes("00 0G 00 00 00 00 00 00")); });
    EXPECT_NE(badDigit.find("b1"), std::string::npos) << badDigit;
    EXPECT_NE(badDigit.find("\"0G\""), std::string::npos) << badDigit;
    EXPECT_NE(ErrorText([&] { Hex2Command(fixture.job, Bytes("00 00 00 00 00 00 00 000")); }).find("b7"),
              std::string::npos);
    CommandBytes shortCommand = Bytes("00 00 00 00 00 00 00 00");
    shortCommand[0] = "";
    EXPECT_NE(ErrorText([&] { Hex2Command(fixture.job, shortCommand); }).find("b0"), std::string::npos);
    EXPECT_TRUE(fixture.trace.Stack().empty()) << "the trace frame is left also when the decoder throws";
}

// The conditions the decoder's families never ask for: no comparison digit, no such version.
TEST(CommandParts, CompareCodesOutsideTheFamiliesForms) {
    struct Case { const char* bytes; int version; const char* expected; };
    const Case cases[] = {
        {"00 80 02 03 01 05 06 07", 1, ""},  // 8 carries the immediate flag alone
        {"00 A0 02 03 01 05 06 07", 2, "if ( GPRM6 == GPRM7 ) "},  // version 2 has no immediate form
        {"D1 E0 02 03 01 05 06 07", 5, "if ( GPRM1 <= GPRM5 ) "},  // nor have families B and D
        {"71 50 02 03 01 05 06 07", 5, ""},  // version 5 belongs to families Ax to Dx
        {"00 20 02 03 01 05 06 07", 0, ""}, {"00 20 02 03 01 05 06 07", 6, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Compare_Codes(Bytes(c.bytes), c.version), c.expected) << c.bytes << " version " << c.version;
    }
}

// The parts at the ends of their ranges, and the words the decoder's rows above do not reach.
TEST(CommandParts, OperatorsRegistersSetTypesMenusAndKaraoke) {
    for (int digit = 1; digit <= 7; ++digit) {
        EXPECT_FALSE(Math_Function(digit).empty()) << digit;
        EXPECT_EQ(Math_Function(digit + 8), Math_Function(digit)) << "the immediate form of " << digit;
    }
    for (const int digit : {0, 8, 16}) EXPECT_EQ(Math_Function(digit), "") << digit;
    for (const int digit : {2, 8}) EXPECT_EQ(Compare_Menu_Type(digit) + SpecialCompare_Menu_Type(digit), "") << digit;

    const Row registers[] = {{"00", "GPRM0"}, {"0F", "GPRM15"}, {"10", ""}, {"7F", ""}, {"80", "SPRM0"},
                             {"97", "SPRM23"}, {"98", ""}, {"8a", "SPRM10"}, {"FF", ""}};
    for (const Row& row : registers) EXPECT_EQ(Compare_Registers(row.bytes), row.expected) << row.bytes;
    EXPECT_NE(ErrorText([] { Compare_Registers("x1"); }).find("\"x1\""), std::string::npos);

    const Row setTypes[] = {{"70", ""},    {"76", "Div"}, {"78", "Rnd"}, {"79", "And"}, {"7A", "Or"},
                            {"7B", "Xor"}, {"7C", ""},    {"7F", ""},    {"a9", "And"}, {"D3", "Add"}};
    for (const Row& row : setTypes) EXPECT_EQ(Compare_Set_Type(row.bytes), row.expected) << row.bytes;

    const Row mixes[] = {
        {"00", "ACH0(4:OFF,3:OFF,2:OFF)"}, {"04", "ACH0(4:OFF,3:OFF,2:ON)"}, {"08", "ACH0(4:OFF,3:ON,2:OFF)"},
        {"0C", "ACH0(4:OFF,3:ON,2:ON)"},   {"10", "ACH0(4:ON,3:OFF,2:OFF)"}, {"14", "ACH0(4:ON,3:OFF,2:ON)"},
        {"18", "ACH0(4:ON,3:ON,2:OFF)"},   {"1c", "ACH0(4:ON,3:ON,2:ON)"},   {"02", "ACH0"}, {"9C", "ACH0"},
    };
    for (const Row& row : mixes) EXPECT_EQ(GetKaraoke(row.bytes, 0), row.expected) << row.bytes;
    EXPECT_EQ(GetKaraoke("14", 1), "ACH1(4:ON,3:OFF,2:ON)");
}

// The link after a set command has a table of its own: it names the links as the plain link
// command does (but "LinkGoupPGC"), reads the whole of b7 and rounds the button.
TEST(CommandParts, LinkAfterASetCommand) {
    test::JobFixture fixture;
    for (const char* code : {"01", "02", "03", "05", "06", "07", "09", "0A", "0B", "0D"}) {
        EXPECT_EQ(Compare_Link_Command(1, code, "08"),
                  Hex2Command(fixture.job, Bytes(std::string("20 01 00 00 00 00 08 ") + code))) << code;
    }
    struct Case { int lowDigit; const char *b7, *b6, *expected; };
    const Case cases[] = {
        {1, "0C", "00", "LinkGoupPGC, button=0"}, {1, "0D", "FC", "LinkTailPGC, button=63"},
        {1, "10", "08", "RSM, button=0"},          {1, "0D", "05", "LinkTailPGC, button=1"},  // 1.25
        {1, "0D", "06", "LinkTailPGC, button=2"},  {1, "0D", "0A", "LinkTailPGC, button=2"},  // halves to even
        {1, "1D", "00", ""}, {1, "00", "04", ""}, {1, "04", "00", ""}, {1, "08", "00", ""}, {1, "0E", "00", ""},
        {4, "02", "01", "LinkPGCN 258"},           {5, "01", "05", "LinkPTTN 257, button=1"},
        {6, "03", "08", "LinkPGN 3, button=2"},    {7, "02", "0C", "LinkCN 2, button=3"},
        {0, "0D", "00", ""}, {2, "0D", "00", ""}, {3, "0D", "00", ""}, {8, "0D", "00", ""}, {15, "0D", "00", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Compare_Link_Command(c.lowDigit, c.b7, c.b6), c.expected) << c.lowDigit << " " << c.b7 << " " << c.b6;
    }
}

// GETUOP over a 32-bit mask given as a number.
std::vector<std::string> UOPs(JobContext& job, std::uint32_t mask) {
    std::array<std::string, 4> texts;
    for (int bit = 31; bit >= 0; --bit) texts[static_cast<std::size_t>(31 - bit) / 8] += (mask >> bit & 1) ? '1' : '0';
    return GETUOP(job, texts[0], texts[1], texts[2], texts[3]);
}

// Each of bits 0 to 24 names its own operation as "UOP<bit>  <operation>=Prohibited"; bits 25 to 27 give
// empty lines and 28 to 31 are not looked at.
TEST(GETUOP, EachBitAndAllBits) {
    const auto isBitLine = [](const std::string& line, int bit) {
        const std::string head = "UOP" + std::to_string(bit) + "  ";
        const std::string tail = "=Prohibited";
        return line.size() > head.size() + tail.size() && line.compare(0, head.size(), head) == 0 &&
               line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
    };
    test::JobFixture fixture;
    JobContext& job = fixture.job;
    const std::vector<std::string> all = GETUOP(job, "11111111", "11111111", "11111111", "11111111");
    ASSERT_EQ(all.size(), 28u);
    for (int bit = 0; bit < 28; ++bit) {
        const std::string& line = all[static_cast<std::size_t>(bit)];
        EXPECT_TRUE(bit < 25 ? isBitLine(line, bit) : line.empty()) << bit << ": " << line;
        job.UOPFound = 0;
        EXPECT_EQ(UOPs(job, 1U << bit), std::vector<std::string>{line}) << bit;
        EXPECT_EQ(job.UOPFound, -1) << bit;
    }
    EXPECT_EQ(all[20], "UOP20  Audio_Sream_Change()=Prohibited") << "the text the back ends match, as written";
    EXPECT_EQ(UOPs(job, 0x00000401), (std::vector<std::string>{all[0], all[10]})) << "lowest bit first";
    job.UOPFound = -1;
    EXPECT_TRUE(UOPs(job, 0xF0000000).empty());
    EXPECT_EQ(job.UOPFound, 0) << "a clear mask clears the flag";

    EXPECT_NE(ErrorText([&] { GETUOP(job, "00000000", "00000000", "0000000", "00000000"); }).find("byte2"),
              std::string::npos);
    EXPECT_NE(ErrorText([&] { GETUOP(job, "0000000a", "00000000", "00000000", "00000000"); }).find("byte0"),
              std::string::npos);
}

TEST(GetTitleCommands, RecordsJumpsToTitlesAndChapters) {
    struct Case { const char* text; int titleSet; bool added; std::int16_t title, program; };
    const Case cases[] = {
        {"JumpVTS_TT 3", 2, true, 3, 0},
        {"{ JumpVTS_TT 4 } JumpTT 9", 1, true, 4, 0},  // the first matching case only
        {"if ( GPRM4 == GPRM5 ) JumpTT 17", 0, true, 17, 0},
        {"JumpVTS_PTT ptt_772 @ vts_ttn_1", 3, true, 1, 772},
        {"JumpSS vts_1, vts_ttn_1 : RootMenu", 0, false, 0, 0},
        {"CallSS RSM=1, pgc_1", 1, false, 0, 0},
        {"jumptt 3", 1, false, 0, 0},  // the words are looked for as written
    };
    test::JobFixture fixture;
    JobContext& job = fixture.job;
    std::size_t count = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        GetTitleCommands(job, c.text, c.titleSet);
        if (c.added) ++count;
        ASSERT_EQ(job.TitleCommands.Count(), count);
        if (!c.added) continue;
        const TempCommands_Properties& entry = job.TitleCommands.Item(count);
        EXPECT_EQ(entry.Command, c.text);
        EXPECT_EQ(entry.Title, c.title);
        EXPECT_EQ(entry.Program, c.program);
        EXPECT_EQ(entry.VTS, c.titleSet);
    }

    // The texts the decoder writes are understood.
    GetTitleCommands(job, Hex2Command(job, Bytes("30 23 00 00 00 01 0E 0D")), 1);
    GetTitleCommands(job, Hex2Command(job, Bytes("30 05 00 03 00 02 00 00")), 2);
    ASSERT_EQ(job.TitleCommands.Count(), count + 2);
    EXPECT_EQ(job.TitleCommands.Item(count + 1).Title, 1);
    EXPECT_EQ(job.TitleCommands.Item(count + 2).Title, 2);
    EXPECT_EQ(job.TitleCommands.Item(count + 2).Program, 3);
}

}  // namespace
}  // namespace kestrova
