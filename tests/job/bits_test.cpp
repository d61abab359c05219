// Hexadecimal and binary text helpers, padding, and the checked byte reader.
#include "job/bits.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "platform/error.h"

namespace kestrova {
namespace {

// The message of the Error a call throws, or "" when it throws none.
template <typename Call>
std::string ErrorText(Call call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

TEST(Bits, HexToBinWritesFourDigitsPerHexDigit) {
    EXPECT_EQ(HexToBin("0"), "0000");
    EXPECT_EQ(HexToBin("A5"), "10100101");
    EXPECT_EQ(HexToBin("c0ff"), "1100000011111111");
    EXPECT_EQ(HexToBin(""), "");
    EXPECT_NE(ErrorText([] { HexToBin("1G"); }).find("\"1G\""), std::string::npos);
}

TEST(Bits, BintoIntJoinsOneDecimalNumberPerGroupOfFour) {
    struct Case {
        const char* binary;
        bool low;
        const char* expected;
    };
    const Case cases[] = {
        {"00010010", false, "12"},   // the BCD frames 12
        {"00100100", false, "24"},
        {"00000000", false, "00"},   // two groups, two digits
        {"11110000", false, "150"},  // a group above 9 gives two digits
        {"00011010", false, "110"},  // a damaged BCD frame byte
        {"0010", false, "2"},
        {"10", false, "2"},          // leading zeros may be left off
        {"100010", false, "22"},     // groups are cut from the right
        {"00011010", true, "10"},    // only the last four count
        {"11110011", true, "3"},
        {"", false, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(BintoInt(c.binary, c.low), c.expected) << c.binary << " low=" << c.low;
    }
    EXPECT_THROW(BintoInt("0120"), Error);
}

TEST(Bits, BinToLongKeepsAll32Bits) {
    EXPECT_EQ(BinToLong(""), 0);
    EXPECT_EQ(BinToLong("1111"), 15);
    EXPECT_EQ(BinToLong("000100000000"), 256);
    EXPECT_EQ(BinToLong(std::string(32, '1')), -1);
    EXPECT_EQ(BinToLong("1" + std::string(31, '0')), INT32_MIN);
    EXPECT_EQ(BinToLong("0" + std::string(31, '1')), INT32_MAX);
    EXPECT_EQ(BinToLong(std::string(8, '0') + std::string(32, '1')), -1);  // leading zeros do not count
    EXPECT_THROW(BinToLong("1" + std::string(32, '0')), Error);
}

TEST(Bits, Bin2DecReadsTheShortFieldTable) {
    const std::pair<const char*, std::int32_t> table[] = {
        {"00", 0},  {"01", 1},  {"10", 2},  {"11", 3},  {"100", 4}, {"101", 5},
        {"110", 6}, {"111", 7}, {"001", 1}, {"010", 2}, {"011", 3},
    };
    for (const auto& [binary, value] : table) EXPECT_EQ(Bin2Dec(binary), value) << binary;
    // Three-bit fields whose value the table leaves out, such as AC3's 000.
    EXPECT_EQ(Bin2Dec("000"), 0);
    EXPECT_EQ(Bin2Dec("1"), 1);
    EXPECT_THROW(Bin2Dec("12"), Error);
}

TEST(Bits, Dec2binPadsToEightDigits) {
    EXPECT_EQ(dec2bin(0), "00000000");
    EXPECT_EQ(dec2bin(5), "00000101");
    EXPECT_EQ(dec2bin(255), "11111111");
    EXPECT_EQ(dec2bin(256), "100000000");
    EXPECT_THROW(dec2bin(-1), Error);
}

TEST(Bits, EveryByteAgreesInAllItsForms) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        const std::string binary = dec2bin(value);
        ASSERT_EQ(HexToBin(Pad_Byte(byte)), binary) << value;
        ASSERT_EQ(BinToLong(binary), value) << value;
        ASSERT_EQ(std::stoi(BintoInt(binary, true)), value & 0x0F) << value;
    }
}

TEST(Bits, PaddingHelpers) {
    EXPECT_EQ(Pad_Byte(0), "00");
    EXPECT_EQ(Pad_Byte(10), "0A");
    EXPECT_EQ(Pad_Byte(0x3C), "3C");
    EXPECT_EQ(Pad_Byte(255), "FF");

    EXPECT_EQ(EightBit("1"), "00000001");
    EXPECT_EQ(EightBit(""), "00000000");
    EXPECT_EQ(EightBit("123456789"), "123456789");

    EXPECT_EQ(Pad_Binary("101"), "00000101");
    EXPECT_EQ(Pad_Binary("101", true), std::string(33, '0') + "101");
    EXPECT_EQ(Pad_Binary("101010101"), "101010101");

    EXPECT_EQ(PadLength(4, "7"), "0007");
    EXPECT_EQ(PadLength(2, "123"), "23");
    EXPECT_EQ(PadLength(12, "7"), "00000000007");  // shorter than asked: all of it
    EXPECT_EQ(PadLength(0, "7"), "");
}

TEST(Bits, ByteArray2LongIsUnsigned) {
    EXPECT_EQ(ByteArray2Long({}), 0);
    const std::uint8_t two[] = {0x01, 0x02};
    EXPECT_EQ(ByteArray2Long(two), 258);
    const std::uint8_t top[] = {0x80, 0x00, 0x00, 0x00};
    EXPECT_EQ(ByteArray2Long(top), 2147483648LL);
    const std::uint8_t all[] = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(ByteArray2Long(all), 4294967295LL);
    const std::uint8_t five[] = {1, 2, 3, 4, 5};
    EXPECT_THROW(ByteArray2Long(five), Error);
}

class ByteHandleTest : public ::testing::Test {
protected:
    const std::array<std::uint8_t, 6> bytes_{0x00, 0x01, 0xC0, 0xFF, 0x12, 0xA5};
    const ByteSource source_{bytes_, "VTS_01_0.IFO"};
};

TEST_F(ByteHandleTest, EachModeReadsBigEndian) {
    EXPECT_EQ(ByteHandleD(source_, 0, 2), 1);
    EXPECT_EQ(ByteHandleD(source_, 0), 0x0001C0FF);  // four bytes unless told
    EXPECT_EQ(ByteHandleD(source_, 2, 4), 3237941925LL);
    EXPECT_EQ(ByteHandleCS(source_, 2, 4), -1057025371);
    EXPECT_EQ(ByteHandleD(source_, 6, 0), 0);
    EXPECT_EQ(ByteHandleH(source_, 2, 3), (std::vector<std::string>{"C0", "FF", "12"}));
    EXPECT_EQ(ByteHandleB(source_, 4, 2), (std::vector<std::string>{"00010010", "10100101"}));
    EXPECT_EQ(ByteHandleBS(source_, 4, 2), "0001001010100101");
    EXPECT_EQ(ByteHandleS(source_, 2, 4), "C0FF12A5");
    EXPECT_EQ(ByteHandleBytes(source_, 1, 2), (std::vector<std::uint8_t>{0x01, 0xC0}));
    EXPECT_EQ(ByteAt(source_, 5), 0xA5);
}

TEST_F(ByteHandleTest, ModeTextSelectsTheSameReadings) {
    EXPECT_EQ(ByteHandle(source_, 2, 4, "D").Number, 3237941925LL);
    EXPECT_EQ(ByteHandle(source_, 2, 4, "CS").Number, -1057025371);
    EXPECT_EQ(ByteHandle(source_, 2, 3, "H").Texts, (std::vector<std::string>{"C0", "FF", "12"}));
    EXPECT_EQ(ByteHandle(source_, 4, 1, "B").Texts, (std::vector<std::string>{"00010010"}));
    EXPECT_EQ(ByteHandle(source_, 4, 2, "BS").Text, "0001001010100101");
    EXPECT_EQ(ByteHandle(source_, 0, 4, "S").Text, "0001C0FF");
    EXPECT_EQ(ByteHandle(source_, 1, 2, "").Bytes, (std::vector<std::uint8_t>{0x01, 0xC0}));
    const std::string bad = ErrorText([this] { ByteHandle(source_, 0, 1, "X"); });
    EXPECT_NE(bad.find("\"X\""), std::string::npos) << bad;
}

TEST_F(ByteHandleTest, ReadsOutsideTheFileNameFileOffsetAndLength) {
    const std::string pastEnd = ErrorText([this] { ByteHandleD(source_, 3, 4); });
    EXPECT_NE(pastEnd.find("VTS_01_0.IFO"), std::string::npos) << pastEnd;
    EXPECT_NE(pastEnd.find("offset 3"), std::string::npos) << pastEnd;
    EXPECT_NE(pastEnd.find("4 bytes"), std::string::npos) << pastEnd;
    EXPECT_NE(pastEnd.find("holds 6 bytes"), std::string::npos) << pastEnd;

    EXPECT_NE(ErrorText([this] { ByteHandle(source_, 6, 1, "H"); }).find("offset 6"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteAt(source_, 6); }).find("VTS_01_0.IFO"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteHandleS(source_, -1, 1); }).find("offset -1"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteHandleBS(source_, 0, -2); }), "");
    // An offset near the top of the range must not wrap around into the file.
    EXPECT_NE(ErrorText([this] { ByteHandleB(source_, INT64_MAX, 2); }), "");
    // A number is at most four bytes, even where the file holds more.
    const std::string wide = ErrorText([this] { ByteHandleD(source_, 0, 5); });
    EXPECT_NE(wide.find("VTS_01_0.IFO"), std::string::npos) << wide;
    EXPECT_NE(wide.find("at most 4"), std::string::npos) << wide;
}

}  // namespace
}  // namespace kestrova
