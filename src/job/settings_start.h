// The settings as the program starts: stored or first-run values, then
// what is stored checked against what exists (tool paths, Avisynth), and
// the shell verbs written.
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

enum class StartVerdict { Ready, MustEnd };

// The Scenarist version the native authoring engine's scripts are written for.
inline constexpr const char* kNativeScenaristVersion = "3.0";

// The Avisynth version the built-in frame server of the native tools stands for.
inline constexpr const char* kNativeFrameServerVersion = "2.5.8.0";

// Writes "EclCCE.ini" in the program folder: the CCE program EclCCE runs.
void CreateECLFile(JobContext& job, const std::string& CcePath);

// The CCE the settings name, as "EclCCE.ini" holds it: its path goes to
// CCEPath of the settings and the job state, its version, Basic build and
// product name to the job state. Returns product and version, "" when no
// CCE is set or the one named is not there (the user is told).
std::string LoadCceFromIni(JobContext& job);

// Loads the settings into item 1 of job.Settings and tells the log list what
// it found. MustEnd means an unsupported Avisynth was found and the user was
// told; the program ends.
StartVerdict LoadSettingsAtStart(JobContext& job);

}  // namespace kestrova
