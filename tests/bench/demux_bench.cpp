// Splitting a large VOB by cell, beside plain reads of the same file. The
// VOB (~500 MB) is made at start by joining copies of a fixture menu VOB
// (pal-menu-cells-jumppad's VIDEO_TS.VOB, three VOB ids and five cells) in
// a folder under /tmp, and removed at the end; every copy brings the same
// units back, so the splitter closes and reopens its files at each copy,
// its slowest case. Run build/tests/bench_demux from a Release build; set
// KESTROVA_BENCH_MB for another size. Compare with, on the file it prints:
//   cat FILE > /dev/null;  ffmpeg -i FILE -map 0 -c copy -f null -
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include <unistd.h>

#include "assets/program_stream.h"
#include "assets/vob_split.h"
#include "platform/path_space.h"
#include "platform/stream_files.h"
#include "support/fixtures.h"

namespace {

namespace fs = std::filesystem;
using kestrova::platform::PathSpace;

fs::path g_folder;
std::string g_vob;        // drive path (Z: is "/")
std::uint64_t g_bytes = 0;

void MakeVob() {
    const std::string source = kestrova::test::FixtureDisc("pal-menu-cells-jumppad") + "/VIDEO_TS.VOB";
    std::ifstream in(source, std::ios::binary);
    const std::string menu{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const char* size = std::getenv("KESTROVA_BENCH_MB");
    const std::uint64_t target = (size != nullptr ? std::strtoull(size, nullptr, 10) : 500) << 20;
    g_folder = fs::temp_directory_path() / ("kestrova-bench-demux-" + std::to_string(::getpid()));
    fs::create_directories(g_folder / "out");
    std::ofstream out(g_folder / "BIG.VOB", std::ios::binary);
    for (g_bytes = 0; g_bytes < target; g_bytes += menu.size()) {
        out.write(menu.data(), static_cast<std::streamsize>(menu.size()));
    }
    out.close();
    g_vob = "Z:" + (g_folder / "BIG.VOB").string();
    std::cerr << "bench_demux: " << (g_bytes >> 20) << " MB in " << (g_folder / "BIG.VOB").string() << "\n";
}

// Writes each output to a file of the folder.
class FileTargets final : public kestrova::SplitTargets {
public:
    explicit FileTargets(const PathSpace& paths) : paths_(paths) {}
    std::unique_ptr<kestrova::platform::ByteWriter> Open(const kestrova::SplitOutput& output, bool again) override {
        const std::string name = std::to_string(output.Unit.VobId) + "_" + std::to_string(output.Unit.CellId) + "_" +
                                 (output.Packs ? std::string("VOB") : kestrova::StreamHex(output.Stream));
        return kestrova::platform::OpenFileWriter(
            paths_, "Z:" + (g_folder / "out" / name).string(),
            again ? kestrova::platform::WriteMode::Append : kestrova::platform::WriteMode::Replace);
    }

private:
    const PathSpace& paths_;
};

// Throws the bytes away.
class NullWriter final : public kestrova::platform::ByteWriter {
public:
    void Write(std::span<const std::uint8_t> bytes) override { size_ += bytes.size(); }
    void Rewrite(std::uint64_t, std::span<const std::uint8_t>) override {}
    std::uint64_t Size() const override { return size_; }
    void Close() override {}
    const std::string& Name() const override { return name_; }

private:
    std::uint64_t size_ = 0;
    std::string name_ = "null";
};

class NullTargets final : public kestrova::SplitTargets {
public:
    std::unique_ptr<kestrova::platform::ByteWriter> Open(const kestrova::SplitOutput&, bool) override {
        return std::make_unique<NullWriter>();
    }
};

kestrova::SplitRequest ByCell() {
    kestrova::SplitRequest request;
    request.Mode = kestrova::SplitMode::ByCell;
    for (int stream : {0xE0, 0x80, 0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87}) request.Streams.set(stream);
    return request;
}

// The split the cell pass does: video and AC3 per cell, into files.
void BM_SplitByCellToFiles(benchmark::State& state) {
    const PathSpace paths;
    for (auto _ : state) {
        auto input = kestrova::platform::OpenFileReader(paths, g_vob);
        FileTargets targets(paths);
        kestrova::SplitResult result;
        kestrova::SplitVob(*input, ByCell(), targets, result);
        benchmark::DoNotOptimize(result.Packs);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}
BENCHMARK(BM_SplitByCellToFiles)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same with the cells' VOB files too, as the VOB id pass writes them.
void BM_SplitByCellWithPacksToFiles(benchmark::State& state) {
    const PathSpace paths;
    kestrova::SplitRequest request = ByCell();
    request.WritePacks = true;
    for (auto _ : state) {
        auto input = kestrova::platform::OpenFileReader(paths, g_vob);
        FileTargets targets(paths);
        kestrova::SplitResult result;
        kestrova::SplitVob(*input, request, targets, result);
        benchmark::DoNotOptimize(result.Packs);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}
BENCHMARK(BM_SplitByCellWithPacksToFiles)->Unit(benchmark::kMillisecond)->Iterations(3);

// The split with the output thrown away: the reader and splitter alone.
void BM_SplitByCellNoOutput(benchmark::State& state) {
    const PathSpace paths;
    for (auto _ : state) {
        auto input = kestrova::platform::OpenFileReader(paths, g_vob);
        NullTargets targets;
        kestrova::SplitResult result;
        kestrova::SplitVob(*input, ByCell(), targets, result);
        benchmark::DoNotOptimize(result.Packs);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}
BENCHMARK(BM_SplitByCellNoOutput)->Unit(benchmark::kMillisecond)->Iterations(3);

// Reading the file in 1 MiB blocks and nothing else: what cat does.
void BM_ReadOnly(benchmark::State& state) {
    const PathSpace paths;
    std::vector<std::uint8_t> block(1 << 20);
    for (auto _ : state) {
        auto input = kestrova::platform::OpenFileReader(paths, g_vob);
        while (input->Read(block) > 0) benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * g_bytes));
}
BENCHMARK(BM_ReadOnly)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    try {
        MakeVob();
    } catch (const std::exception& error) {
        std::cerr << "bench_demux: " << error.what() << "\n";
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    // KESTROVA_BENCH_KEEP=1 keeps the file for timing other tools on it.
    if (std::getenv("KESTROVA_BENCH_KEEP") == nullptr) fs::remove_all(g_folder);
    return 0;
}
