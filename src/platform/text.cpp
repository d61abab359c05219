// Windows text rules: see text.h.
#include "platform/text.h"

#include <limits>

namespace kestrova::platform {

namespace {

constexpr std::string_view kTrimmed = " \t\r\n";

// Where a number begins after the blanks, and its sign.
std::size_t NumberStart(std::string_view text, bool& negative) {
    std::size_t at = 0;
    while (at < text.size() && IsBlank(text[at])) ++at;
    negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    return at;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The start of the last name of a path.
std::size_t LastNameStart(std::string_view path) {
    const std::size_t slash = path.find_last_of("\\/");
    if (slash != std::string_view::npos) return slash + 1;
    const bool driveRelative = path.size() >= 2 && path[1] == ':' && UpperLetter(path[0]) >= 'A' &&
                               UpperLetter(path[0]) <= 'Z';
    return driveRelative ? 2 : 0;
}

}  // namespace

char UpperLetter(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

std::string ToUpperAscii(std::string text) {
    for (auto& c : text) c = UpperLetter(c);
    return text;
}

bool EqualsIgnoreCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (UpperLetter(left[i]) != UpperLetter(right[i])) return false;
    }
    return true;
}

bool StartsWithIgnoreCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    if (from.empty()) return;
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

bool EndsWithIgnoreCase(std::string_view text, std::string_view tail) {
    return text.size() >= tail.size() && EqualsIgnoreCase(text.substr(text.size() - tail.size()), tail);
}

bool ContainsIgnoreCase(std::string_view text, std::string_view part) {
    return ToUpperAscii(std::string(text)).find(ToUpperAscii(std::string(part))) != std::string::npos;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kTrimmed);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(kTrimmed) - first + 1));
}

std::string TrimLeft(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kTrimmed);
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

std::int64_t LeadingWholeNumber(std::string_view text) {
    bool negative = false;
    constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    for (std::size_t at = NumberStart(text, negative); at < text.size() && IsDigit(text[at]); ++at) {
        const int digit = text[at] - '0';
        value = value > (kLimit - digit) / 10 ? kLimit : value * 10 + digit;
    }
    return negative ? -value : value;
}

double LeadingNumber(std::string_view text) {
    bool negative = false;
    std::size_t at = NumberStart(text, negative);
    double value = 0;
    for (; at < text.size() && IsDigit(text[at]); ++at) value = value * 10 + (text[at] - '0');
    if (at < text.size() && text[at] == '.') {
        double scale = 0.1;
        for (++at; at < text.size() && IsDigit(text[at]); ++at, scale /= 10) value += (text[at] - '0') * scale;
    }
    return negative ? -value : value;
}

std::string FileNameOf(std::string_view path) { return std::string(path.substr(LastNameStart(path))); }

std::string WithoutExtension(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot < LastNameStart(path)) return std::string(path);
    return std::string(path.substr(0, dot));
}

std::string WithExtension(std::string_view path, std::string_view extension) {
    return WithoutExtension(path) + std::string(extension);
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    if (folder.empty()) return std::string(name);
    return std::string(folder) + (folder.back() == '\\' ? "" : "\\") + std::string(name);
}

}  // namespace kestrova::platform
