// The writing helpers every stage uses: banners and lines in the run log,
// bare lines in the journal, and lines in the window's log list.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// The two logs in `folder` (a drive path), as the program starts and until
// a run moves them into its job: a folder of the user's, since the
// program's own folder may be read-only.
void OpenProgramLogs(JobContext& job, const std::string& folder);
// The two logs move into the job's root folder, both begun anew.
void MoveLogsToJobRoot(JobContext& job);

// A banner in the run log (three lines), when logging is on.
void WLF(JobContext& job, const std::string& text);
// One line in the run log at severity 9, when logging is on.
void WLOG(JobContext& job, const std::string& text);
// One line in the journal at severity 9, always, so a job can be resumed.
// A stage mark is left out when the run was stopped or the job's disk is
// full; a full disk stops the run, with a message naming the folder.
void RLOG(JobContext& job, const std::string& text);
// One line in the log list: the time, 6 blanks (indented) or 1, the text.
// An empty text closes the step the last call opened: "<time> <step> is
// complete" and a line with only the time.
void LogWindow(JobContext& job, const std::string& text, bool indent = false);

// When the disk of the job's folder has less than `bytes` free, a tool that
// left no file there may have lacked the room: the job stops as it does
// for a full disk (a message naming the folder; the stage gets no mark, so
// a resumption repeats it) and true comes back.
bool StopIfJobDiskLacks(JobContext& job, std::uint64_t bytes);

// A stage whose work this version does not have yet says so in the run
// log and the log list, and is set down as passed over against the stage
// of the run in hand, so a run never passes it silently.
void NotYetAvailable(JobContext& job, const std::string& stage);
// A stage that failed: "<stage> failed: <reason>" in the run log and the
// log list, and the failure in the run's record, which ends the run at its
// next stage boundary.
void StageFailed(JobContext& job, RunStage stage, const std::string& reason);
// Each of the files a tool was to leave is there; each one that is not is
// named in the run log ("\t<Label> not made: <path>"), and the stage in
// hand falls short of them ("N of the M <kind> in <folder> were not made
// (the first: <name>)"): the run goes on without them.
void CheckFilesMade(JobContext& job, const std::vector<std::string>& expected, const std::string& label,
                    const std::string& kind);

}  // namespace kestrova
