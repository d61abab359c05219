// The settings as the program starts: stored or first-run values, then
// what is stored checked against what exists (tool paths, Avisynth), and
// the shell verbs written.
#pragma once

#include "job/context.h"

namespace kestrova {

enum class StartVerdict { Ready, MustEnd };

// The Scenarist version the native authoring engine's scripts are written for.
inline constexpr const char* kNativeScenaristVersion = "3.0";

// Loads the settings into item 1 of job.Settings and tells the log list what
// it found. MustEnd means an unsupported Avisynth was found and the user was
// told; the program ends.
StartVerdict LoadSettingsAtStart(JobContext& job);

}  // namespace kestrova
