// Script files: see script_file.h.
#include "authoring/script_file.h"

namespace kestrova {

std::string MakeTab(int n) {
    return n > 0 ? std::string(static_cast<std::size_t>(n), '\t') : std::string();
}

void ScriptFile::Line(int depth, std::string_view statement) {
    if (depth > 0) text_.append(static_cast<std::size_t>(depth), '\t');
    text_.append(statement);
    text_.append("\r\n");
}

void ScriptFile::Line(int depth, std::string_view key, std::string_view value) {
    if (depth > 0) text_.append(static_cast<std::size_t>(depth), '\t');
    text_.append(key);
    text_.push_back('=');
    text_.append(value);
    text_.append("\r\n");
}

void ScriptFile::Open(int depth, std::string_view statement) {
    Line(depth, statement);
    Line(depth, "{");
}

}  // namespace kestrova
