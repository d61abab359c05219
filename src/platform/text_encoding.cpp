// UTF-8 and UTF-16 conversions: see text_encoding.h.
#include "platform/text_encoding.h"

namespace kestrova::platform {

void AppendUtf8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::string Utf16ToUtf8(const std::u16string& units) {
    std::string out;
    for (std::size_t i = 0; i < units.size(); ++i) {
        std::uint32_t code = units[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
            units[i + 1] < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (units[++i] - 0xDC00);
        } else if (code >= 0xD800 && code < 0xE000) {
            code = 0xFFFD;  // a lone surrogate
        }
        AppendUtf8(out, code);
    }
    return out;
}

std::u16string Utf8ToUtf16(const std::string& text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        std::uint32_t code = lead;
        int extra = 0;
        if (lead >= 0xF0) {
            code = lead & 0x07;
            extra = 3;
        } else if (lead >= 0xE0) {
            code = lead & 0x0F;
            extra = 2;
        } else if (lead >= 0xC0) {
            code = lead & 0x1F;
            extra = 1;
        }
        ++i;
        for (int k = 0; k < extra && i < text.size(); ++k, ++i)
            code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
        if (code >= 0x10000) {
            code -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (code >> 10));
            out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

std::size_t Utf8SequenceLength(std::string_view text, std::size_t at) {
    const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    std::size_t length = 0;
    std::uint32_t code = 0;
    std::uint32_t lowest = 0;
    if (lead < 0x80) return 1;
    if (lead >= 0xC0 && lead < 0xE0) {
        length = 2, code = lead & 0x1Fu, lowest = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        length = 3, code = lead & 0x0Fu, lowest = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF8) {
        length = 4, code = lead & 0x07u, lowest = 0x10000;
    } else {
        return 0;
    }
    if (at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
        code = (code << 6) | (byte(at + i) & 0x3Fu);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < lowest || code > 0x10FFFF || surrogate ? 0 : length;
}

}  // namespace kestrova::platform
