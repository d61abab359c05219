// The fail switch of the tools' stand-ins: see fail_switch.h.
#include "fail_switch.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "platform/error.h"
#include "platform/terminal.h"
#include "platform/text.h"

namespace kestrova::standin {
namespace {

// The count behind "dieafter:" or "failfirst:".
long FailCount(const std::string& mode, const std::string& word) {
    const std::string text = mode.substr(word.size());
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw Error("The count behind " + word + " in $KESTROVA_STANDIN_FAIL \"" + text + "\" is not a whole number");
    }
    return std::stol(text);
}

}  // namespace

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

FailMode FailModeOfCall(const std::string& tool, const FailRequest& request) {
    if (request.FailFirstCalls > 0) return CountCall(tool) <= request.FailFirstCalls ? FailMode::Fail : FailMode::None;
    return request.Mode;
}

}  // namespace kestrova::standin
