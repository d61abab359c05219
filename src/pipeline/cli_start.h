// A job started by a command line with no window: the program's start
// (logs, settings), the command line, the menus of the source, and the run.
#pragma once

#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// The exit statuses of a command-line run.
inline constexpr int kExitComplete = 0;    // every ticked stage ran
inline constexpr int kExitFailed = 1;      // a refusal, an abort, a failed stage or one that fell short
inline constexpr int kExitUsage = 2;       // a bad command line or environment: nothing started
inline constexpr int kExitPassedOver = 3;  // the run finished with some stages passed over

// Runs the job the arguments ask for; the process's exit status: 0 when
// every stage of the run ran, 3 when the run finished with stages passed
// over, 1 for a refusal, an abort, a failed stage, one that fell short or
// bad input (the message is on standard error), 2 when nothing was asked
// to run.
int RunFromCommandLine(JobContext& job, const std::vector<std::string>& args);

// The arguments as one command line of the window program: host paths in
// /PATH and after /INIFILE become drive paths, and a /PATH value gets its
// quotation marks back (a shell takes them away).
std::string CommandTextOf(const JobContext& job, const std::vector<std::string>& args);

// A question answered without a person, in the run log.
void LogUnattendedAnswer(JobContext& job, const std::string& note);
// A line of the trace facility (a failure with its procedure and call
// stack), in the run log.
void LogTrace(JobContext& job, const std::string& line);

}  // namespace kestrova
