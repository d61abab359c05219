// Bytes and bits as text: the hexadecimal and binary forms the DVD reader
// and the patchers pass around, the padding helpers, and ByteHandle, the one
// checked reader of big-endian fields of a DVD structure held in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

// Each hexadecimal digit (either case) as four binary digits. Throws Error
// for any other character.
std::string HexToBin(std::string_view hex);

// Binary text in groups of four taken from the right, each group written as
// one decimal number 0..15, the numbers joined: "00010010" gives "12" and
// "11110000" gives "150". With low set only the last four digits count and
// the result is one number. Throws Error for a character other than 0 or 1.
std::string BintoInt(std::string_view binary, bool low = false);

// Binary text read as an unsigned number of at most 32 significant bits,
// returned with its bits as a 32-bit value (bit 31 set gives a negative).
std::int32_t BinToLong(std::string_view binary);

// The short bit fields of the attribute words: "00".."11", "100".."111" and
// "001".."011" give 0..7; any other binary text gives its plain value.
std::int32_t Bin2Dec(std::string_view binary);

// A non-negative number as binary text, at least 8 digits.
std::string dec2bin(std::int64_t number);

// Zeros on the left up to 8 characters; longer text is left as it is.
std::string EightBit(std::string_view text);

// A byte as two upper-case hexadecimal digits.
std::string Pad_Byte(std::uint8_t byte);

// Zeros on the left up to 8 characters, or up to 36 with wide set.
std::string Pad_Binary(std::string_view text, bool wide = false);

// The last `length` characters of ten zeros followed by the text.
std::string PadLength(std::size_t length, std::string_view text);

// Up to four bytes read big-endian as an unsigned value.
std::int64_t ByteArray2Long(std::span<const std::uint8_t> bytes);

// The bytes of one file held in memory, with the file's name for messages.
struct ByteSource {
    std::span<const std::uint8_t> Bytes;
    std::string FileName;
};

// What ByteHandle gives back; which member is filled depends on the mode.
struct ByteField {
    std::int64_t Number = 0;              // "D", "CS"
    std::vector<std::uint8_t> Bytes;      // "" (empty mode)
    std::vector<std::string> Texts;       // "H", "B"
    std::string Text;                     // "BS", "S"
};

// The `count` bytes from `start` of the source; throws Error naming the file,
// the offset and the length when they do not lie inside it.
std::span<const std::uint8_t> CheckedBytes(const ByteSource& source, std::int64_t start, std::int64_t count);

// One byte at an offset, checked like every other read.
std::uint8_t ByteAt(const ByteSource& source, std::int64_t offset);

// The typed forms of ByteHandle, one per mode.
std::int64_t ByteHandleD(const ByteSource& source, std::int64_t start, std::int64_t count = 4);   // unsigned, <= 4 bytes
std::int32_t ByteHandleCS(const ByteSource& source, std::int64_t start, std::int64_t count = 4);  // signed, <= 4 bytes
std::vector<std::string> ByteHandleH(const ByteSource& source, std::int64_t start, std::int64_t count = 4);
std::vector<std::string> ByteHandleB(const ByteSource& source, std::int64_t start, std::int64_t count = 4);
std::string ByteHandleBS(const ByteSource& source, std::int64_t start, std::int64_t count = 4);
std::string ByteHandleS(const ByteSource& source, std::int64_t start, std::int64_t count = 4);     // hex digits joined
std::vector<std::uint8_t> ByteHandleBytes(const ByteSource& source, std::int64_t start, std::int64_t count = 4);

// The mode-string form: "" the bytes, "H" hexadecimal texts, "B" binary
// texts, "BS" the binary texts joined, "D" an unsigned big-endian number,
// "S" the hexadecimal texts joined, "CS" that text read as a signed 32-bit
// number. Throws Error for another mode.
ByteField ByteHandle(const ByteSource& source, std::int64_t start, std::int64_t count, std::string_view mode);

// The write side of ByteHandle, for the patchers. A sector number or
// other 32-bit value as eight upper-case hexadecimal digits, zeros first
// (a negative value as its 32 bits).
std::string GetLBA(std::int64_t value);

// Writes the value big-endian in the four bytes at offset (through GetLBA's
// digits). Throws Error naming the buffer's file and the offset when the
// four bytes do not lie inside it.
void WRITEDATA(std::span<std::uint8_t> buffer, const std::string& fileName, std::int64_t value,
               std::int64_t offset);

// Writes sixteen hexadecimal digits (a button command) as the eight bytes
// at offset. Throws Error for other text, or, naming the file and the
// offset, when the bytes do not lie inside the buffer.
void WRITEDATAEIGHT(std::span<std::uint8_t> buffer, const std::string& fileName, std::string_view text,
                    std::int64_t offset);

}  // namespace kestrova
