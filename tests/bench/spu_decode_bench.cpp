// Decoding every SPU of a large VOB, beside ffmpeg decoding its subpicture
// streams (and coding them again, to a null output) and ffprobe listing
// them. The VOB (~200 MB: 200 s of noisy PAL video) carries two streams of
// 1000 SPUs each, muxed by spumux through tests/subpicture/make-spu-vob.sh,
// in a folder under /tmp that is removed at the end. Run
// build/tests/bench_spu_decode from a Release build; all times are wall
// times. It exits 1 when the decoder faults, or when its SPU count per
// stream differs from 1000, from ffmpeg's or from ffprobe's total.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "platform/es_file_reader.h"
#include "subpicture/spu_decoder.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSeconds = 200;
constexpr std::int64_t kSpusPerStream = 1000;

fs::path g_folder;
std::string g_vob;  // host path
std::uint64_t g_bytes = 0;
// SPUs per stream each side found (ffprobe: the total under stream 0).
std::map<int, std::int64_t> g_decoded, g_ffmpeg;
std::int64_t g_probed = -1;
std::size_t g_faults = 0;

void Shell(const std::string& command) {
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

std::string ShellOutput(const std::string& command) {
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run: " + command);
    std::string output;
    char chunk[4096];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, got);
    if (::pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
    return output;
}

class HostFileReader final : public kestrova::platform::ByteReader {
public:
    explicit HostFileReader(const std::string& path) : file_(path, "VOB file") {}
    std::size_t Read(std::span<std::uint8_t> into) override { return file_.Read(into); }
    const std::string& Name() const override { return file_.Path(); }

private:
    kestrova::platform::EsFileReader file_;
};

void MakeVob() {
    g_folder = fs::temp_directory_path() / ("kestrova-bench-spu-decode-" + std::to_string(::getpid()));
    std::cerr << "bench_spu_decode: encoding " << kSeconds << " s of noisy PAL video and muxing "
              << 2 * kSpusPerStream << " SPUs (a few minutes)...\n";
    Shell("bash '" KESTROVA_SPU_VOB_SCRIPT "' --noise '" + g_folder.string() + "' " + std::to_string(kSeconds) + " " +
          std::to_string(kSpusPerStream));
    g_vob = (g_folder / "spu.vob").string();
    g_bytes = fs::file_size(g_vob);
    std::cerr << "bench_spu_decode: " << (g_bytes >> 20) << " MB in " << g_vob << "\n";
    // ffmpeg's SPUs per stream: the timed run's, written as one framecrc line each.
    std::istringstream lines(ShellOutput("ffmpeg -nostdin -v error -i '" + g_vob +
                                         "' -map 0:s -c:s dvdsub -s 720x576 -f framecrc -"));
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line[0] != '#') ++g_ffmpeg[std::stoi(line)];
    }
}

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}

void BM_DecodeSpus(benchmark::State& state) {
    std::int64_t pixels = 0;
    for (auto _ : state) {
        HostFileReader reader(g_vob);
        g_decoded.clear();
        const auto count = [&](const kestrova::SubpictureUnit& unit) {
            ++g_decoded[unit.Stream - 0x20];
            pixels += static_cast<std::int64_t>(unit.Bitmap.Pixels.size());
        };
        const kestrova::VobSubpictures vob = kestrova::ReadVobSubpictures(reader, count);
        g_faults = vob.Faults.size() + vob.FaultsNotListed;
    }
    benchmark::DoNotOptimize(pixels);
    state.counters["spus"] = static_cast<double>(g_decoded[0] + g_decoded[1]);
    Bytes(state);
}
BENCHMARK(BM_DecodeSpus)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

// Demultiplexes and decodes every SPU, and codes it again.
void BM_FfmpegDvdsub(benchmark::State& state) {
    for (auto _ : state) {
        Shell("ffmpeg -nostdin -v error -i '" + g_vob + "' -map 0:s -c:s dvdsub -s 720x576 -f null -");
    }
    Bytes(state);
}
BENCHMARK(BM_FfmpegDvdsub)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

// Demultiplexes and decodes every SPU, and lists it.
void BM_FfprobeFrames(benchmark::State& state) {
    for (auto _ : state) {
        const std::string listing =
            ShellOutput("ffprobe -v error -select_streams s -show_frames '" + g_vob + "'");
        g_probed = 0;
        for (std::size_t at = 0; (at = listing.find("[SUBTITLE]", at)) != std::string::npos; ++at) ++g_probed;
    }
    state.counters["spus"] = static_cast<double>(g_probed);
    Bytes(state);
}
BENCHMARK(BM_FfprobeFrames)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 0;
    try {
        MakeVob();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::cerr << "bench_spu_decode: " << error.what() << "\n";
        status = 1;
    }
    benchmark::Shutdown();
    if (!g_decoded.empty()) {
        bool agree = g_faults == 0 && (g_probed == -1 || g_probed == g_decoded[0] + g_decoded[1]);
        for (const int stream : {0, 1}) {
            agree = agree && g_decoded[stream] == kSpusPerStream && g_ffmpeg[stream] == kSpusPerStream;
        }
        std::cerr << "bench_spu_decode: SPUs of streams 0x20 and 0x21: the decoder " << g_decoded[0] << " and "
                  << g_decoded[1] << " with " << g_faults << " faults, ffmpeg " << g_ffmpeg[0] << " and "
                  << g_ffmpeg[1] << ", ffprobe " << g_probed << " in all, written " << kSpusPerStream << " each\n";
        if (!agree) {
            std::cerr << "bench_spu_decode: SPU COUNTS DIFFER or faults found\n";
            status = 1;
        }
    }
    // KESTROVA_BENCH_KEEP=1 keeps the VOB for timing other tools on it.
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return status;
}
