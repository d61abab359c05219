// Facts about the process's own surroundings that the console front end
// needs: whether it writes to a terminal, where its program file is, and
// where the user's own files go.
#pragma once

#include <string>

namespace kestrova::platform {

bool StandardErrorIsTerminal();
// The host folder holding the running program.
std::string ProgramHostFolder();
// An environment value, or "" when unset.
std::string EnvironmentValue(const std::string& name);
// The user's home folder: $HOME when it is an absolute path, else the
// account's, else "/".
std::string HomeFolder();
// The folder for the user's logs of this program: $XDG_STATE_HOME/kestrova,
// else ~/.local/state/kestrova. It is not made here.
std::string UserStateFolder();
// A host path made whole against the current folder ("out" -> "/home/me/out").
std::string AbsoluteHostPath(const std::string& path);

}  // namespace kestrova::platform
