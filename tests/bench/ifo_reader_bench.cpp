// Reading the IFO files of the fixture discs: libdvdread's ifoOpen as the
// yardstick, Kestrova's own reader beside it. Needs the discs made by the
// dvd_fixtures test (ctest -R dvd_fixtures); run build/tests/bench_ifo_reader.
#include <benchmark/benchmark.h>
#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <cstdarg>
#include <exception>
#include <string>
#include <vector>

#include "dvd/ifo_reader.h"
#include "job/context.h"
#include "platform/batch.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/trace.h"
#include "support/fixtures.h"
#include "support/temp_folder.h"

namespace {

// The fixture discs' VIDEO_TS folders, or empty after marking the benchmark
// as failed when there are none.
std::vector<std::string> DiscsOrSkip(benchmark::State& state) {
    try {
        return kestrova::test::FixtureDiscs();
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return {};
    }
}

void IgnoreMessage(void*, dvd_logger_level_t, const char*, va_list) {}

// Every IFO of every disc (VIDEO_TS.IFO and each VTS_nn_0.IFO) through
// ifoOpen and ifoClose; the discs are opened once, outside the timing.
void BM_LibdvdreadIfoOpen(benchmark::State& state) {
    static const dvd_logger_cb quiet{IgnoreMessage};
    std::vector<dvd_reader_t*> dvds;
    for (const std::string& disc : DiscsOrSkip(state)) {
        dvd_reader_t* dvd = DVDOpen2(nullptr, &quiet, disc.c_str());
        if (dvd == nullptr) {
            state.SkipWithError(("libdvdread cannot open " + disc).c_str());
            break;
        }
        dvds.push_back(dvd);
    }

    int64_t files = 0;
    while (!dvds.empty() && state.KeepRunning()) {
        for (dvd_reader_t* dvd : dvds) {
            ifo_handle_t* vmg = ifoOpen(dvd, 0);
            if (vmg == nullptr) {
                state.SkipWithError("libdvdread cannot read a VIDEO_TS.IFO");
                break;
            }
            const int title_sets = vmg->vmgi_mat->vmg_nr_of_title_sets;
            ifoClose(vmg);
            ++files;
            for (int n = 1; n <= title_sets; ++n) {
                ifo_handle_t* vts = ifoOpen(dvd, n);
                if (vts == nullptr) {
                    state.SkipWithError("libdvdread cannot read a VTS_nn_0.IFO");
                    break;
                }
                ifoClose(vts);
                ++files;
            }
        }
    }
    state.SetItemsProcessed(files);
    for (dvd_reader_t* dvd : dvds) DVDClose(dvd);
}
BENCHMARK(BM_LibdvdreadIfoOpen)->Unit(benchmark::kMicrosecond);

// Kestrova's reader over the same files: a full read of every IFO into a
// fresh model per disc, as a job does, files read from disk each time.
void BM_KestrovaIfoRead(benchmark::State& state) {
    const std::vector<std::string> discs = DiscsOrSkip(state);
    kestrova::platform::PathSpace paths;
    kestrova::platform::FileSystem files(paths);
    kestrova::test::TempFolder temp;
    kestrova::platform::Registry registry(temp.Host("hive.reg"));
    kestrova::platform::Launcher launcher(paths);
    kestrova::platform::ProcessRunner runner(launcher);
    kestrova::platform::ScriptedQuestions questions;
    kestrova::platform::Trace trace;
    kestrova::SilentView view;

    // Each disc's IFO files as drive paths, the video manager first.
    std::vector<std::vector<std::string>> ifos;
    for (const std::string& disc : discs) {
        const std::string folder = paths.ToWindows(disc);
        std::vector<std::string> names = files.List(folder, "*.IFO", kestrova::platform::ListKind::Files);
        std::vector<std::string> paths_of_disc;
        for (const auto& name : names) paths_of_disc.push_back(folder + "\\" + name);
        ifos.push_back(paths_of_disc);
    }

    int64_t read = 0;
    while (!ifos.empty() && state.KeepRunning()) {
        for (const auto& disc : ifos) {
            kestrova::JobContext job(files, registry, runner, questions, trace, view);
            for (const auto& path : disc) {
                const bool videoManager = path.find("VIDEO_TS.IFO") != std::string::npos;
                kestrova::GetIFOParams(job, path, true, "ALL", videoManager);
                ++read;
            }
            benchmark::DoNotOptimize(job.DiscModel.Count());
        }
    }
    state.SetItemsProcessed(read);
}
BENCHMARK(BM_KestrovaIfoRead)->Unit(benchmark::kMicrosecond);

}  // namespace
