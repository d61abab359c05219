// What a command-line run does with an output folder that already holds
// something: it resumes the unfinished job found there when asked to, empties
// a job's folder when asked to, and otherwise refuses, so that the files of
// two runs are never mixed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// kestrova-cli's own options for the output folder; they are no part of the
// window program's command line.
inline constexpr const char* kResumeOption = "--resume";
inline constexpr const char* kFreshOption = "--fresh";
bool IsJobFolderOption(const std::string& arg);

// Looks at job.OutputFolder just before the run starts. A missing or empty
// folder lets the run start. An unfinished job's folder is resumed when
// `resume` is asked for (/RESU or --resume): through the recovery path, as
// the recovery window would from the journal's last stage mark. With
// --fresh a job's folder is emptied first. Anything else is refused with a
// message naming the folder and the choices. Returns the exit status of a
// refusal, or nothing when the run may start.
std::optional<int> PrepareJobFolder(JobContext& job, const std::vector<std::string>& args, bool resume);

}  // namespace kestrova
