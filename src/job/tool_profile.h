// Which program runs for each outside tool. The tool profile chooses once
// at start: the native equivalents (the default), or the Windows programs
// of the program folder through Wine; single tools may be overridden from
// the environment. The pre-flight checks ask here whether a tool is there
// and which version it stands for, so an equivalent counts as the tool.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "job/context.h"
#include "platform/launcher.h"
#include "platform/registry.h"

namespace kestrova {

struct ToolSetup {
    ToolProfile Profile = ToolProfile::Native;
    std::vector<std::pair<std::string, std::string>> Overrides;  // tool file name, host program
};

// Reads the values of KESTROVA_TOOLS ("" or "native", "windows") and
// KESTROVA_TOOL_OVERRIDES ("Tool.exe=/path/cmd;..."; a bare program name is
// looked for on PATH). Throws Error naming the entry for an unknown
// profile, an entry without "=", a tool the job never calls, or a program
// that is not there.
ToolSetup ReadToolSetup(const std::string& profile, const std::string& overrides);

// Registers the setup on the launcher: in the native profile every tool
// that has a host program, as that program in `hostProgramFolder` (the
// folder of kestrova-standin and kestrova-author); then the overrides.
void ApplyToolSetup(platform::Launcher& launcher, const ToolSetup& setup, const std::string& hostProgramFolder);

// Why the setup cannot run any Windows program it needs ("" when it can):
// the windows profile without Wine.
std::string ToolSetupProblem(const platform::Launcher& launcher, const ToolSetup& setup);

// One line of the tools listing: the tool, what runs in its place, and why.
struct ToolChoice {
    std::string Tool;
    std::string Runs;
    std::string Why;
};

// For every tool the job can call, which program will run and why.
std::vector<ToolChoice> DescribeTools(const platform::Launcher& launcher, const ToolSetup& setup,
                                      const platform::Registry& registry, const std::string& programFolder);

// The folder of a tool its registry value names (DVD Decrypter's install
// folder); when the value is missing and an equivalent runs in the tool's
// place, the tool's own folder in the program folder. "" when neither.
std::string RegisteredToolFolder(const JobContext& job, const std::string& fileName);

// Whether the tool at a drive path is there for the job: its file, an
// equivalent the launcher runs in its place, or in the native profile a
// tool of the table whose stages this version passes over.
bool ToolPresent(const JobContext& job, const std::string& path);

// The file version of the tool at a drive path: the version the table
// gives it when an equivalent runs in its place, else its file's.
std::string ToolVersion(JobContext& job, const std::string& path);

// The file description of the tool at a drive path, in the same way.
std::string ToolDescription(JobContext& job, const std::string& path);

}  // namespace kestrova
