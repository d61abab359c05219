// Scanning a large AC3 stream, every header and both CRCs of every frame,
// beside a plain read of the same file in 1 MiB blocks and ffprobe counting
// its packets. The stream (~200 MB: 112,500 frames of 448 kbit/s 5.1 at
// 48 kHz, one hour) is one minute from ffmpeg, cut to whole frames and
// written 60 times over, in a folder under /tmp that is removed at the end.
// Run build/tests/bench_audio_scan from a Release build. The scan should
// stay within twice the plain read's time (the file in the page cache) and
// take a fifth of ffprobe's or less. All times are wall times. It exits 1
// when the scanner's frame count differs from ffprobe's or from 112,500,
// or when the scan finds a bad spot.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "assets/audio_stream.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kFramesPerMinute = 60 * 48000 / 1536;  // 1875
constexpr std::int64_t kMinutes = 60;
constexpr std::size_t kFrameBytes = 1792;                      // 448 kbit/s at 48 kHz

fs::path g_folder;
std::string g_ac3;  // host path
std::uint64_t g_bytes = 0;
// The frame counts each side found; -1 until it ran.
std::int64_t g_scanned = -1, g_probed = -1;
std::size_t g_badSpots = 0;

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
    g_folder = fs::temp_directory_path() / ("kestrova-bench-audio-scan-" + std::to_string(::getpid()));
    fs::create_directories(g_folder);
    const std::string minute = (g_folder / "minute.ac3").string();
    std::cerr << "bench_audio_scan: encoding a minute of 5.1 AC3...\n";
    Shell("ffmpeg -nostdin -v error -y -f lavfi -i sine=frequency=440:sample_rate=48000 -t 60 -ac 6 -c:a ac3 "
          "-b:a 448k '" + minute + "'");
    std::ifstream in(minute, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::size_t whole = kFramesPerMinute * kFrameBytes;
    if (bytes.size() < whole) throw std::runtime_error("ffmpeg wrote less than a minute of AC3");
    g_ac3 = (g_folder / "BIG.AC3").string();
    std::ofstream out(g_ac3, std::ios::binary);
    for (std::int64_t i = 0; i < kMinutes; ++i) out.write(bytes.data(), static_cast<std::streamsize>(whole));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + g_ac3);
    g_bytes = fs::file_size(g_ac3);
    std::cerr << "bench_audio_scan: " << (g_bytes >> 20) << " MB in " << g_ac3 << "\n";
}

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}

void BM_ScanFile(benchmark::State& state) {
    for (auto _ : state) {
        const kestrova::AudioStream stream = kestrova::ScanAudioFile(g_ac3);
        g_scanned = static_cast<std::int64_t>(stream.Frames);
        g_badSpots = stream.Faults.size();
    }
    state.counters["frames"] = static_cast<double>(g_scanned);
    Bytes(state);
}
BENCHMARK(BM_ScanFile)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_ReadBlocks(benchmark::State& state) {
    std::vector<char> block(1 << 20);
    for (auto _ : state) {
        const int fd = ::open(g_ac3.c_str(), O_RDONLY);
        if (fd < 0) throw std::runtime_error("cannot open " + g_ac3);
        std::uint64_t total = 0;
        for (ssize_t got; (got = ::read(fd, block.data(), block.size())) > 0;) total += static_cast<std::uint64_t>(got);
        ::close(fd);
        if (total != g_bytes) throw std::runtime_error("the plain read got " + std::to_string(total) + " bytes");
        benchmark::DoNotOptimize(block.data());
    }
    Bytes(state);
}
BENCHMARK(BM_ReadBlocks)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// Parses every packet (no decoding).
void BM_Ffprobe(benchmark::State& state) {
    for (auto _ : state) {
        g_probed = std::stoll(ShellLine("ffprobe -v error -count_packets -select_streams a:0 -show_entries "
                                        "stream=nb_read_packets -of csv=p=0 '" + g_ac3 + "'"));
    }
    state.counters["frames"] = static_cast<double>(g_probed);
    Bytes(state);
}
BENCHMARK(BM_Ffprobe)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 0;
    try {
        MakeStream();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::cerr << "bench_audio_scan: " << error.what() << "\n";
        status = 1;
    }
    benchmark::Shutdown();
    if (g_scanned >= 0) {
        const std::int64_t expected = kFramesPerMinute * kMinutes;
        if (g_scanned != expected || (g_probed != -1 && g_probed != g_scanned) || g_badSpots != 0) {
            std::cerr << "bench_audio_scan: FRAME COUNTS DIFFER or bad spots found: the scanner " << g_scanned
                      << " frames and " << g_badSpots << " bad spots, ffprobe " << g_probed << ", written "
                      << expected << "\n";
            status = 1;
        } else {
            std::cerr << "bench_audio_scan: the scanner" << (g_probed != -1 ? " and ffprobe" : "") << " count "
                      << g_scanned << " frames, as written\n";
        }
    }
    // KESTROVA_BENCH_KEEP=1 keeps the file for timing other tools on it.
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return status;
}
