// File access of the stand-in on the job's Windows paths: see standin.h.
#include "platform/error.h"
#include "platform/files.h"
#include "standin.h"

namespace kestrova::standin {

std::string ReadJobFile(const Invocation& call, const std::string& windowsPath) {
    return platform::FileSystem(call.Paths).ReadText(windowsPath);
}

void WriteJobFile(const Invocation& call, const std::string& windowsPath, const std::string& bytes) {
    platform::FileSystem(call.Paths).WriteText(windowsPath, bytes);
}

std::vector<std::string> SplitArgumentText(const Invocation& call) {
    std::vector<std::string> tokens;
    std::string token;
    bool quoted = false;
    bool inToken = false;
    for (const char c : call.ArgumentText) {
        if (c == '"') {
            quoted = !quoted;
            inToken = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (inToken) tokens.push_back(token);
            token.clear();
            inToken = false;
        } else {
            token += c;
            inToken = true;
        }
    }
    if (quoted) throw Error(call.Tool + ": a double quote on the command line is not closed");
    if (inToken) tokens.push_back(token);
    return tokens;
}

long ParseNumber(const std::string& text, const char* what) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw Error(std::string("The ") + what + " \"" + text + "\" is not a whole number");
    }
    return std::stol(text);
}

}  // namespace kestrova::standin
