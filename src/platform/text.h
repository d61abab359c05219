// Text as the Windows side of the job treats it: names compared without
// regard to ASCII case, blanks, hexadecimal digits, the number a text
// begins with, and the pieces of a Windows path ("K:\JOB\001.M2V").
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrova::platform {

// ASCII case folding used for every name comparison of the job.
char UpperLetter(char c);
std::string ToUpperAscii(std::string text);
bool EqualsIgnoreCase(std::string_view left, std::string_view right);
bool StartsWithIgnoreCase(std::string_view text, std::string_view prefix);
bool EndsWithIgnoreCase(std::string_view text, std::string_view tail);
bool ContainsIgnoreCase(std::string_view text, std::string_view part);

// Every `from` in the text replaced by `to`, matching case, left to right
// and never inside a replacement.
void ReplaceAll(std::string& text, std::string_view from, std::string_view to);

// A space or a tab.
bool IsBlank(char c);
// Without the blanks, CRs and LFs at its ends (Trim) or its start (TrimLeft).
std::string Trim(std::string_view text);
std::string TrimLeft(std::string_view text);

// 0 to 15 for a hexadecimal digit of either case, -1 for anything else.
int HexDigitValue(char c);

// The number a text begins with, as a Windows program reads one: blanks
// first are skipped, then an optional sign and digits (and for the real
// form a fraction after "."); 0 when the text begins with no number. The
// whole form holds at the limits of 64 bits rather than wrapping.
std::int64_t LeadingWholeNumber(std::string_view text);
double LeadingNumber(std::string_view text);

// The name after the last "\" or "/" of a path, or after the drive of a
// drive-relative one ("C:x.exe").
std::string FileNameOf(std::string_view path);
// The path without the extension of its last name ("K:\A.B\C.M2V" to
// "K:\A.B\C"); a name without a dot is kept whole.
std::string WithoutExtension(std::string_view path);
// The path with `extension` (".IFO") in place of its last name's.
std::string WithExtension(std::string_view path, std::string_view extension);
// The folder and the name joined by one "\".
std::string JoinPath(std::string_view folder, std::string_view name);

}  // namespace kestrova::platform
