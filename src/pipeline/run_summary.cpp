// The summary at the end of a run: see run_summary.h.
#include "pipeline/run_summary.h"

#include <string>
#include <vector>

#include "job/log_writers.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// A folder as a user opens it: its host path where the drive is mapped.
std::string HostPathOf(const JobContext& job, const std::string& path) {
    try {
        return job.Files.ToHost(path);
    } catch (const Error&) {
        return path;
    }
}

std::string OutcomeText(const StageRecord& stages, RunStage stage) {
    switch (stages.Outcome(stage)) {
    case StageOutcome::Done: return "done";
    case StageOutcome::Failed: return "FAILED - " + stages.FailureReason();
    case StageOutcome::FellShort: {
        std::string missing;
        for (const auto& what : stages.Shortfalls(stage)) missing += (missing.empty() ? "" : "; ") + what;
        return "FELL SHORT - " + missing;
    }
    case StageOutcome::PassedOver: {
        std::string steps;
        for (const auto& step : stages.PassedOverSteps(stage)) steps += (steps.empty() ? "" : ", ") + step;
        return "passed over, not yet available in this version (" + steps + ")";
    }
    case StageOutcome::NotRun: break;
    }
    return "not run";
}

std::string EndingText(const JobContext& job) {
    const StageRecord& stages = job.Stages;
    if (const auto failed = stages.FailedStage()) {
        return std::string("The run FAILED at ") + StageName(*failed) + " and ended there.";
    }
    if (job.StopRequested != 0) return "The run was stopped.";
    if (!stages.Ended()) return "The run did not reach its end.";
    if (stages.AnyShortfall()) {
        return "The run finished, but the stages that fell short did not make all of their files: see the run log.";
    }
    if (stages.AnyPassedOver()) {
        return "The run finished, but the stages passed over did not do their work: this version does not have "
               "them yet.";
    }
    return "The run is complete: every stage ran.";
}

std::vector<std::string> ResultLines(const JobContext& job) {
    std::vector<std::string> lines;
    for (const auto& folder : job.Files.List(job.JobRoot, "D_*", platform::ListKind::Folders)) {
        lines.push_back("Demultiplexed assets: " + HostPathOf(job, job.JobRoot + "\\" + folder));
    }
    const std::string result = job.JobRoot + "\\VIDEO_TS";
    if (job.Files.FolderExists(result)) {
        const std::size_t files = job.Files.List(result, "*", platform::ListKind::Files).size();
        lines.push_back("Output VIDEO_TS: " + HostPathOf(job, result) + " (" +
                        (files == 0 ? std::string("empty") : std::to_string(files) + " files") + ")");
    }
    lines.push_back("Run log: " + HostPathOf(job, job.RunLog.File()));
    return lines;
}

}  // namespace

void WriteRunSummary(JobContext& job) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < kRunStageCount; ++i) {
        const auto stage = static_cast<RunStage>(i);
        if (job.Stages.Outcome(stage) == StageOutcome::NotRun) continue;
        lines.push_back(std::string(StageName(stage)) + ": " + OutcomeText(job.Stages, stage));
    }
    lines.push_back(EndingText(job));
    for (const auto& line : ResultLines(job)) lines.push_back(line);

    WLF(job, "Run summary");
    LogWindow(job, "Run summary");
    for (const auto& line : lines) {
        WLOG(job, line);
        LogWindow(job, line, true);
    }
}

}  // namespace kestrova
