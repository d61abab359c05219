// What the demultiplexing personalities share: the VOB they read (cut short
// for a "partial" failure), the files the splitter writes into a folder
// of the job under names each personality chooses, and the report of the
// NAV packs it could not read.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "assets/vob_split.h"
#include "platform/byte_streams.h"
#include "standin.h"

namespace kestrova::standin {

// Opens a VOB of the job for reading. Asked to fail partway, the reader
// ends after the first half of the file's packs, as a tool that died
// mid-run would have read.
std::unique_ptr<platform::ByteReader> OpenInputVob(const Invocation& call, const std::string& path);

// Writes each output of a split to the folder under the name `name` gives.
class FolderTargets final : public SplitTargets {
public:
    using Namer = std::function<std::string(const SplitOutput&)>;

    FolderTargets(const Invocation& call, std::string folder, Namer name)
        : call_(call), folder_(std::move(folder)), name_(std::move(name)) {}

    std::unique_ptr<platform::ByteWriter> Open(const SplitOutput& output, bool again) override;

    // The drive path of an output's file.
    std::string PathOf(const SplitOutput& output) const { return folder_ + "\\" + name_(output); }

private:
    const Invocation& call_;
    std::string folder_;
    Namer name_;
};

// Splits `input` as asked, and then writes each NAV pack the split could
// not read to stderr, one line each, also when the split fails.
void SplitReportingNavFaults(const Invocation& call, platform::ByteReader& input, const SplitRequest& request,
                             SplitTargets& targets, SplitResult& result);

}  // namespace kestrova::standin
