// kestrova-standin: one program that acts as each outside tool. The tool
// is chosen by "--tool NAME" as first argument, or by the program's own
// file name ("PGCDemux.exe" -> PGCDemux). Each call is recorded in the file
// named by $KESTROVA_STANDIN_CALLS (tool, a tab, the arguments quoted as on
// a Windows command line), and $KESTROVA_STANDIN_FAIL ("copy,touch=partial")
// makes the named tools fail. $KESTROVA_COMMAND_LINE, when the launcher
// sets it, is the Windows command line as written.
//
// The entries of $KESTROVA_STANDIN_FAIL, NAME or NAME=MODE:
//   NAME, NAME=fail    leave nothing, exit 1
//   NAME=partial       leave a truncated output, exit 1
//   NAME=dieafter:K    a tool working through a list (the encoders) does K
//                      items whole, leaves the next one's output truncated
//                      and exits 1: the batch that dies half way
//   NAME=failfirst:N   the first N calls fail as "fail", later ones work.
//                      Calls are counted per tool in the file named by
//                      $KESTROVA_STANDIN_COUNTS, else in the call record
//                      file's name with ".counts" added.
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

struct FailRequest {
    FailMode Mode = FailMode::None;
    long ItemsBeforeFailure = 0;
    long FailFirstCalls = 0;  // failfirst:N
};

// The count behind "dieafter:" or "failfirst:".
long FailCount(const std::string& mode, const std::string& word) {
    const std::string what = "count behind " + word + " in $KESTROVA_STANDIN_FAIL";
    return ParseNumber(mode.substr(word.size()), what.c_str());
}

// The entry of $KESTROVA_STANDIN_FAIL for this tool, if there is one.
FailRequest FailRequestFor(const std::string& tool) {
    const char* list = std::getenv("KESTROVA_STANDIN_FAIL");
    if (list == nullptr) return {};
    const std::string text = list;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(',', start);
        if (end == std::string::npos) end = text.size();
        std::string entry = text.substr(start, end - start);
        start = end + 1;
        std::string mode;
        if (auto equals = entry.find('='); equals != std::string::npos) {
            mode = entry.substr(equals + 1);
            entry.erase(equals);
        }
        if (!platform::EqualsIgnoreCase(entry, tool)) continue;
        const std::string upper = platform::ToUpperAscii(mode);
        if (upper == "PARTIAL") return {FailMode::Partial, 0, 0};
        if (upper.rfind("DIEAFTER:", 0) == 0) return {FailMode::Partial, FailCount(upper, "DIEAFTER:"), 0};
        if (upper.rfind("FAILFIRST:", 0) == 0) return {FailMode::None, 0, FailCount(upper, "FAILFIRST:")};
        return {FailMode::Fail, 0, 0};
    }
    return {};
}

// The number of this call of the tool (1 for the first), kept in the count
// file, one line "TOOL COUNT" per tool.
long CountCall(const std::string& tool) {
    std::string path = platform::EnvironmentValue("KESTROVA_STANDIN_COUNTS");
    if (path.empty()) {
        path = platform::EnvironmentValue("KESTROVA_STANDIN_CALLS");
        if (path.empty()) {
            throw Error(tool + ": failfirst in $KESTROVA_STANDIN_FAIL needs a file to count the calls in; set "
                               "KESTROVA_STANDIN_COUNTS or KESTROVA_STANDIN_CALLS");
        }
        path += ".counts";
    }
    std::vector<std::pair<std::string, long>> counts;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        std::pair<std::string, long> entry;
        if (fields >> entry.first >> entry.second) counts.push_back(entry);
    }
    in.close();
    auto found = std::find_if(counts.begin(), counts.end(), [&tool](const auto& entry) { return entry.first == tool; });
    if (found == counts.end()) found = counts.insert(counts.end(), {tool, 0});
    const long number = ++found->second;
    std::ofstream out(path, std::ios::trunc);
    for (const auto& [name, count] : counts) out << name << ' ' << count << '\n';
    if (!out) throw Error(tool + ": cannot write the call count file " + path);
    return number;
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
    call.Fail = request.Mode;
    call.ItemsBeforeFailure = request.ItemsBeforeFailure;
    if (request.FailFirstCalls > 0 && CountCall(tool) <= request.FailFirstCalls) call.Fail = FailMode::Fail;
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
