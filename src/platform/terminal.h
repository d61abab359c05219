// Facts about the process's own surroundings that the console front end
// needs: whether it writes to a terminal, and where its program file is.
#pragma once

#include <string>

namespace kestrova::platform {

bool StandardErrorIsTerminal();
// The host folder holding the running program.
std::string ProgramHostFolder();
// An environment value, or "" when unset.
std::string EnvironmentValue(const std::string& name);

}  // namespace kestrova::platform
