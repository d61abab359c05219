// The lines of an Avisynth script as the frame server reads them: each
// line is a call or a chain of calls joined by "." with literal arguments
// (whole numbers, decimals, strings, true/false), positional or named;
// "#" starts a comment outside a string.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrova {

// A fault in a script line, said as a phrase ("there is no function named
// \"Foo\""); the evaluator adds the script and the line number.
struct ScriptFault {
    std::string Message;
};

enum class ValueKind { Int, Float, String, Bool };

struct Value {
    ValueKind Kind = ValueKind::Int;
    std::int64_t Int = 0;
    double Float = 0;
    std::string Text;
    bool Flag = false;
};

struct Argument {
    std::string Name;  // upper case; empty for a positional argument
    Value Item;
};

struct Call {
    std::string Name;  // as written
    std::vector<Argument> Arguments;
};

// The calls of one line, in order; none for a blank or comment line.
// Throws ScriptFault for a line that is not a call.
std::vector<Call> ParseScriptLine(const std::string& line);

}  // namespace kestrova
