// The summary at the end of a run: see run_summary.h.
#include "pipeline/run_summary.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "job/log_writers.h"
#include "platform/error.h"
#include "platform/process.h"
#include "platform/text.h"

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

std::string Seconds(std::uint64_t ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(ms) / 1000.0);
    return text;
}

// The outside programs' share of the run: each program's runs with their
// summed wall and processor time (processor time counts what the program
// itself started), the busiest first. Batch files are left out: the
// programs they ran are counted by their own lines.
std::vector<std::string> ToolTimeLines(const JobContext& job) {
    struct Sum {
        std::string Name;
        int Runs = 0;
        std::uint64_t WallMs = 0;
        std::uint64_t CpuMs = 0;
    };
    std::map<std::string, Sum> byProgram;
    Sum all;
    for (const auto& record : job.Runner.History()) {
        if (record.Kind == platform::LaunchKind::Batch) continue;
        std::string name = record.Program;
        if (const auto cut = name.find_last_of("\\/"); cut != std::string::npos) name.erase(0, cut + 1);
        Sum& sum = byProgram[platform::ToUpperAscii(name)];
        if (sum.Name.empty()) sum.Name = name;
        for (Sum* s : {&sum, &all}) {
            ++s->Runs;
            s->WallMs += record.WallMs;
            s->CpuMs += record.CpuMs;
        }
    }
    if (all.Runs == 0) return {};
    std::vector<Sum> sums;
    for (const auto& [key, sum] : byProgram) sums.push_back(sum);
    std::stable_sort(sums.begin(), sums.end(), [](const Sum& a, const Sum& b) { return a.WallMs > b.WallMs; });
    std::vector<std::string> lines;
    const auto line = [](const Sum& sum) {
        return std::to_string(sum.Runs) + (sum.Runs == 1 ? " run, " : " runs, ") + Seconds(sum.WallMs) +
               " (processor " + Seconds(sum.CpuMs) + ")";
    };
    lines.push_back("Outside programs: " + line(all));
    for (const auto& sum : sums) lines.push_back("  " + sum.Name + ": " + line(sum));
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
    for (const auto& line : ToolTimeLines(job)) lines.push_back(line);
    for (const auto& line : ResultLines(job)) lines.push_back(line);

    WLF(job, "Run summary");
    LogWindow(job, "Run summary");
    for (const auto& line : lines) {
        WLOG(job, line);
        LogWindow(job, line, true);
    }
}

}  // namespace kestrova
