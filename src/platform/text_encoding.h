// Conversions between UTF-8, the job's text, and UTF-16, the text of
// Windows resources and of Wine's registry escapes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrova::platform {

// Appends one code point as UTF-8.
void AppendUtf8(std::string& out, std::uint32_t code);
// A lone surrogate becomes U+FFFD.
std::string Utf16ToUtf8(const std::u16string& units);
std::u16string Utf8ToUtf16(const std::string& text);
// The length of the well-formed UTF-8 sequence of one code point that
// starts at `at` (1 to 4), or 0 when the bytes there are not one: a stray
// continuation byte, a sequence cut short, an overlong form, a surrogate or
// a code point past U+10FFFF.
std::size_t Utf8SequenceLength(std::string_view text, std::size_t at);

}  // namespace kestrova::platform
