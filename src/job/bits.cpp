// Bytes and bits as text, and the checked big-endian field reader.
#include "job/bits.h"

#include <algorithm>

#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";


void RequireBinary(std::string_view binary) {
    for (char digit : binary) {
        if (digit != '0' && digit != '1') {
            throw Error("The binary text \"" + std::string(binary) + "\" holds \"" + std::string(1, digit) +
                        "\"; only 0 and 1 were expected.");
        }
    }
}

// The value of a binary text of at most `maxBits` significant digits.
std::uint64_t BinaryValue(std::string_view binary, std::size_t maxBits) {
    RequireBinary(binary);
    const std::size_t first = binary.find('1');
    if (first == std::string_view::npos) return 0;
    if (binary.size() - first > maxBits) {
        throw Error("The binary text \"" + std::string(binary) + "\" does not fit in " + std::to_string(maxBits) +
                    " bits.");
    }
    std::uint64_t value = 0;
    for (char digit : binary.substr(first)) value = (value << 1) | static_cast<std::uint64_t>(digit - '0');
    return value;
}

std::string ByteBinary(std::uint8_t byte) {
    std::string text(8, '0');
    for (int bit = 0; bit < 8; ++bit) {
        if (byte & (0x80 >> bit)) text[static_cast<std::size_t>(bit)] = '1';
    }
    return text;
}

std::string OffsetText(const ByteSource& source, std::int64_t start) {
    return "offset " + std::to_string(start) + " of " + source.FileName;
}

}  // namespace

std::string HexToBin(std::string_view hex) {
    std::string binary;
    binary.reserve(hex.size() * 4);
    for (char digit : hex) {
        const int value = platform::HexDigitValue(digit);
        if (value < 0) {
            throw Error("The text \"" + std::string(hex) + "\" holds \"" + std::string(1, digit) +
                        "\", which is not a hexadecimal digit.");
        }
        for (int bit = 3; bit >= 0; --bit) binary += ((value >> bit) & 1) ? '1' : '0';
    }
    return binary;
}

std::string BintoInt(std::string_view binary, bool low) {
    RequireBinary(binary);
    if (low) {
        const std::size_t keep = std::min<std::size_t>(4, binary.size());
        return std::to_string(BinaryValue(binary.substr(binary.size() - keep), 4));
    }
    // Groups are cut from the right, so a short group can only be the first
    // one, where leading zeros were left off.
    std::string digits;
    std::size_t end = binary.size();
    while (end > 0) {
        const std::size_t begin = end >= 4 ? end - 4 : 0;
        digits.insert(0, std::to_string(BinaryValue(binary.substr(begin, end - begin), 4)));
        end = begin;
    }
    return digits;
}

std::int32_t BinToLong(std::string_view binary) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(BinaryValue(binary, 32)));
}

std::int32_t Bin2Dec(std::string_view binary) {
    // Every row of the field table ("00".."11", "100".."111", "001".."011")
    // is the plain value of its digits, so the plain value serves all widths.
    return static_cast<std::int32_t>(BinaryValue(binary, 31));
}

std::string dec2bin(std::int64_t number) {
    if (number < 0) throw Error("dec2bin was given " + std::to_string(number) + "; a non-negative number was expected.");
    std::string binary;
    for (auto rest = static_cast<std::uint64_t>(number); rest > 0; rest >>= 1) binary.insert(0, 1, (rest & 1) ? '1' : '0');
    return EightBit(binary);
}

std::string EightBit(std::string_view text) { return Pad_Binary(text, false); }

std::string Pad_Byte(std::uint8_t byte) { return {kHexDigits[byte >> 4], kHexDigits[byte & 0x0F]}; }

std::string Pad_Binary(std::string_view text, bool wide) {
    const std::size_t width = wide ? 36 : 8;
    std::string padded(text);
    if (padded.size() < width) padded.insert(0, width - padded.size(), '0');
    return padded;
}

std::string PadLength(std::size_t length, std::string_view text) {
    const std::string padded = "0000000000" + std::string(text);
    return padded.size() <= length ? padded : padded.substr(padded.size() - length);
}

std::int64_t ByteArray2Long(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > 4) {
        throw Error("ByteArray2Long was given " + std::to_string(bytes.size()) +
                    " bytes; at most 4 make one 32-bit number.");
    }
    std::int64_t value = 0;
    for (std::uint8_t byte : bytes) value = (value << 8) | byte;
    return value;
}

std::span<const std::uint8_t> CheckedBytes(const ByteSource& source, std::int64_t start, std::int64_t count) {
    const auto size = static_cast<std::int64_t>(source.Bytes.size());
    if (start < 0 || count < 0 || start > size || count > size - start) {
        throw Error("Cannot read " + std::to_string(count) + " bytes at " + OffsetText(source, start) +
                    ": the file holds " + std::to_string(size) + " bytes.");
    }
    return source.Bytes.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(count));
}

std::uint8_t ByteAt(const ByteSource& source, std::int64_t offset) { return CheckedBytes(source, offset, 1)[0]; }

std::int64_t ByteHandleD(const ByteSource& source, std::int64_t start, std::int64_t count) {
    const auto bytes = CheckedBytes(source, start, count);
    if (bytes.size() > 4) {
        throw Error("Cannot read " + std::to_string(count) + " bytes at " + OffsetText(source, start) +
                    " as one number: at most 4 bytes were expected.");
    }
    return ByteArray2Long(bytes);
}

std::int32_t ByteHandleCS(const ByteSource& source, std::int64_t start, std::int64_t count) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(ByteHandleD(source, start, count)));
}

std::vector<std::string> ByteHandleH(const ByteSource& source, std::int64_t start, std::int64_t count) {
    std::vector<std::string> texts;
    for (std::uint8_t byte : CheckedBytes(source, start, count)) texts.push_back(Pad_Byte(byte));
    return texts;
}

std::vector<std::string> ByteHandleB(const ByteSource& source, std::int64_t start, std::int64_t count) {
    std::vector<std::string> texts;
    for (std::uint8_t byte : CheckedBytes(source, start, count)) texts.push_back(ByteBinary(byte));
    return texts;
}

std::string ByteHandleBS(const ByteSource& source, std::int64_t start, std::int64_t count) {
    std::string text;
    for (std::uint8_t byte : CheckedBytes(source, start, count)) text += ByteBinary(byte);
    return text;
}

std::string ByteHandleS(const ByteSource& source, std::int64_t start, std::int64_t count) {
    std::string text;
    for (std::uint8_t byte : CheckedBytes(source, start, count)) text += Pad_Byte(byte);
    return text;
}

std::vector<std::uint8_t> ByteHandleBytes(const ByteSource& source, std::int64_t start, std::int64_t count) {
    const auto bytes = CheckedBytes(source, start, count);
    return {bytes.begin(), bytes.end()};
}

ByteField ByteHandle(const ByteSource& source, std::int64_t start, std::int64_t count, std::string_view mode) {
    ByteField field;
    if (mode.empty()) {
        field.Bytes = ByteHandleBytes(source, start, count);
    } else if (mode == "H") {
        field.Texts = ByteHandleH(source, start, count);
    } else if (mode == "B") {
        field.Texts = ByteHandleB(source, start, count);
    } else if (mode == "BS") {
        field.Text = ByteHandleBS(source, start, count);
    } else if (mode == "D") {
        field.Number = ByteHandleD(source, start, count);
    } else if (mode == "S") {
        field.Text = ByteHandleS(source, start, count);
    } else if (mode == "CS") {
        field.Number = ByteHandleCS(source, start, count);
    } else {
        throw Error("ByteHandle was asked for mode \"" + std::string(mode) + "\" at " + OffsetText(source, start) +
                    "; one of \"\", \"H\", \"B\", \"BS\", \"D\", \"S\", \"CS\" was expected.");
    }
    return field;
}

namespace {

// The `count` bytes from `offset` of a buffer being patched, checked as
// every read is.
std::span<std::uint8_t> WritableBytes(std::span<std::uint8_t> buffer, const std::string& fileName,
                                      std::int64_t offset, std::int64_t count) {
    const auto size = static_cast<std::int64_t>(buffer.size());
    if (offset < 0 || offset > size || count > size - offset) {
        throw Error("Cannot write " + std::to_string(count) + " bytes at offset " + std::to_string(offset) + " of " +
                    fileName + ": it holds " + std::to_string(size) + " bytes.");
    }
    return buffer.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
}

void WriteHexDigits(std::span<std::uint8_t> target, std::string_view digits) {
    for (std::size_t i = 0; i < target.size(); ++i) {
        const int high = platform::HexDigitValue(digits[2 * i]);
        const int low = platform::HexDigitValue(digits[2 * i + 1]);
        target[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
}

}  // namespace

std::string GetLBA(std::int64_t value) {
    static const char kDigits[] = "0123456789ABCDEF";
    const auto bits = static_cast<std::uint32_t>(value);
    std::string text(8, '0');
    for (int i = 0; i < 8; ++i) text[static_cast<std::size_t>(7 - i)] = kDigits[(bits >> (4 * i)) & 0xF];
    return text;
}

void WRITEDATA(std::span<std::uint8_t> buffer, const std::string& fileName, std::int64_t value, std::int64_t offset) {
    WriteHexDigits(WritableBytes(buffer, fileName, offset, 4), GetLBA(value));
}

void WRITEDATAEIGHT(std::span<std::uint8_t> buffer, const std::string& fileName, std::string_view text,
                    std::int64_t offset) {
    const bool hex = text.size() == 16 && std::all_of(text.begin(), text.end(), [](char digit) {
        return platform::HexDigitValue(digit) >= 0;
    });
    if (!hex) {
        throw Error("The command \"" + std::string(text) + "\" for offset " + std::to_string(offset) + " of " +
                    fileName + " is not sixteen hexadecimal digits.");
    }
    WriteHexDigits(WritableBytes(buffer, fileName, offset, 8), text);
}

}  // namespace kestrova
