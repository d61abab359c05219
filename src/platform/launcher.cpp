// Choosing how a Windows command line runs: see launcher.h.
#include "platform/launcher.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "platform/command_line.h"
#include "platform/error.h"
#include "platform/terminal.h"

namespace kestrova::platform {

namespace fs = std::filesystem;

namespace {

struct TitleEntry {
    const char* FileName;
    const char* Title;
};

// The tools whose windows the job closes by title.
constexpr std::array<TitleEntry, 7> kDefaultTitles = {{
    {"DVDDecrypter.exe", "DVD Decrypter"},
    {"vsrip.exe", "VobSub Ripper Wizard"},
    {"dvd2avidg.exe", "DVD2AVI"},
    {"dvd2avirb.exe", "DVD2AVI"},
    {"DGIndex.exe", "DVD2AVI"},
    {"EclCCE.exe", "EclCCE"},
    {"Sftencdd.exe", "Sftencdd.exe"},
}};

// What Windows tries after a bare name without an extension.
constexpr std::array<const char*, 4> kProgramExtensions = {".exe", ".com", ".bat", ".cmd"};

bool HasExtension(const std::string& fileName) { return fileName.find('.') != std::string::npos; }

bool IsBareName(const std::string& program) { return program.find_first_of("\\/:") == std::string::npos; }

bool IsRegularFile(const std::string& hostPath) {
    std::error_code ec;
    return fs::is_regular_file(hostPath, ec);
}

bool IsExecutable(const std::string& hostPath) {
    std::error_code ec;
    const auto perms = fs::status(hostPath, ec).permissions();
    if (ec) return false;
    return (perms & (fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec)) != fs::perms::none;
}

std::string ReadMagic(const std::string& hostPath) {
    std::ifstream in(hostPath, std::ios::binary);
    std::array<char, 4> bytes{};
    in.read(bytes.data(), bytes.size());
    return std::string(bytes.data(), static_cast<std::size_t>(in.gcount()));
}

}  // namespace

bool IsRegularFileAt(const std::string& hostPath) { return IsRegularFile(hostPath); }

bool IsExecutableFile(const std::string& hostPath) { return IsRegularFile(hostPath) && IsExecutable(hostPath); }

std::string DefaultWindowTitle(const std::string& toolFileName) {
    for (const auto& entry : kDefaultTitles) {
        if (EqualsIgnoreCase(toolFileName, entry.FileName)) return entry.Title;
    }
    return {};
}

void Launcher::AddOverride(const std::string& toolFileName, ToolOverride tool) {
    if (tool.Command.empty()) throw Error("The override for \"" + toolFileName + "\" has no host command");
    overrides_[ToUpperAscii(toolFileName)] = std::move(tool);
}

void Launcher::SetEnvironment(const std::string& name, const std::string& value) { environment_[name] = value; }

const ToolOverride* Launcher::FindOverride(const std::string& fileName) const {
    if (auto found = overrides_.find(ToUpperAscii(fileName)); found != overrides_.end()) return &found->second;
    if (!HasExtension(fileName)) {
        if (auto found = overrides_.find(ToUpperAscii(fileName + ".exe")); found != overrides_.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

std::string Launcher::FindInSearchPath(const std::string& name) const {
    std::vector<std::string> candidates;
    if (HasExtension(name)) {
        candidates.push_back(name);
    } else {
        for (const char* extension : kProgramExtensions) candidates.push_back(name + extension);
    }
    for (const auto& folder : searchPath_) {
        std::string base = folder;
        if (!base.empty() && base.back() != '\\') base += '\\';
        for (const auto& candidate : candidates) {
            const std::string windowsPath = base + candidate;
            if (IsRegularFile(paths_.ToHost(windowsPath))) return windowsPath;
        }
    }
    return {};
}

std::string FindOnHostPath(const std::string& name) {
    const std::string folders = EnvironmentValue("PATH");
    std::size_t start = 0;
    while (start <= folders.size()) {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos) end = folders.size();
        const std::string folder = folders.substr(start, end - start);
        start = end + 1;
        if (folder.empty()) continue;
        const std::string candidate = folder + "/" + name;
        if (IsRegularFile(candidate) && IsExecutable(candidate)) return candidate;
    }
    return {};
}

std::string Launcher::FindWine() const {
    if (!wine_.empty()) return wine_;
    if (const std::string wine = EnvironmentValue("KESTROVA_WINE"); !wine.empty()) return wine;
    return FindOnHostPath("wine");
}

LaunchPlan Launcher::Plan(const std::string& commandLine) const {
    LaunchPlan plan;
    plan.CommandLine = commandLine;
    std::vector<std::string> tokens = SplitCommandLine(commandLine);
    if (tokens.empty() || tokens.front().empty()) {
        throw Error("Cannot start a program from the command line \"" + commandLine + "\": it names no program");
    }
    plan.Program = tokens.front();
    plan.Arguments.assign(tokens.begin() + 1, tokens.end());
    plan.Environment.push_back("KESTROVA_DRIVES=" + paths_.DriveList());
    for (const auto& [name, value] : environment_) plan.Environment.push_back(name + "=" + value);

    const std::string fileName = FileNameOf(plan.Program);
    plan.WindowTitle = DefaultWindowTitle(fileName);

    if (const ToolOverride* tool = FindOverride(fileName)) {
        plan.Kind = LaunchKind::Override;
        plan.Argv = tool->Command;
        plan.Argv.insert(plan.Argv.end(), plan.Arguments.begin(), plan.Arguments.end());
        if (!tool->WindowTitle.empty()) plan.WindowTitle = tool->WindowTitle;
        if (tool->PassCommandLine) plan.Environment.push_back("KESTROVA_COMMAND_LINE=" + commandLine);
        return plan;
    }

    if (IsBareName(plan.Program)) {
        plan.WindowsProgram = FindInSearchPath(plan.Program);
        if (plan.WindowsProgram.empty()) {
            std::string folders;
            for (const auto& folder : searchPath_) folders += (folders.empty() ? "" : "; ") + folder;
            throw Error("Cannot start \"" + plan.Program + "\": no such program in the program folders (" +
                        (folders.empty() ? std::string("none given") : folders) + ")");
        }
        plan.WindowTitle = DefaultWindowTitle(FileNameOf(plan.WindowsProgram));
    } else if (PathSpace::IsDrivePath(plan.Program)) {
        plan.WindowsProgram = plan.Program;
    } else {
        throw Error("Cannot start \"" + plan.Program + "\": a program must be given by a drive path or a bare name");
    }
    plan.HostProgram = paths_.ToHost(plan.WindowsProgram);
    if (!IsRegularFile(plan.HostProgram)) {
        throw Error("Cannot start \"" + plan.Program + "\": the program file " + plan.HostProgram + " does not exist");
    }

    if (EndsWithIgnoreCase(plan.HostProgram, ".bat") || EndsWithIgnoreCase(plan.HostProgram, ".cmd")) {
        plan.Kind = LaunchKind::Batch;
        return plan;
    }

    const std::string magic = ReadMagic(plan.HostProgram);
    if (magic.rfind("MZ", 0) == 0) {
        const std::string wine = FindWine();
        if (wine.empty()) {
            throw Error("Cannot start \"" + plan.Program + "\" (" + plan.HostProgram +
                        "): it is a Windows program and Wine was not found (set KESTROVA_WINE or put wine on PATH)");
        }
        plan.Kind = LaunchKind::Wine;
        plan.Argv = {wine, plan.HostProgram};
    } else if (magic == "\x7f" "ELF" || magic.rfind("#!", 0) == 0) {
        if (!IsExecutable(plan.HostProgram)) {
            throw Error("Cannot start \"" + plan.Program + "\": the host program " + plan.HostProgram +
                        " is not marked executable");
        }
        plan.Kind = LaunchKind::Host;
        plan.Argv = {plan.HostProgram};
    } else {
        throw Error("Cannot start \"" + plan.Program + "\": the file " + plan.HostProgram +
                    " is neither a Windows program (MZ), a host program (ELF) nor a script (#!)");
    }
    plan.Argv.insert(plan.Argv.end(), plan.Arguments.begin(), plan.Arguments.end());
    return plan;
}

}  // namespace kestrova::platform
