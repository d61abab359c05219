// Windows command-line splitting and quoting: see command_line.h.
#include "platform/command_line.h"

#include <cstddef>

#include "platform/error.h"
#include "platform/text.h"

namespace kestrova::platform {

namespace {

// Reads the program token from `at` (the first character that is not a
// blank): no backslash or quote processing. Returns where the arguments
// start, behind the blanks that follow the token.
std::size_t ReadProgramToken(const std::string& commandLine, std::size_t at, std::string& program) {
    const std::size_t size = commandLine.size();
    if (commandLine[at] == '"') {
        ++at;
        while (at < size && commandLine[at] != '"') program += commandLine[at++];
        if (at < size) ++at;  // the closing quote
    } else {
        while (at < size && !IsBlank(commandLine[at])) program += commandLine[at++];
    }
    while (at < size && IsBlank(commandLine[at])) ++at;
    return at;
}

}  // namespace

std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
    std::vector<std::string> tokens;
    const std::size_t size = commandLine.size();
    std::size_t at = 0;
    while (at < size && IsBlank(commandLine[at])) ++at;
    if (at == size) return tokens;

    std::string program;
    at = ReadProgramToken(commandLine, at, program);
    tokens.push_back(program);
    if (at == size) return tokens;

    // The arguments. quoteCount is 0 outside a quoted run and 1 inside;
    // a run of quotes counts up, and every third one is a literal quote.
    std::string current;
    int quoteCount = 0;
    std::size_t backslashes = 0;
    while (at < size) {
        const char c = commandLine[at];
        if (IsBlank(c) && quoteCount == 0) {
            tokens.push_back(current);
            current.clear();
            backslashes = 0;
            while (at < size && IsBlank(commandLine[at])) ++at;
            if (at == size) return tokens;
        } else if (c == '\\') {
            current += c;
            ++backslashes;
            ++at;
        } else if (c == '"') {
            current.erase(current.size() - backslashes / 2);
            if (backslashes % 2 == 0) {
                ++quoteCount;
            } else {
                current.back() = '"';  // the odd backslash becomes the literal quote
            }
            ++at;
            backslashes = 0;
            while (at < size && commandLine[at] == '"') {
                if (++quoteCount == 3) {
                    current += '"';
                    quoteCount = 0;
                }
                ++at;
            }
            if (quoteCount == 2) quoteCount = 0;
        } else {
            current += c;
            backslashes = 0;
            ++at;
        }
    }
    tokens.push_back(current);
    return tokens;
}

std::string ArgumentText(const std::string& commandLine) {
    std::size_t at = 0;
    while (at < commandLine.size() && IsBlank(commandLine[at])) ++at;
    if (at == commandLine.size()) return {};
    std::string program;
    return commandLine.substr(ReadProgramToken(commandLine, at, program));
}

std::string QuoteArgument(const std::string& argument) {
    if (!argument.empty() && argument.find_first_of(" \t\"") == std::string::npos) return argument;
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (char c : argument) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        if (c == '"') {
            quoted.append(backslashes * 2 + 1, '\\');
        } else {
            quoted.append(backslashes, '\\');
        }
        backslashes = 0;
        quoted += c;
    }
    // Backslashes before the closing quote are doubled so that they stay
    // backslashes.
    quoted.append(backslashes * 2, '\\');
    quoted += '"';
    return quoted;
}

std::string QuoteProgram(const std::string& program) {
    if (program.find('"') != std::string::npos) {
        throw Error("The program name \"" + program + "\" holds a quote, which a command line cannot carry");
    }
    if (program.empty() || program.find_first_of(" \t") != std::string::npos) return "\"" + program + "\"";
    return program;
}

std::string JoinCommandLine(const std::vector<std::string>& tokens) {
    std::string line;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (i > 0) line += ' ';
        line += i == 0 ? QuoteProgram(tokens[i]) : QuoteArgument(tokens[i]);
    }
    return line;
}

}  // namespace kestrova::platform
