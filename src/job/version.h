// The program's name and version as the logs and the window show them.
#pragma once

namespace kestrova {

inline constexpr const char* kProgramName = "Kestrova";
inline constexpr const char* kProgramVersion = "0.1.0";

}  // namespace kestrova
