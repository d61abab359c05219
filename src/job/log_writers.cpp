// Writing helpers of the run log, journal and log list: see log_writers.h.
#include "job/log_writers.h"

#include "platform/clock.h"
#include "platform/error.h"

namespace kestrova {

namespace {

bool RunLogEnabled(JobContext& job) { return job.Settings.Count() > 0 && job.Options().Default_Enable_Log == 1; }

// A failed write turns that log off; the job goes on and the failure is
// reported to the trace facility.
void Write(JobContext& job, Log& log, const std::string& text, const char* procedure) {
    try {
        log.output(text, 9);
    } catch (const Error& failure) {
        job.Trace.Report(failure.what(), 0, "RunLog", procedure);
    }
}

}  // namespace

void OpenProgramLogs(JobContext& job) {
    job.RunLog.File(job.ProgramFolder + "\\Kestrova.LOG");
    job.RecoveryJournal.File(job.ProgramFolder + "\\Kestrova_Recovery.LOG");
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

void RLOG(JobContext& job, const std::string& text) { Write(job, job.RecoveryJournal, text, "RLOG"); }

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
    job.View.ServeMessages();
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

}  // namespace kestrova
