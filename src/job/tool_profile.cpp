// Tool profile, overrides and the pre-flight's view of the tools: see
// tool_profile.h.
#include "job/tool_profile.h"

#include "job/folders.h"
#include "job/log_writers.h"
#include "job/tool_table.h"
#include "platform/error.h"
#include "platform/terminal.h"
#include "platform/text.h"
#include "platform/version_info.h"

namespace kestrova {

using platform::EqualsIgnoreCase;
using platform::FileNameOf;
using platform::Trim;

namespace {

std::string KnownToolNames() {
    std::string names;
    for (const OutsideTool& tool : OutsideTools()) names += (names.empty() ? "" : ", ") + std::string(tool.FileName);
    return names;
}

// The drive path of a table tool's file in the Windows layout: the folder
// its registry value names, else its folder in the program folder.
std::string ToolDrivePath(const OutsideTool& tool, const platform::Registry& registry,
                          const std::string& programFolder) {
    std::string folder;
    if (tool.Registry.Key != nullptr) {
        folder = registry.getstring(platform::RegistryRoot::CurrentUser, tool.Registry.Key, tool.Registry.Name);
    }
    if (folder.empty()) folder = *tool.Folder == '\0' ? programFolder : programFolder + "\\" + tool.Folder;
    return folder + "\\" + tool.FileName;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

}  // namespace

ToolSetup ReadToolSetup(const std::string& profile, const std::string& overrides) {
    ToolSetup setup;
    const std::string name = Trim(profile);
    if (name.empty() || EqualsIgnoreCase(name, "native")) {
        setup.Profile = ToolProfile::Native;
    } else if (EqualsIgnoreCase(name, "windows")) {
        setup.Profile = ToolProfile::Windows;
    } else {
        throw Error("KESTROVA_TOOLS=\"" + profile + "\" is no tool profile: give native (the default) or windows");
    }
    std::size_t start = 0;
    while (start <= overrides.size()) {
        std::size_t end = overrides.find(';', start);
        if (end == std::string::npos) end = overrides.size();
        const std::string entry = Trim(overrides.substr(start, end - start));
        start = end + 1;
        if (entry.empty()) continue;
        const auto equals = entry.find('=');
        if (equals == std::string::npos) {
            throw Error("The entry \"" + entry + "\" of KESTROVA_TOOL_OVERRIDES lacks its \"=\" (Tool.exe=/path/to/program)");
        }
        const std::string tool = Trim(entry.substr(0, equals));
        std::string program = Trim(entry.substr(equals + 1));
        const OutsideTool* row = FindOutsideTool(tool);
        if (row == nullptr) {
            throw Error("The entry \"" + entry + "\" of KESTROVA_TOOL_OVERRIDES names no tool the job calls (" +
                        KnownToolNames() + ")");
        }
        const std::string found = program.find('/') == std::string::npos ? platform::FindOnHostPath(program)
                                                                          : platform::AbsoluteHostPath(program);
        if (program.empty() || !platform::IsExecutableFile(found)) {
            throw Error("The entry \"" + entry + "\" of KESTROVA_TOOL_OVERRIDES names a program that is not there " +
                        "or not executable");
        }
        setup.Overrides.emplace_back(row->FileName, found);
    }
    return setup;
}

void ApplyToolSetup(platform::Launcher& launcher, const ToolSetup& setup, const std::string& hostProgramFolder) {
    if (setup.Profile == ToolProfile::Native) AddStandInTools(launcher, hostProgramFolder);
    for (const auto& [tool, program] : setup.Overrides) launcher.AddOverride(tool, platform::ToolOverride{{program}, "", false});
}

std::string ToolSetupProblem(const platform::Launcher& launcher, const ToolSetup& setup) {
    if (setup.Profile != ToolProfile::Windows || !launcher.FindWine().empty()) return {};
    return "KESTROVA_TOOLS=windows runs the Windows tools through Wine, and no wine is on PATH: install it "
           "(apt-get install wine), set KESTROVA_WINE to the wine program, or use the native tools";
}

std::vector<ToolChoice> DescribeTools(const platform::Launcher& launcher, const ToolSetup& setup,
                                      const platform::Registry& registry, const std::string& programFolder) {
    std::vector<ToolChoice> choices;
    for (const OutsideTool& tool : OutsideTools()) {
        ToolChoice choice{tool.FileName, {}, {}};
        bool overridden = false;
        for (const auto& entry : setup.Overrides) overridden = overridden || EqualsIgnoreCase(entry.first, tool.FileName);
        const std::string path = ToolDrivePath(tool, registry, programFolder);
        if (const platform::ToolOverride* over = launcher.FindOverride(tool.FileName)) {
            choice.Runs = Joined(over->Command);
            choice.Why = overridden ? "KESTROVA_TOOL_OVERRIDES" : "the native equivalent (native profile)";
        } else if (setup.Profile == ToolProfile::Native && !platform::IsRegularFileAt(launcher.Paths().ToHost(path))) {
            choice.Runs = "nothing";
            choice.Why = "no native equivalent in this version: the stages that call it are passed over";
        } else {
            try {
                const platform::LaunchPlan plan = launcher.Plan("\"" + path + "\"");
                choice.Runs = Joined(plan.Argv);
                choice.Why = plan.Kind == platform::LaunchKind::Wine ? "the tool's own Windows program, through Wine"
                                                                      : "the tool's own file, a program of this host";
            } catch (const Error& failure) {
                choice.Runs = "nothing";
                choice.Why = failure.what();
            }
        }
        choices.push_back(std::move(choice));
    }
    // The batch files the job writes and runs, and the regedit lines in them.
    choices.push_back({"*.bat", "the built-in batch interpreter", "in either profile; its program lines run as above"});
    choices.push_back({"regedit.exe", "the built-in batch interpreter",
                       "imports the .reg file into the settings hive, in either profile"});
    return choices;
}

std::string RegisteredToolFolder(const JobContext& job, const std::string& fileName) {
    const OutsideTool* row = FindOutsideTool(fileName);
    if (row == nullptr || row->Registry.Key == nullptr) return {};
    const std::string folder =
        job.Registry.getstring(platform::RegistryRoot::CurrentUser, row->Registry.Key, row->Registry.Name);
    if (!folder.empty() || job.Runner.GetLauncher().FindOverride(row->FileName) == nullptr) return folder;
    const std::string path = ToolDrivePath(*row, job.Registry, job.ProgramFolder);
    return path.substr(0, path.rfind('\\'));
}

bool ToolPresent(const JobContext& job, const std::string& path) {
    const std::string name = FileNameOf(path);
    if (job.Runner.GetLauncher().FindOverride(name) != nullptr) return true;
    if (job.Files.FileExists(path)) return true;
    return job.Tools == ToolProfile::Native && FindOutsideTool(name) != nullptr;
}

std::string ToolVersion(JobContext& job, const std::string& path) {
    const OutsideTool* row = FindOutsideTool(FileNameOf(path));
    if (row != nullptr && job.Runner.GetLauncher().FindOverride(row->FileName) != nullptr) return row->FileVersion;
    return VersionOfFile(job, path);
}

std::string ToolDescription(JobContext& job, const std::string& path) {
    const OutsideTool* row = FindOutsideTool(FileNameOf(path));
    if (row != nullptr && job.Runner.GetLauncher().FindOverride(row->FileName) != nullptr) return row->Description;
    if (!platform::PathSpace::IsDrivePath(path) || !job.Files.FileExists(path)) return {};
    try {
        const auto info = platform::ReadVersionInfo(job.Files.ToHost(path));
        return info ? info->FileDescription : std::string();
    } catch (const Error& failure) {
        // A damaged program file reads as one without a description.
        WLOG(job, failure.what());
        return {};
    }
}

}  // namespace kestrova
