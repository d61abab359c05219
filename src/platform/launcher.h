// How a Windows command line runs on this host. The job writes command
// lines for Windows programs ("\"K:\PROG\PGCDemux.exe\" -pgc 1 ..."); the
// launcher turns one into a plan the process runner can execute, choosing
// the back end in one place:
//   - a tool override: the tool's file name maps to a host command (a
//     stand-in, or a native equivalent), which gets the Windows arguments;
//   - a ".bat" or ".cmd" file: the batch interpreter;
//   - a Windows program (a PE file): Wine, with the Windows arguments;
//   - a host program (ELF, or a "#!" script with its execute bit): run as is.
// The arguments are passed on unchanged, still holding Windows paths; the
// child gets the drive map in KESTROVA_DRIVES to map them itself. An
// override may also ask for the command line as written, which a Windows
// program can read whole instead of split.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/path_space.h"

namespace kestrova::platform {

// A host command that stands for a Windows tool.
struct ToolOverride {
    std::vector<std::string> Command;  // host program and its leading arguments
    std::string WindowTitle;           // empty: the tool's default title, if it has one
    // The command line as written goes to the child in KESTROVA_COMMAND_LINE,
    // for tools that parse their own line: splitting it loses runs of blanks.
    bool PassCommandLine = false;
};

enum class LaunchKind { Override, Batch, Wine, Host };

struct LaunchPlan {
    LaunchKind Kind = LaunchKind::Host;
    std::string CommandLine;              // as given
    std::string Program;                  // the program token as written
    std::string WindowsProgram;           // the program as a drive path; empty for an override
    std::string HostProgram;              // its host path; empty for an override
    std::vector<std::string> Arguments;   // the tokens after the program, as split
    std::vector<std::string> Argv;        // what runs on the host; empty for a batch
    std::vector<std::string> Environment; // "NAME=value" entries set in the child
    std::string WindowTitle;              // the title the child is known by; may be empty
};

class Launcher {
public:
    explicit Launcher(const PathSpace& paths) : paths_(paths) {}

    const PathSpace& Paths() const { return paths_; }

    // The tool file name ("pgcdemux.exe") is matched without regard to case;
    // a later entry for the same name replaces the earlier one.
    void AddOverride(const std::string& toolFileName, ToolOverride tool);

    // Windows folders searched, in order, for a program given by bare name.
    void SetSearchPath(std::vector<std::string> windowsFolders) { searchPath_ = std::move(windowsFolders); }

    // The Wine loader to use for Windows programs. Without one, $KESTROVA_WINE
    // and then "wine" on $PATH are tried at each launch.
    void SetWineProgram(std::string hostPath) { wine_ = std::move(hostPath); }

    // An extra variable for every child (e.g. a stand-in's call record file).
    void SetEnvironment(const std::string& name, const std::string& value);

    // The plan for a command line. Throws Error for an empty line, a program
    // that does not exist (naming it as written and its host path), one that
    // is not a program this host can run, and a Windows program without Wine.
    LaunchPlan Plan(const std::string& commandLine) const;

    // The Wine loader Windows programs would run through; "" when none is found.
    std::string FindWine() const;

    // The override for a tool file name ("PgcDemux" finds "PgcDemux.exe");
    // nullptr when the tool has none.
    const ToolOverride* FindOverride(const std::string& fileName) const;

private:
    std::string FindInSearchPath(const std::string& name) const;

    const PathSpace& paths_;
    std::map<std::string, ToolOverride> overrides_;  // keyed by upper-case file name
    std::vector<std::string> searchPath_;
    std::string wine_;
    std::map<std::string, std::string> environment_;
};

// Whether a host path is a regular file, and one marked executable.
bool IsRegularFileAt(const std::string& hostPath);
bool IsExecutableFile(const std::string& hostPath);

// The host program `name` found in the folders of $PATH (an executable
// regular file), or "" when none is.
std::string FindOnHostPath(const std::string& name);

// The window title a tool's main window has, for the tools the job closes
// by title ("DVDDecrypter.exe" -> "DVD Decrypter"); empty for the others.
std::string DefaultWindowTitle(const std::string& toolFileName);

}  // namespace kestrova::platform
