// The job's side of running a tool: each start is logged, and while the
// tool runs the wait keeps the progress bars moving from what the tool
// writes, closes the SoftEncode self-test window, serves the window's input
// and passes a stop on to the runner.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Connects the runner's log and the tools' own output to the run log, and
// its default pump to JobPump.
void AttachRunner(JobContext& job);

// One pass of the wait loop's work.
void JobPump(JobContext& job);

// One pass over what can happen while the job is busy: the view's input
// (the stop button), and a stop signal to the process (platform
// StopSignals), which stops the job as a confirmed stop does: the run log
// says so, the running tool ends with all it started, nothing new starts,
// and the run leaves at its next stop test.
void ServeMessages(JobContext& job);

// The window styles a tool is started with.
inline constexpr std::int16_t kWindowHidden = 0;
inline constexpr std::int16_t kWindowNormal = 1;
inline constexpr std::int16_t kWindowMinimized = 2;
inline constexpr std::int16_t kWindowMinimizedInactive = 6;

// Runs a Windows command line and waits for its end. No exit code is read:
// a stage knows how a tool fared by the files it left.
void ShellAndWait(JobContext& job, const std::string& commandLine, std::int16_t windowStyle);

// Waits the time-out (ms, or -1 for a running child's end) with the job
// alive; 258 when the time passed.
int MsgWaitObj(JobContext& job, std::int32_t timeoutMs);
void pause250(JobContext& job);

}  // namespace kestrova
