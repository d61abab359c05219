// Writing helpers of the run log, journal and log list: see log_writers.h.
#include "job/log_writers.h"

#include "job/folders.h"
#include "job/journal.h"
#include "job/tool_runner.h"
#include "platform/clock.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

namespace {

bool RunLogEnabled(JobContext& job) { return job.Settings.Count() > 0 && job.Options().Default_Enable_Log == 1; }

// A failed write turns that log off; the job goes on, the user is told once
// in the log list which file could not be written, and the failure is
// reported to the trace facility.
void Write(JobContext& job, Log& log, const std::string& text, const char* procedure) {
    try {
        log.output(text, 9);
    } catch (const Error& failure) {
        LogWindow(job, "The log " + ShownPath(job, log.File()) + " cannot be written - it is turned off (" +
                           failure.what() + ")");
        job.Trace.Report(failure.what(), 0, "RunLog", procedure);
    }
}

constexpr std::uint64_t kSectorBytes = 2048;


// Whether the stage now journaled ran to its end. A stopped stage did not;
// nor did one that filled the job's disk, since an outside tool's short
// files would only be noticed by the stages that read them. A full disk
// stops the run, so the journal ends at the last whole stage and a
// resumption, once space is freed, repeats the one that was cut short.
bool StageRanWhole(JobContext& job) {
    if (job.StopRequested != 0) return false;
    // Less than a sector free: a tool writing there has had its files cut short.
    return !StopIfJobDiskLacks(job, kSectorBytes);
}

}  // namespace

bool StopIfJobDiskLacks(JobContext& job, std::uint64_t bytes) {
    if (job.JobRoot.empty()) return false;
    try {
        if (job.Files.FreeBytes(job.JobRoot) >= bytes) return false;
    } catch (const Error&) {
        return false;  // a folder that cannot be asked shows its fault at its next write
    }
    const std::string text = "The disk holding " + job.JobRoot + " (" + job.Files.ToHost(job.JobRoot) +
                             ") is full: the job stops here, and can be resumed once space is freed";
    job.Questions.ShowMessage(text, "Kestrova", platform::MessageKind::Critical);
    WLOG(job, text);
    job.StopRequested = -1;
    job.Runner.RequestStop();
    return true;
}

void OpenProgramLogs(JobContext& job, const std::string& folder) {
    job.RunLog.File(folder + "\\Kestrova.LOG");
    job.RecoveryJournal.File(folder + "\\Kestrova_Recovery.LOG");
}

void MoveLogsToJobRoot(JobContext& job) {
    job.RunLog.File(job.JobRoot + "\\Kestrova.LOG");
    job.RecoveryJournal.File(job.JobRoot + "\\Kestrova_Recovery.LOG");
    try {
        job.RunLog.Reset();
        job.RecoveryJournal.Reset();
    } catch (const Error& failure) {
        job.Trace.Report(failure.what(), 0, "RunLog", "MoveLogsToJobRoot");
    }
}

void WLF(JobContext& job, const std::string& text) {
    if (!RunLogEnabled(job)) return;
    Write(job, job.RunLog, kBannerRule, "WLF");
    Write(job, job.RunLog, BannerTitle(text), "WLF");
    Write(job, job.RunLog, kBannerRule, "WLF");
}

void WLOG(JobContext& job, const std::string& text) {
    if (!RunLogEnabled(job)) return;
    Write(job, job.RunLog, text, "WLOG");
}

void RLOG(JobContext& job, const std::string& text) {
    // A stage mark tells a resumption to skip the stage: it is written only
    // for a stage that ran whole.
    if (StageOfMark(text) >= 0 && !StageRanWhole(job)) return;
    Write(job, job.RecoveryJournal, text, "RLOG");
}

void LogWindow(JobContext& job, const std::string& text, bool indent) {
    const std::string time = platform::LocalTimeText();
    auto& state = job.State();
    if (!text.empty()) {
        job.View.AddListLine(time + (indent ? "      " : " ") + text);
        state.CurrentProcedure = text;
    } else {
        job.View.AddListLine(time + " " + state.CurrentProcedure + " is complete");
        job.View.AddListLine(time + " ");
    }
    ServeMessages(job);
}

void NotYetAvailable(JobContext& job, const std::string& stage) {
    const std::string text = stage + " is not yet available in this version - stage passed over";
    WLOG(job, text);
    LogWindow(job, text);
    job.Stages.PassOver(stage);
}

void StageFailed(JobContext& job, RunStage stage, const std::string& reason) {
    const std::string text = std::string(StageName(stage)) + " failed: " + reason;
    WLOG(job, text);
    LogWindow(job, text);
    job.Stages.Fail(stage, reason);
}

void CheckFilesMade(JobContext& job, const std::vector<std::string>& expected, const std::string& label,
                    const std::string& kind) {
    std::size_t missing = 0;
    std::string first;
    for (const std::string& path : expected) {
        if (job.Files.FileExists(path)) continue;
        WLOG(job, "\t" + label + " not made: " + path);
        if (missing++ == 0) first = path;
    }
    if (missing == 0) return;
    // The summary names the folder as the user opens it.
    std::string folder = job.WorkFolder;
    try {
        folder = job.Files.ToHost(job.WorkFolder);
    } catch (const Error&) {
    }
    job.Stages.FallShort(std::to_string(missing) + " of the " + std::to_string(expected.size()) + " " + kind +
                         " in " + folder + " were not made (the first: " + platform::FileNameOf(first) + ")");
}

}  // namespace kestrova
