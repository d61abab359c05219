// Command-line starts: see cli_start.h.
#include "pipeline/cli_start.h"

#include <iostream>

#include "dvd/menu_tree.h"
#include "job/command_line.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/settings.h"
#include "job/settings_start.h"
#include "job/tool_runner.h"
#include "pipeline/job_folder.h"
#include "pipeline/pipeline.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/stop_signals.h"
#include "platform/terminal.h"
#include "platform/text.h"

namespace kestrova {

using platform::StartsWithIgnoreCase;

namespace {

// A path given on the command line as a drive path. Anything that is not
// one already ("K:\\out", "\\\\server\\share") is a host path, made whole
// against the current folder ("out", "../jobs/out", "/home/me/out").
std::string AsDrivePath(const JobContext& job, const std::string& path) {
    if (path.empty() || platform::PathSpace::IsDrivePath(path) || path.front() == '\\') return path;
    return job.Files.Paths().ToWindows(platform::AbsoluteHostPath(path));
}

// The folder the logs start in, made if it is missing: the user's state
// folder. A job's run moves them into its output folder.
std::string StartLogFolder(const JobContext& job) {
    const std::string folder = job.Files.Paths().ToWindows(platform::UserStateFolder());
    try {
        job.Files.MakeFolder(folder);
    } catch (const Error& failure) {
        std::cerr << "kestrova-cli: the log folder " << platform::UserStateFolder() << " cannot be made (" << failure.what()
                  << "); the run log starts in the job's output folder\n";
    }
    return folder;
}

std::string ProgramFolderOf(const JobContext& job) {
    const std::string given = platform::EnvironmentValue("KESTROVA_PROGRAM_FOLDER");
    if (!given.empty()) return AsDrivePath(job, given);
    return job.Files.Paths().ToWindows(platform::ProgramHostFolder());
}

int Fail(JobContext& job, const std::string& message) {
    std::cerr << "kestrova-cli: " << message << '\n';
    WLOG(job, message);
    return 1;
}

}  // namespace

void LogUnattendedAnswer(JobContext& job, const std::string& note) { WLOG(job, note); }

// A log that failed is off by then, so a failure to write this line makes
// no further report.
void LogTrace(JobContext& job, const std::string& line) { WLOG(job, "TRACE: " + line); }

std::string CommandTextOf(const JobContext& job, const std::vector<std::string>& args) {
    std::string text;
    bool iniFileNext = false;
    for (std::string arg : args) {
        if (IsJobFolderOption(arg)) continue;
        if (iniFileNext) {
            arg = "\"" + AsDrivePath(job, arg) + "\"";
            iniFileNext = false;
        } else if (StartsWithIgnoreCase(arg, "/PATH=") && arg.find('"') == std::string::npos) {
            arg = arg.substr(0, 6) + "\"" + AsDrivePath(job, arg.substr(6)) + "\"";
        } else if (StartsWithIgnoreCase(arg, "/INIFILE")) {
            iniFileNext = true;
        }
        if (!text.empty()) text += ' ';
        text += arg;
    }
    return text;
}

int RunFromCommandLine(JobContext& job, const std::vector<std::string>& args) {
    job.ProgramFolder = ProgramFolderOf(job);
    AttachRunner(job);
    OpenProgramLogs(job, StartLogFolder(job));
    // Without saved settings (a first run) the run log is on: a run with no
    // window has no other record. Saved settings say for themselves.
    const bool firstRun =
        job.Registry.getdword(platform::RegistryRoot::CurrentUser, kSettingsKey, "Save_Settings") != 2;
    if (LoadSettingsAtStart(job) == StartVerdict::MustEnd) return 1;
    if (firstRun) job.Options().Default_Enable_Log = 1;
    WLOG(job, "Main Loaded");
    WLOG(job, "Initial Settings loaded");

    const CommandLineResult parsed = ParseCommandLine(job, CommandTextOf(job, args));
    if (!parsed.Error.empty()) return Fail(job, parsed.Error);
    if (parsed.Form == CommandLineForm::LoadDrive || parsed.Form == CommandLineForm::Folder) {
        std::cerr << "kestrova-cli: Load= and Folder= only open a source in the window; give /STAR to run a job\n";
        return 2;
    }

    // The menus of the source drive, as the window would show them.
    sListAllDrives(job);
    if (job.SourceDrive.empty()) return Fail(job, "No source drive given (/DRIV=LETTER or *DRIVE in the INI file)");
    const std::string source = job.SourceDrive.substr(0, 1) + ":\\VIDEO_TS";
    if (!job.Files.FolderExists(source)) {
        return Fail(job, "The source folder " + ShownPath(job, source) + " does not exist (see KESTROVA_DRIVES)");
    }
    if (!job.Files.FileExists(source + "\\VIDEO_TS.IFO")) {
        return Fail(job, "The source folder " + ShownPath(job, source) + " holds no VIDEO_TS.IFO");
    }
    ReLoadMenus(job, "", job.Options().Default_Threshold);
    job.Text1 = source;
    job.Text2 = job.WorkFolder;
    job.OutputFolder = job.WorkFolder;
    volumename(job, job.SourceDrive.substr(0, 1) + ":\\");
    if (job.State().Minimize != 0) job.View.SetMinimized(true);

    if (!parsed.StartRequested) {
        std::cerr << "kestrova-cli: nothing was asked to start; give /STAR or /INIFILE\n";
        return 2;
    }
    if (job.OutputFolder.empty()) return Fail(job, "No output folder given (/PATH=\"FOLDER\" or *WORKINGFOLDER)");
    if (const auto refused = PrepareJobFolder(job, args, parsed.ResumeRequested)) return *refused;
    // The run makes the output folder once the checks have passed, so a
    // refused start leaves nothing behind; a folder that cannot be made
    // ends the run with its reason.
    job.UnattendedRun = -1;
    // Ctrl-C, a closed terminal or a SIGTERM stops the run as the stop
    // button would, so that no tool is left running.
    platform::StopSignals stopSignals;
    try {
        BeginRoutines(job);
    } catch (const std::exception& failure) {
        // Any kind is caught, so that the stack unwinds and a tool still
        // running ends with all it started. The report names the procedure
        // the failure was thrown from.
        job.Trace.ReportUnwound(failure.what(), "CommandLine", "RunFromCommandLine");
        // A failure out of a stage is that stage's and is named below; any
        // other is named here.
        if (!job.Stages.FailedStage()) return Fail(job, failure.what());
        WLOG(job, failure.what());
    }
    // The exit status follows what became of the run's stages; a failure,
    // or a run that did not reach its end, is named on standard error.
    const StageRecord& stages = job.Stages;
    const std::string log = ShownPath(job, job.RunLog.File());
    if (const auto failed = stages.FailedStage()) {
        std::cerr << "kestrova-cli: " << StageName(*failed) << " failed: " << stages.FailureReason() << '\n'
                  << "kestrova-cli: see " << log << '\n';
        return kExitFailed;
    }
    if (!stages.Ended()) {
        std::cerr << "kestrova-cli: the job did not complete; see " << log << '\n';
        return kExitFailed;
    }
    for (std::size_t i = 0; i < kRunStageCount; ++i) {
        const auto stage = static_cast<RunStage>(i);
        for (const auto& what : stages.Shortfalls(stage)) {
            std::cerr << "kestrova-cli: " << StageName(stage) << " fell short: " << what << '\n';
        }
    }
    if (stages.AnyShortfall()) {
        std::cerr << "kestrova-cli: see " << log << '\n';
        return kExitFailed;
    }
    return stages.AnyPassedOver() ? kExitPassedOver : kExitComplete;
}

}  // namespace kestrova
