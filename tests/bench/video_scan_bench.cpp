// Scanning a large MPEG-2 video elementary stream, beside ffprobe counting
// its frames (it decodes them), cat of the file, and DGIndex's stand-in
// as the job calls it (the scan plus its project file and log). The stream
// (~200 MB: 720x576, 25 fps, 8 Mbit/s constant, groups of 12) is made at
// start with ffmpeg in a folder under /tmp and removed at the end. Run
// build/tests/bench_video_scan from a Release build; set KESTROVA_BENCH_MB
// for another size. The scanner should take a tenth of ffprobe's time or
// less, and stay within a few times cat's. All times are wall times. It
// exits 1 when its frame count differs from ffprobe's nb_read_frames or
// the stand-in's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include <unistd.h>

#include "assets/video_stream.h"

namespace {

namespace fs = std::filesystem;

fs::path g_folder;
std::string g_m2v;  // host path
std::uint64_t g_bytes = 0;
// The frame counts each side found; -1 until it ran.
std::int64_t g_scanned = -1, g_probed = -1, g_indexed = -1;

void Shell(const std::string& command) {
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

// The first line the command prints.
std::string ShellLine(const std::string& command) {
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run: " + command);
    char line[256] = {};
    if (std::fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
    while (std::fgetc(pipe) != EOF) {
    }
    if (::pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
    return line;
}

void MakeStream() {
    const char* size = std::getenv("KESTROVA_BENCH_MB");
    const std::uint64_t megabytes = size != nullptr ? std::strtoull(size, nullptr, 10) : 200;
    const std::uint64_t seconds = std::max<std::uint64_t>(1, megabytes * 8 * (1 << 20) / 8'000'000);
    g_folder = fs::temp_directory_path() / ("kestrova-bench-video-scan-" + std::to_string(::getpid()));
    fs::create_directories(g_folder);
    g_m2v = (g_folder / "BIG.M2V").string();
    std::cerr << "bench_video_scan: encoding " << seconds << " s of video...\n";
    Shell("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=720x576:rate=25 -t " + std::to_string(seconds) +
          " -c:v mpeg2video -b:v 8M -minrate 8M -maxrate 9M -bufsize 1835k -g 12 -f mpeg2video '" + g_m2v + "'");
    g_bytes = fs::file_size(g_m2v);
    std::cerr << "bench_video_scan: " << (g_bytes >> 20) << " MB in " << g_m2v << "\n";
}

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}

void BM_ScanFile(benchmark::State& state) {
    for (auto _ : state) {
        const kestrova::VideoStream stream = kestrova::ScanVideoStreamFile(g_m2v);
        g_scanned = stream.Counts.Frames;
    }
    state.counters["frames"] = static_cast<double>(g_scanned);
    Bytes(state);
}
BENCHMARK(BM_ScanFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// Decodes every picture to count them.
void BM_Ffprobe(benchmark::State& state) {
    for (auto _ : state) {
        g_probed = std::stoll(ShellLine("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                                        "stream=nb_read_frames -of csv=p=0 '" + g_m2v + "'"));
    }
    state.counters["frames"] = static_cast<double>(g_probed);
    Bytes(state);
}
BENCHMARK(BM_Ffprobe)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void BM_Cat(benchmark::State& state) {
    for (auto _ : state) Shell("cat '" + g_m2v + "' > /dev/null");
    Bytes(state);
}
BENCHMARK(BM_Cat)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_IndexStandin(benchmark::State& state) {
    const std::string drivePath = "Z:" + g_folder.string();
    const std::string arguments = "-IA=1 -FO=0 -YR=1 -TN=1 -IF=[" + drivePath + "/BIG.M2V] -DRC=0 -OF=[" +
                                  drivePath + "/BIG] -exit";
    ::setenv("KESTROVA_COMMAND_LINE", ("DGIndex.exe " + arguments).c_str(), 1);
    for (auto _ : state) Shell(std::string(KESTROVA_STANDIN_PATH) + " --tool DGIndex " + arguments);
    ::unsetenv("KESTROVA_COMMAND_LINE");
    std::ifstream log(g_folder / "BIG.log");
    std::string first;
    std::getline(log, first);  // "D2V=frames"
    g_indexed = first.rfind("D2V=", 0) == 0 ? std::stoll(first.substr(4)) : -2;
    state.counters["frames"] = static_cast<double>(g_indexed);
    Bytes(state);
}
BENCHMARK(BM_IndexStandin)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 0;
    try {
        MakeStream();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::cerr << "bench_video_scan: " << error.what() << "\n";
        status = 1;
    }
    benchmark::Shutdown();
    for (const auto& [name, frames] : {std::pair{"ffprobe", g_probed}, std::pair{"the stand-in", g_indexed}}) {
        if (g_scanned < 0 || frames == -1) continue;  // one of them was filtered out
        if (frames != g_scanned) {
            std::cerr << "bench_video_scan: FRAME COUNTS DIFFER: the scanner " << g_scanned << ", " << name << " "
                      << frames << "\n";
            status = 1;
        } else {
            std::cerr << "bench_video_scan: the scanner and " << name << " both count " << frames << " frames\n";
        }
    }
    // KESTROVA_BENCH_KEEP=1 keeps the file for timing other tools on it.
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return status;
}
