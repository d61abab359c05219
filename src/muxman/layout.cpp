// The Muxman back end's driver: see layout.h.
#include "muxman/layout.h"

#include <memory>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "authoring/scenario_helpers.h"
#include "authoring/script_file.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "muxman/content.h"
#include "muxman/mxp_run.h"
#include "muxman/navigation.h"
#include "platform/error.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

bool FullScript(JobContext& job, MuxmanRun& run) {
    if (job.DiscModel.Count() == 0) throw Error("The Muxman script has no disc to write: the model holds no VMG");
    run.Titles = GetTitleArray(job);
    const std::string root = job.DiscModel.Item(1).Root;
    for (const char* folder : {"\\Batch_1", "\\Batch_1\\0"}) {
        if (!job.Files.FolderExists(root + folder)) job.Files.MakeFolder(root + folder);
    }
    const std::string destination = root + "\\Batch_1\\0\\VIDEO_TS";
    if (job.Files.FolderExists(destination)) DeleteFolder(job, destination);
    job.Files.MakeFolder(destination);

    run.File = std::make_unique<ScriptFile>(root + "\\Muxman.MXP");
    // The old script goes as the new one is begun, so a failure leaves
    // none under the name.
    job.Files.DeleteFile(run.File->Path());
    GenerateSettings(job, run);
    GenerateContent(job, run);
    GenerateFP(job, run);
    for (std::size_t e = 1; e <= job.DiscModel.Count(); ++e) {
        const int entry = static_cast<int>(e);
        GenerateVTS(job, run, entry, 0, false, 0);
        if (entry > 1) GenerateTitles(job, run, entry);
        WSF(run, 1, "}");
    }
    WSF(run, 0, "}");
    run.File->Save(job.Files);

    if (job.Options().ScenaidMode != 0) {
        // No run: the sizes the authoring would take, for the hand-over.
        ScriptFile sizes(root + "\\Scenaid.dat");
        for (std::size_t e = 1; e <= job.DiscModel.Count(); ++e) {
            const VTS_Properties& domain = job.DiscModel.Item(e);
            if (domain.Authored == 0) continue;
            const std::string size = std::to_string(domain.Size);
            sizes.Line(0, e == 1 ? "VMG;" + size : "VTS" + CreateCellName(static_cast<int>(e) - 1) + ";" + size);
        }
        sizes.Save(job.Files);
        return false;
    }

    WLOG(job, "Starting Muxman.exe");
    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + "\\Muxman.exe") + " " +
                       CommandLinePath(job, root + "\\Muxman.MXP") + " -l " +
                       CommandLinePath(job, root + "\\Muxman.log") + " " + " -run",
                   kWindowMinimizedInactive);
    const std::string ifo = destination + "\\VIDEO_TS.IFO";
    if (job.Files.FileExists(ifo) && job.Files.FileSize(ifo) > 0) return false;
    WLOG(job, "\tMuxman.exe left no VIDEO_TS.IFO, or an empty one, in " + destination);
    return true;
}

}  // namespace

bool GenerateMUXMANLayout(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Muxman", "GenerateMUXMANLayout");
    MuxmanRun run;
    run.Full = job.Options().SingleMXP == 1;
    try {
        // Each pass reads the cells' still times and commands from the
        // first element again, and estimates the domains' sizes afresh.
        ClearReadFlags(job);
        for (VTS_Properties& domain : job.DiscModel) domain.Size = 0;
        if (run.Full) return FullScript(job, run);
        GenerateContent(job, run);
        return run.MuxmanStopped || run.MuxmanFailed;
    } catch (const Error& failure) {
        WLOG(job, "The Muxman scripts could not be written: " + std::string(failure.what()));
        return true;
    }
}

}  // namespace kestrova
