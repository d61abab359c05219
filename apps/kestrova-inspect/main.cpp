// kestrova-inspect: prints what the reader sees of a VIDEO_TS folder, as
// lines, as JSON, or in the cross-check format shared with libdvdread.
#include <iostream>
#include <string>

#include "dvd/crosscheck_dump.h"
#include "dvd/ifo_reader.h"
#include "dvd/model_print.h"
#include "job/context.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/path_space.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/trace.h"

namespace {

const char* const kUsage =
    "Usage: kestrova-inspect [--json | --crosscheck] VIDEO_TS_FOLDER\n"
    "\n"
    "Prints the DVD model of a VIDEO_TS folder: per domain its attributes,\n"
    "language units, PGCs, commands, cells and the title map.\n"
    "  --json        the same as JSON\n"
    "  --crosscheck  the menu side in the format shared with dvdread-dump\n";

enum class Output { Text, Json, CrossCheck };

}  // namespace

int main(int argc, char** argv) {
    using namespace kestrova;
    Output output = Output::Text;
    std::string folder;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (argument == "--json") {
            output = Output::Json;
        } else if (argument == "--crosscheck") {
            output = Output::CrossCheck;
        } else if (folder.empty() && argument.rfind("--", 0) != 0) {
            folder = argument;
        } else {
            std::cerr << kUsage;
            return 2;
        }
    }
    if (folder.empty()) {
        std::cerr << kUsage;
        return 2;
    }

    try {
        const auto paths = platform::PathSpace::FromEnvironment();
        platform::FileSystem files(paths);
        platform::Registry registry(platform::Registry::DefaultHivePath());
        platform::Launcher launcher(paths);
        platform::ProcessRunner runner(launcher);
        platform::ConsoleQuestions questions(std::cin, std::cerr, true);
        platform::Trace trace;
        SilentView view;
        JobContext job(files, registry, runner, questions, trace, view);
        // The first file read fixes the standard, as in a job.
        job.Timing.VideoStandard.clear();

        const std::string drivePath = paths.ToWindows(folder);
        const std::string base = drivePath.back() == '\\' ? drivePath : drivePath + "\\";
        if (!files.FileExists(base + "VIDEO_TS.IFO")) {
            throw Error("There is no VIDEO_TS.IFO in " + folder + "; a VIDEO_TS folder was expected.");
        }
        GetIFOParams(job, base + "VIDEO_TS.IFO", true, "ALL", true);
        for (const auto& name : files.List(drivePath, "VTS_??_0.IFO", platform::ListKind::Files)) {
            GetIFOParams(job, base + name, true, "ALL", false);
        }

        switch (output) {
            case Output::Text: std::cout << ModelTree(job).RenderText(); break;
            case Output::Json: std::cout << ModelTree(job).RenderJson(); break;
            case Output::CrossCheck: std::cout << CrossCheckDump(job); break;
        }
    } catch (const Error& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}
