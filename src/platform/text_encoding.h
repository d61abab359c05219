// Conversions between UTF-8, the job's text, and UTF-16, the text of
// Windows resources and of Wine's registry escapes.
#pragma once

#include <cstdint>
#include <string>

namespace kestrova::platform {

// Appends one code point as UTF-8.
void AppendUtf8(std::string& out, std::uint32_t code);
// A lone surrogate becomes U+FFFD.
std::string Utf16ToUtf8(const std::u16string& units);
std::u16string Utf8ToUtf16(const std::string& text);

}  // namespace kestrova::platform
