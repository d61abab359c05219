// kestrova-standin: one program that acts as each outside tool. The tool
// is chosen by "--tool NAME" as first argument, or by the program's own
// file name ("PGCDemux.exe" -> PGCDemux). Each call is recorded in the file
// named by $KESTROVA_STANDIN_CALLS (tool, a tab, the arguments quoted as on
// a Windows command line), and $KESTROVA_STANDIN_FAIL ("copy,touch=partial")
// makes the named tools fail (fail_switch.h has its entries).
// $KESTROVA_COMMAND_LINE, when the launcher sets it, is the Windows command
// line as written.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/command_line.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/terminal.h"
#include "fail_switch.h"
#include "standin.h"

namespace kestrova::standin {
namespace {

std::string ToolFromProgramName(const std::string& argv0) {
    std::string name = argv0.substr(argv0.find_last_of("/\\") + 1);
    if (name.size() > 4 && platform::EqualsIgnoreCase(name.substr(name.size() - 4), ".exe")) {
        name.resize(name.size() - 4);
    }
    return name;
}

void RecordCall(const std::string& tool, const std::vector<std::string>& arguments) {
    const char* path = std::getenv("KESTROVA_STANDIN_CALLS");
    if (path == nullptr || *path == '\0') return;
    std::string line = tool + "\t";
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) line += ' ';
        line += platform::QuoteArgument(arguments[i]);
    }
    std::ofstream out(path, std::ios::binary | std::ios::app);
    out << line << '\n';
    if (!out) throw Error(std::string("Cannot record the call in ") + path);
}

// $KESTROVA_COMMAND_LINE when that line splits into these arguments (it is
// not one inherited from another call), else nullptr.
const char* CommandLineOf(const std::vector<std::string>& arguments) {
    const char* line = std::getenv("KESTROVA_COMMAND_LINE");
    if (line == nullptr) return nullptr;
    const std::vector<std::string> tokens = platform::SplitCommandLine(line);
    if (tokens.empty() || !std::equal(tokens.begin() + 1, tokens.end(), arguments.begin(), arguments.end())) {
        return nullptr;
    }
    return line;
}

// The program token of the command line, or "".
std::string ProgramOf(const std::vector<std::string>& arguments) {
    const char* line = CommandLineOf(arguments);
    return line == nullptr ? "" : platform::SplitCommandLine(line).front();
}

// The arguments as written: the tail of the command line, else the
// arguments joined by single blanks.
std::string ArgumentText(const std::vector<std::string>& arguments) {
    if (const char* line = CommandLineOf(arguments); line != nullptr) return platform::ArgumentText(line);
    std::string text;
    for (const std::string& argument : arguments) text += (text.empty() ? "" : " ") + argument;
    return text;
}

void PrintUsage(std::ostream& out) {
    out << "Usage: kestrova-standin --tool NAME [ARGUMENT...]\n"
           "   or: NAME[.exe] [ARGUMENT...]  (a link or copy named after the tool)\n\nTools:\n";
    for (const auto& entry : Personalities()) out << "  " << entry.Usage << "\n";
}

int Run(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string tool = ToolFromProgramName(argc > 0 ? argv[0] : "");
    if (!arguments.empty() && arguments.front() == "--tool") {
        if (arguments.size() < 2) {
            PrintUsage(std::cerr);
            return 2;
        }
        tool = arguments[1];
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    const PersonalityEntry* personality = nullptr;
    for (const auto& entry : Personalities()) {
        if (platform::EqualsIgnoreCase(entry.Name, tool)) personality = &entry;
    }
    if (personality == nullptr) {
        std::cerr << "kestrova-standin: no tool is called \"" << tool << "\"\n";
        PrintUsage(std::cerr);
        return 2;
    }

    // Calls are recorded under the table's spelling of the tool, however it was named.
    tool = personality->Name;
    RecordCall(tool, arguments);
    Invocation call;
    call.Tool = tool;
    call.Arguments = arguments;
    call.ArgumentText = ArgumentText(arguments);
    call.Program = ProgramOf(arguments);
    call.Paths = platform::PathSpace::FromEnvironment();
    const FailRequest request = FailRequestFor(tool);
    call.Fail = FailModeOfCall(tool, request);
    call.ItemsBeforeFailure = request.ItemsBeforeFailure;
    if (call.Fail == FailMode::Fail || (call.Fail == FailMode::Partial && !personality->HasPartial)) {
        std::cerr << tool << ": failing as asked by KESTROVA_STANDIN_FAIL\n";
        return 1;
    }
    return personality->Run(call);
}

}  // namespace
}  // namespace kestrova::standin

int main(int argc, char** argv) {
    try {
        return kestrova::standin::Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
