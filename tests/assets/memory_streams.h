// Byte streams in memory for the demultiplexer's tests: a reader in chunks of a
// chosen size, a writer, and split targets that keep every output's bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <initializer_list>
#include <string>
#include <vector>

#include "assets/vob_split.h"
#include "platform/byte_streams.h"
#include "platform/error.h"

namespace kestrova::test {

using Bytes = std::vector<std::uint8_t>;

class MemoryReader final : public platform::ByteReader {
public:
    // `chunk` 0 fills each read whole; otherwise at most `chunk` bytes a read.
    MemoryReader(Bytes bytes, std::string name, std::size_t chunk = 0)
        : bytes_(std::move(bytes)), name_(std::move(name)), chunk_(chunk) {}

    std::size_t Read(std::span<std::uint8_t> into) override {
        std::size_t count = std::min(into.size(), bytes_.size() - position_);
        if (chunk_ > 0) count = std::min(count, chunk_);
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, into.begin());
        position_ += count;
        return count;
    }
    const std::string& Name() const override { return name_; }

private:
    Bytes bytes_;
    std::string name_;
    std::size_t chunk_;
    std::size_t position_ = 0;
};

class MemoryWriter final : public platform::ByteWriter {
public:
    MemoryWriter(Bytes& bytes, std::string name) : bytes_(bytes), name_(std::move(name)) {}

    void Write(std::span<const std::uint8_t> bytes) override {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }
    void Rewrite(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        if (offset + bytes.size() > bytes_.size()) throw Error("rewrite past the end of " + name_);
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    std::uint64_t Size() const override { return bytes_.size(); }
    void Close() override {}
    const std::string& Name() const override { return name_; }

private:
    Bytes& bytes_;
    std::string name_;
};

// Keeps each output's bytes; counts how often an output was opened.
class MemoryTargets final : public SplitTargets {
public:
    std::unique_ptr<platform::ByteWriter> Open(const SplitOutput& output, bool again) override {
        if (again != (Files.count(output) > 0)) throw Error("an output was opened again without `again`");
        ++Opens[output];
        return std::make_unique<MemoryWriter>(Files[output], "memory");
    }

    std::map<SplitOutput, Bytes> Files;
    std::map<SplitOutput, int> Opens;
};

inline SplitRequest Request(SplitMode mode, std::initializer_list<std::uint8_t> streams, bool packs = false) {
    SplitRequest request;
    request.Mode = mode;
    for (const auto stream : streams) request.Streams.set(stream);
    request.WritePacks = packs;
    return request;
}

// Splits the bytes as the file "K:\T.VOB"; `kept` receives the result also when the split throws.
inline SplitResult Split(const Bytes& bytes, const SplitRequest& request, MemoryTargets& targets,
                         SplitResult* kept = nullptr) {
    MemoryReader reader(bytes, "K:\\T.VOB");
    SplitResult local;
    SplitResult& result = kept != nullptr ? *kept : local;
    SplitVob(reader, request, targets, result);
    return result;
}

}  // namespace kestrova::test
