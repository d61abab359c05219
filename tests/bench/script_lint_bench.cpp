// Reading and linting a large Scenarist script, and a FULL Muxman script of
// the same disc, beside `wc -l` counting the lines of the Scenarist file.
// The disc has 600 still menu cells of 36 buttons each in title set 1,
// spread over 99 PGCs in three languages; the Scenarist script is ~24 MB, a
// million lines. Both are written with their asset files (empty) into a
// folder under /tmp that is removed at the end. Run
// build/tests/bench_script_lint from a Release build. Reading and linting
// should stay within ten times `wc -l` (the file in the page cache). All
// times are wall times. It exits 1 when a script does not lint clean.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "../authoring/sample_mxp.h"
#include "../authoring/sample_script.h"
#include "authoring/script_lint.h"
#include "platform/files.h"
#include "platform/path_space.h"

namespace {

namespace fs = std::filesystem;

fs::path g_folder;
std::string g_script;  // host path
std::uint64_t g_bytes = 0, g_muxmanBytes = 0;
std::size_t g_errors = 0, g_warnings = 0, g_buttons = 0;
std::size_t g_muxmanErrors = 0, g_muxmanWarnings = 0, g_muxmanButtons = 0;

void Touch(const fs::path& path) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << "m2v";
}

void MakeScript() {
    g_folder = fs::temp_directory_path() / ("kestrova-bench-script-lint-" + std::to_string(::getpid()));
    kestrova::test::SampleScriptShape shape;
    shape.Languages = 3;
    shape.PgcsPerLanguage = 33;
    shape.StillCells = 600;
    shape.Buttons = 36;
    shape.Root = "K:\\JOB";
    const std::string text = kestrova::test::SampleScript(shape).Text();
    g_script = (g_folder / "JOB" / "Batch_1" / "ScenaristScript30_1.SCP").string();
    fs::create_directories(fs::path(g_script).parent_path());
    std::ofstream(g_script, std::ios::binary) << text;
    for (int k = 1; k <= shape.StillCells; ++k) {
        Touch(g_folder / "JOB" / "NEW_M2V" / kestrova::test::SampleScript::StillFile(shape, k).substr(15));
    }
    for (const char* file : {"NEW_M2V/021.m2v", "NEW_M2V/Dummy.m2v", "Title_Dummy.m2v", "DEMUXED/1-021.ac3"}) {
        Touch(g_folder / "JOB" / file);
    }
    g_bytes = fs::file_size(g_script);
    std::cerr << "bench_script_lint: " << (g_bytes >> 20) << " MB in " << g_script << "\n";

    kestrova::test::SampleMuxmanShape muxman;
    muxman.Languages = shape.Languages;
    muxman.PgcsPerLanguage = shape.PgcsPerLanguage;
    muxman.StillCells = shape.StillCells;
    muxman.Buttons = shape.Buttons;
    const fs::path mxp = g_folder / "JOB" / "Muxman.MXP";
    std::ofstream(mxp, std::ios::binary) << kestrova::test::SampleMuxman(muxman).Text();
    for (int k = 1; k <= muxman.StillCells; ++k) {
        Touch(g_folder / "JOB" / "NEW_M2V" / kestrova::test::SampleMuxman::StillFile(muxman, k).substr(15));
        Touch(g_folder / "JOB" / "SUBS" / kestrova::test::SampleMuxman::BitmapFile(muxman, k).substr(12));
    }
    for (const char* file : {"NEW_M2V/002.m2v", "DEMUXED/1-002.ac3"}) Touch(g_folder / "JOB" / file);
    g_muxmanBytes = fs::file_size(mxp);
    std::cerr << "bench_script_lint: " << (g_muxmanBytes >> 20) << " MB in " << mxp.string() << "\n";
}

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}

struct Drives {
    kestrova::platform::PathSpace Paths;
    kestrova::platform::FileSystem Files{Paths};
    Drives() { Paths.MapDrive('K', g_folder.string()); }
};

void BM_ReadAndLint(benchmark::State& state) {
    Drives drives;
    for (auto _ : state) {
        kestrova::ScriptDiagnostics diagnostics;
        const auto script =
            kestrova::LintScenaristFile(drives.Files, "K:\\JOB\\Batch_1\\ScenaristScript30_1.SCP", diagnostics);
        g_errors = diagnostics.Count(kestrova::Severity::Error);
        g_warnings = diagnostics.Count(kestrova::Severity::Warning);
        g_buttons = 0;
        for (const auto& track : script.Model.TrackFolders.at(0).Tracks) {
            for (const auto& highlight : track.Highlights) g_buttons += highlight.Buttons.size();
        }
    }
    state.counters["buttons"] = static_cast<double>(g_buttons);
    Bytes(state);
}
BENCHMARK(BM_ReadAndLint)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_ReadAndLintMuxman(benchmark::State& state) {
    Drives drives;
    for (auto _ : state) {
        kestrova::ScriptDiagnostics diagnostics;
        const auto script = kestrova::LintMuxmanFile(drives.Files, "K:\\JOB\\Muxman.MXP", diagnostics);
        g_muxmanErrors = diagnostics.Count(kestrova::Severity::Error);
        g_muxmanWarnings = diagnostics.Count(kestrova::Severity::Warning);
        g_muxmanButtons = 0;
        for (const auto& track : script.Model.TrackFolders.at(0).Tracks) {
            for (const auto& highlight : track.Highlights) g_muxmanButtons += highlight.Buttons.size();
        }
    }
    state.counters["buttons"] = static_cast<double>(g_muxmanButtons);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_muxmanBytes));
}
BENCHMARK(BM_ReadAndLintMuxman)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// The stages alone: the tokenizer's tree, then the model over it.
void BM_Tokenize(benchmark::State& state) {
    Drives drives;
    for (auto _ : state) {
        kestrova::ScriptDiagnostics diagnostics;
        const auto document =
            kestrova::ReadScriptFile(drives.Files, "K:\\JOB\\Batch_1\\ScenaristScript30_1.SCP", diagnostics);
        benchmark::DoNotOptimize(document.Nodes.data());
    }
    Bytes(state);
}
BENCHMARK(BM_Tokenize)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_TokenizeAndModel(benchmark::State& state) {
    Drives drives;
    for (auto _ : state) {
        kestrova::ScriptDiagnostics diagnostics;
        const auto document =
            kestrova::ReadScriptFile(drives.Files, "K:\\JOB\\Batch_1\\ScenaristScript30_1.SCP", diagnostics);
        const auto model = kestrova::ReadScenaristModel(document, diagnostics);
        benchmark::DoNotOptimize(model.TrackFolders.data());
    }
    Bytes(state);
}
BENCHMARK(BM_TokenizeAndModel)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_WcLines(benchmark::State& state) {
    const std::string command = "wc -l < '" + g_script + "' > /dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
    }
    Bytes(state);
}
BENCHMARK(BM_WcLines)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 0;
    try {
        MakeScript();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::cerr << "bench_script_lint: " << error.what() << "\n";
        status = 1;
    }
    benchmark::Shutdown();
    if (g_errors != 0 || g_warnings != 0 || (g_buttons != 0 && g_buttons != 600 * 36)) {
        std::cerr << "bench_script_lint: THE SCRIPT DOES NOT LINT CLEAN: " << g_errors << " errors, " << g_warnings
                  << " warnings, " << g_buttons << " buttons read\n";
        status = 1;
    }
    // Still 1 of the Muxman script has a dummy button, which leaves its highlight.
    if (g_muxmanErrors != 0 || g_muxmanWarnings != 0 || (g_muxmanButtons != 0 && g_muxmanButtons != 600 * 36 - 1)) {
        std::cerr << "bench_script_lint: THE MUXMAN SCRIPT DOES NOT LINT CLEAN: " << g_muxmanErrors << " errors, "
                  << g_muxmanWarnings << " warnings, " << g_muxmanButtons << " buttons read\n";
        status = 1;
    }
    // KESTROVA_BENCH_KEEP=1 keeps the script for timing other tools on it.
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return status;
}
