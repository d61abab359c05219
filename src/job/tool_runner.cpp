// The job's tool runner: see tool_runner.h.
#include "job/tool_runner.h"

#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/stop_signals.h"

namespace kestrova {

void AttachRunner(JobContext& job) {
    job.Runner.SetLog([&job](const std::string& line) { WLOG(job, line); });
    // What a tool says (its errors above all) belongs in the run log too.
    job.Runner.SetChildOutput([&job](const std::string& line) { WLOG(job, "\t" + line); });
    job.Runner.SetPump([&job] { JobPump(job); });
}

void JobPump(JobContext& job) {
    if (job.Temp_Settings.Count() > 0) {
        auto& state = job.State();
        if (state.Demuxing != 0) DemuxProgress(job);
        if (state.Encoding != 0) VideoConversionProgress(job);
        if (state.SoftTest != 0 && job.Runner.WindowExists("Sftencdd.exe")) {
            job.Runner.CloseWindow("Sftencdd.exe");
            job.SoftEncodeTestClosed = -1;
        }
    }
    ServeMessages(job);
    // A stop confirmed while the tool ran ends it, and nothing new starts.
    if (job.StopRequested != 0 && !job.Runner.StopRequested()) job.Runner.RequestStop();
}

void ServeMessages(JobContext& job) {
    job.View.ServeMessages();
    if (const int signal = platform::TakeStopSignal(); signal != 0) {
        WLOG(job, platform::StopSignalName(signal) + " received");
        WLOG(job, "Job Stopped");
        job.StopRequested = -1;
        job.ClosingDown = -1;
        job.Runner.RequestStop();
    }
}

void ShellAndWait(JobContext& job, const std::string& commandLine, std::int16_t windowStyle) {
    platform::TraceFrame frame(job.Trace, "ToolRunner", "ShellAndWait");
    if (job.StopRequested != 0) return;
    job.Runner.ShellAndWait(commandLine, windowStyle, [&job] { JobPump(job); });
    ServeMessages(job);
}

int MsgWaitObj(JobContext& job, std::int32_t timeoutMs) { return job.Runner.MsgWaitObj(timeoutMs); }

void pause250(JobContext& job) { MsgWaitObj(job, 250); }

}  // namespace kestrova
