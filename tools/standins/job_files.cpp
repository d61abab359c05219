// File access of the stand-in on the job's Windows paths: see standin.h.
#include <fstream>
#include <sstream>

#include "platform/error.h"
#include "standin.h"

namespace kestrova::standin {

std::string ReadJobFile(const Invocation& call, const std::string& windowsPath) {
    const std::string host = call.Paths.ToHost(windowsPath);
    std::ifstream in(host, std::ios::binary);
    if (!in) throw Error(call.Tool + ": cannot open " + windowsPath + " (" + host + ") for reading");
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) throw Error(call.Tool + ": cannot read " + windowsPath + " (" + host + ")");
    return bytes.str();
}

void WriteJobFile(const Invocation& call, const std::string& windowsPath, const std::string& bytes) {
    const std::string host = call.Paths.ToHost(windowsPath);
    std::ofstream out(host, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw Error(call.Tool + ": cannot write " + windowsPath + " (" + host + ")");
}

long ParseNumber(const std::string& text, const char* what) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw Error(std::string("The ") + what + " \"" + text + "\" is not a whole number");
    }
    return std::stol(text);
}

}  // namespace kestrova::standin
