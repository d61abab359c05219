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

TEST(Bits, EveryByteAgreesInAllItsForms) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        const std::string binary = dec2bin(value);
        ASSERT_EQ(binary.size(), 8u) << value;
        ASSERT_EQ(HexToBin(Pad_Byte(byte)), binary) << value;
        ASSERT_EQ(BinToLong(binary), value) << value;
        ASSERT_EQ(Bin2Dec(binary), value) << value;
        ASSERT_EQ(std::stoi(BintoInt(binary, true)), value & 0x0F) << value;
    }
    EXPECT_EQ(HexToBin("c0ff"), "1100000011111111");
    EXPECT_NE(ErrorText([] { HexToBin("1G"); }).find("\"1G\""), std::string::npos);
    EXPECT_EQ(dec2bin(256), "100000000");
    EXPECT_THROW(dec2bin(-1), Error);
    EXPECT_THROW(Bin2Dec("12"), Error);
}

TEST(Bits, BintoIntJoinsOneDecimalNumberPerGroupOfFourFromTheRight) {
    EXPECT_EQ(BintoInt("00010010"), "12");
    EXPECT_EQ(BintoInt("11110000"), "150");
    EXPECT_EQ(BintoInt("100010"), "22") << "the short group is the first one";
    EXPECT_EQ(BintoInt(""), "");
    EXPECT_THROW(BintoInt("0120"), Error);
}

TEST(Bits, BinToLongKeepsAll32Bits) {
    EXPECT_EQ(BinToLong(std::string(32, '1')), -1);
    EXPECT_EQ(BinToLong("1" + std::string(31, '0')), INT32_MIN);
    EXPECT_EQ(BinToLong(std::string(8, '0') + std::string(32, '1')), -1);  // leading zeros do not count
    EXPECT_THROW(BinToLong("1" + std::string(32, '0')), Error);
}

TEST(Bits, PaddingHelpersAndByteArray2Long) {
    EXPECT_EQ(EightBit("123456789"), "123456789");
    EXPECT_EQ(Pad_Binary("101", true), std::string(33, '0') + "101");
    EXPECT_EQ(PadLength(2, "123"), "23");
    EXPECT_EQ(PadLength(12, "7"), "00000000007");  // shorter than asked: all of it

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

// Each mode through ByteHandle, which calls the typed form of its name.
TEST_F(ByteHandleTest, EachModeReadsBigEndian) {
    EXPECT_EQ(ByteHandleD(source_, 0), 0x0001C0FF);  // four bytes unless told
    EXPECT_EQ(ByteHandleD(source_, 6, 0), 0);
    EXPECT_EQ(ByteAt(source_, 5), 0xA5);
    EXPECT_EQ(ByteHandle(source_, 2, 4, "D").Number, 3237941925LL);
    EXPECT_EQ(ByteHandle(source_, 2, 4, "CS").Number, -1057025371);
    EXPECT_EQ(ByteHandle(source_, 2, 3, "H").Texts, (std::vector<std::string>{"C0", "FF", "12"}));
    EXPECT_EQ(ByteHandle(source_, 4, 2, "B").Texts, (std::vector<std::string>{"00010010", "10100101"}));
    EXPECT_EQ(ByteHandle(source_, 4, 2, "BS").Text, "0001001010100101");
    EXPECT_EQ(ByteHandle(source_, 2, 4, "S").Text, "C0FF12A5");
    EXPECT_EQ(ByteHandle(source_, 1, 2, "").Bytes, (std::vector<std::uint8_t>{0x01, 0xC0}));
    EXPECT_NE(ErrorText([this] { ByteHandle(source_, 0, 1, "X"); }).find("\"X\""), std::string::npos);
}

TEST_F(ByteHandleTest, ReadsOutsideTheFileNameFileOffsetAndLength) {
    const std::string pastEnd = ErrorText([this] { ByteHandleD(source_, 3, 4); });
    for (const char* part : {"VTS_01_0.IFO", "offset 3", "4 bytes", "holds 6 bytes"}) {
        EXPECT_NE(pastEnd.find(part), std::string::npos) << pastEnd;
    }
    EXPECT_NE(ErrorText([this] { ByteHandle(source_, 6, 1, "H"); }).find("offset 6"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteAt(source_, 6); }).find("VTS_01_0.IFO"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteHandleS(source_, -1, 1); }).find("offset -1"), std::string::npos);
    EXPECT_NE(ErrorText([this] { ByteHandleBS(source_, 0, -2); }), "");
    // An offset near the top of the range must not wrap around into the file.
    EXPECT_NE(ErrorText([this] { ByteHandleB(source_, INT64_MAX, 2); }), "");
    // A number is at most four bytes, even where the file holds more.
    EXPECT_NE(ErrorText([this] { ByteHandleD(source_, 0, 5); }).find("at most 4"), std::string::npos);
}

TEST(Bits, WritesGoBigEndianAndStayInsideTheBuffer) {
    std::vector<std::uint8_t> pack(12, 0xEE);
    EXPECT_EQ(GetLBA(300), "0000012C");
    EXPECT_EQ(GetLBA(-1), "FFFFFFFF");
    WRITEDATA(pack, "VTS_01_1.VOB", 0x0001C0FF, 1);
    WRITEDATAEIGHT(pack, "VTS_01_1.VOB", "a100000000000001", 4);
    EXPECT_EQ(pack, (std::vector<std::uint8_t>{0xEE, 0x00, 0x01, 0xC0, 0xA1, 0, 0, 0, 0, 0, 0, 0x01}));
    const std::string past = ErrorText([&] { WRITEDATA(pack, "VTS_01_1.VOB", 1, 9); });
    for (const char* part : {"VTS_01_1.VOB", "offset 9", "holds 12 bytes"}) {
        EXPECT_NE(past.find(part), std::string::npos) << past;
    }
    EXPECT_NE(ErrorText([&] { WRITEDATA(pack, "F", 1, -1); }), "");
    EXPECT_NE(ErrorText([&] { WRITEDATAEIGHT(pack, "F", "A1000000000000", 0); }).find("sixteen"), std::string::npos);
    EXPECT_NE(ErrorText([&] { WRITEDATAEIGHT(pack, "F", "A10000000000000G", 0); }), "");
    EXPECT_EQ(pack[0], 0xEE) << "a refused write leaves the buffer as it was";
}

}  // namespace
}  // namespace kestrova
