// A whole job context over a temporary folder: drive K: is the folder, the
// registry hive lives in it, questions are scripted and the view records.
#pragma once

#include <memory>
#include <string>

#include "job/context.h"
#include "job/tool_runner.h"
#include "platform/batch.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "platform/files.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/trace.h"
#include "support/recording_view.h"
#include "support/temp_folder.h"

namespace kestrova::test {

class JobFixture {
public:
    JobFixture()
        : paths(temp.Drives()),
          files(paths),
          registry(temp.Host("registry.reg")),
          launcher(paths),
          runner(launcher),
          batch(runner, files,
                [this](const std::string& regFile) { return registry.ImportRegFile(files.ToHost(regFile)); }),
          job(files, registry, runner, questions, trace, view) {
        AttachRunner(job);
        job.ProgramFolder = "K:\\Program";
        job.RunLog.SetClock([] { return std::string("2026-11-23 08:00:00"); });
    }

    TempFolder temp;
    platform::PathSpace paths;
    platform::FileSystem files;
    platform::Registry registry;
    platform::Launcher launcher;
    platform::ProcessRunner runner;
    platform::BatchInterpreter batch;
    platform::ScriptedQuestions questions;
    platform::Trace trace;
    RecordingView view;
    JobContext job;
};

}  // namespace kestrova::test
