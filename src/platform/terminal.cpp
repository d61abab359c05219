// Process surroundings: see terminal.h.
#include "platform/terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace kestrova::platform {

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

std::string ProgramHostFolder() {
    std::error_code ec;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) return std::filesystem::current_path(ec).string();
    return self.parent_path().string();
}

std::string EnvironmentValue(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace kestrova::platform
