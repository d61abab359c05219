// Process surroundings: see terminal.h.
#include "platform/terminal.h"

#include <pwd.h>
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

std::string HomeFolder() {
    const std::string home = EnvironmentValue("HOME");
    if (!home.empty() && home.front() == '/') return home;
    if (const passwd* user = ::getpwuid(::getuid()); user != nullptr && user->pw_dir != nullptr) return user->pw_dir;
    return "/";
}

std::string UserStateFolder() {
    const std::string state = EnvironmentValue("XDG_STATE_HOME");
    if (!state.empty() && state.front() == '/') return state + "/kestrova";
    const std::string home = HomeFolder();
    return (home == "/" ? "" : home) + "/.local/state/kestrova";
}

std::string AbsoluteHostPath(const std::string& path) {
    if (!path.empty() && path.front() == '/') return path;
    std::error_code ec;
    const auto whole = std::filesystem::absolute(path, ec);
    return ec ? path : whole.lexically_normal().string();
}

}  // namespace kestrova::platform
