// Patching a large MPEG-2 video elementary stream, beside plain copies of
// it: cat to /dev/null, cat to a file, and ffmpeg's mpeg2_metadata filter
// (which also rewrites headers only). The stream (~200 MB: 720x480,
// 24000/1001, 8 Mbit/s, groups of 12) is made at start with ffmpeg in a
// folder under /tmp and removed at the end. Run build/tests/bench_m2v_patch
// from a Release build; set KESTROVA_BENCH_MB for another size. Targets:
// the rate/aspect/drop-frame patch within 1.5 times "cat F > G", the 3:2
// pulldown with pan-scan within 2 times. All times are wall times, the
// file's pages warm in the cache after the first run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "platform/files.h"
#include "platform/path_space.h"
#include "video/m2v_patcher.h"

namespace {

namespace fs = std::filesystem;

fs::path g_folder;
std::string g_m2v;  // host path
std::uint64_t g_bytes = 0;

void Shell(const std::string& command) {
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

void MakeStream() {
    const char* size = std::getenv("KESTROVA_BENCH_MB");
    const std::uint64_t megabytes = size != nullptr ? std::strtoull(size, nullptr, 10) : 200;
    const std::uint64_t seconds = std::max<std::uint64_t>(1, megabytes * 8 * (1 << 20) / 8'000'000);
    g_folder = fs::temp_directory_path() / ("kestrova-bench-m2v-patch-" + std::to_string(::getpid()));
    fs::create_directories(g_folder);
    g_m2v = (g_folder / "FILM.M2V").string();
    std::cerr << "bench_m2v_patch: encoding " << seconds << " s of video...\n";
    Shell("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=720x480:rate=24000/1001 -t " +
          std::to_string(seconds) + " -c:v mpeg2video -b:v 8M -minrate 8M -maxrate 9M -bufsize 1835k -g 12 "
          "-f mpeg2video '" + g_m2v + "'");
    g_bytes = fs::file_size(g_m2v);
    std::cerr << "bench_m2v_patch: " << (g_bytes >> 20) << " MB in " << g_m2v << "\n";
}

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}

void Patch(benchmark::State& state, const kestrova::M2vPatch& patch) {
    kestrova::platform::PathSpace paths;
    paths.MapDrive('B', g_folder.string());
    const kestrova::platform::FileSystem files(paths);
    std::int64_t pictures = 0;
    for (auto _ : state) pictures = kestrova::PatchM2vFile(files, "B:\\FILM.M2V", "B:\\OUT.M2V", patch).Pictures;
    state.counters["pictures"] = static_cast<double>(pictures);
    Bytes(state);
}

void BM_PatchRateAspectDropFrame(benchmark::State& state) {
    kestrova::M2vPatch patch;
    patch.FrameRateCode = 4;
    patch.AspectRatioCode = 3;
    patch.DropFrame = true;
    Patch(state, patch);
}
BENCHMARK(BM_PatchRateAspectDropFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_PatchPulldownPanScan(benchmark::State& state) {
    kestrova::M2vPatch patch;
    patch.Pulldown = kestrova::PulldownChange::ThreeTwo;
    patch.PanScan = kestrova::PanScanChange::Add;
    Patch(state, patch);
}
BENCHMARK(BM_PatchPulldownPanScan)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_CatToNull(benchmark::State& state) {
    for (auto _ : state) Shell("cat '" + g_m2v + "' > /dev/null");
    Bytes(state);
}
BENCHMARK(BM_CatToNull)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_CatToFile(benchmark::State& state) {
    for (auto _ : state) Shell("cat '" + g_m2v + "' > '" + (g_folder / "CAT.M2V").string() + "'");
    Bytes(state);
}
BENCHMARK(BM_CatToFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_FfmpegMetadata(benchmark::State& state) {
    for (auto _ : state) {
        Shell("ffmpeg -nostdin -v error -y -i '" + g_m2v + "' -c copy -bsf:v mpeg2_metadata=frame_rate=30000/1001:"
              "display_aspect_ratio=16/9 -f mpeg2video '" + (g_folder / "FF.M2V").string() + "'");
    }
    Bytes(state);
}
BENCHMARK(BM_FfmpegMetadata)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 0;
    try {
        MakeStream();
        Shell("cat '" + g_m2v + "' > /dev/null");  // pages warm before the first timing
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::cerr << "bench_m2v_patch: " << error.what() << "\n";
        status = 1;
    }
    benchmark::Shutdown();
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return status;
}
