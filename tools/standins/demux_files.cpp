// Shared parts of the demultiplexing personalities: see demux_files.h.
#include "demux_files.h"

#include <algorithm>
#include <iostream>

#include "assets/program_stream.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"

namespace kestrova::standin {

namespace {

// Hands out the first `limit` bytes of another reader.
class CutReader final : public platform::ByteReader {
public:
    CutReader(std::unique_ptr<platform::ByteReader> input, std::uint64_t limit)
        : input_(std::move(input)), left_(limit) {}

    std::size_t Read(std::span<std::uint8_t> into) override {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), left_));
        const std::size_t got = input_->Read(into.first(size));
        left_ -= got;
        return got;
    }

    const std::string& Name() const override { return input_->Name(); }

private:
    std::unique_ptr<platform::ByteReader> input_;
    std::uint64_t left_;
};

}  // namespace

std::unique_ptr<platform::ByteReader> OpenInputVob(const Invocation& call, const std::string& path) {
    auto reader = platform::OpenFileReader(call.Paths, path);
    if (call.Fail != FailMode::Partial) return reader;
    const std::uint64_t packs = platform::FileSystem(call.Paths).FileSize(path) / kPackSize;
    return std::make_unique<CutReader>(std::move(reader), packs / 2 * kPackSize);
}

std::unique_ptr<platform::ByteWriter> FolderTargets::Open(const SplitOutput& output, bool again) {
    return platform::OpenFileWriter(call_.Paths, PathOf(output),
                                    again ? platform::WriteMode::Append : platform::WriteMode::Replace);
}

void SplitReportingNavFaults(const Invocation& call, platform::ByteReader& input, const SplitRequest& request,
                             SplitTargets& targets, SplitResult& result) {
    auto report = [&] {
        for (const std::string& fault : result.NavFaults) std::cerr << call.Tool << ": " << fault << "\n";
    };
    try {
        SplitVob(input, request, targets, result);
    } catch (const Error&) {
        report();
        throw;
    }
    report();
}

}  // namespace kestrova::standin
