// The job context: see context.h.
#include "job/context.h"

namespace kestrova {

JobContext::JobContext(platform::FileSystem& files, platform::Registry& registry, platform::ProcessRunner& runner,
                       platform::Questions& questions, platform::Trace& trace, JobView& view)
    : Files(files), Registry(registry), Runner(runner), Questions(questions), Trace(trace), View(view),
      RunLog(files), RecoveryJournal(files) {
    Settings.Add();
    Temp_Settings.Add();
    // The run log: date and time in front, lines of severity 1 and above.
    RunLog.Options(Log::kDateTime);
    RunLog.SeverityLevel(1);
    // The journal: bare lines.
    RecoveryJournal.Options(0);
    RecoveryJournal.SeverityLevel(0);
}

}  // namespace kestrova
