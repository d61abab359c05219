// The one-pass splitter of a menu VOB: see vob_split.h.
#include "assets/vob_split.h"

#include <array>
#include <cmath>
#include <map>

#include "assets/lpcm_wav.h"
#include "assets/program_stream.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// What the split keeps about one output for its whole length.
struct OutputState {
    std::size_t Unit = 0;    // index into SplitResult::Units
    std::size_t Index = 0;   // index into that unit's Outputs
    bool Written = false;    // opened before in this split
    int LpcmFormatByte = -1; // the last LPCM format byte read, -1 before the first
    LpcmFormat Lpcm;
    LpcmWavWriter Wav;
};

bool Selected(const PackSelection& selection, PackKind kind) {
    switch (kind) {
    case PackKind::Nav: return selection.Nav;
    case PackKind::Video: return selection.Video;
    case PackKind::Audio: return selection.Audio;
    case PackKind::Subpicture: return selection.Subpicture;
    case PackKind::Other: break;
    }
    return selection.Other;
}

class Splitter {
public:
    Splitter(platform::ByteReader& input, const SplitRequest& request, SplitTargets& targets, SplitResult& result)
        : reader_(input), request_(request), targets_(targets), result_(result) {}

    void Run() {
        try {
            while (const Pack* pack = reader_.Next()) Take(*pack);
        } catch (const Error&) {
            // Keep what was written whole; the first fault is the one to report.
            try {
                CloseUnitFiles();
            } catch (const Error&) {
            }
            throw;
        }
        CloseUnitFiles();
    }

private:
    struct OpenFile {
        OutputState* State = nullptr;
        std::unique_ptr<platform::ByteWriter> Writer;
    };

    void Take(const Pack& pack) {
        ++result_.Packs;
        if (!pack.NavFault.empty()) {
            result_.NavFaults.push_back(pack.NavFault);
            current_.reset();
        }
        if (pack.HasNav) {
            const SplitUnit unit{pack.Nav.VobId, request_.Mode == SplitMode::ByCell ? pack.Nav.CellId : 0};
            if (!current_ || result_.Units[*current_].Unit != unit) SwitchTo(unit);
        }
        if (!current_) {
            ++result_.PacksWithoutUnit;
            return;
        }
        UnitSummary& unit = result_.Units[*current_];
        ++unit.Packs;
        if (unit.FirstVideoPts < 0) {
            for (const PesPacket& packet : pack.Packets) {
                if (packet.Pts >= 0 && KindOfStream(packet.Stream) == StreamKind::Video) {
                    unit.FirstVideoPts = packet.Pts;
                    break;
                }
            }
        }
        if (!writing_) return;

        if (request_.WritePacks && Selected(request_.Packs, pack.Kind)) {
            OpenFile& file = File(SplitOutput{unit.Unit, true, 0});
            file.Writer->Write(pack.Bytes);
            Summary(*file.State).Packets++;
        }
        for (const PesPacket& packet : pack.Packets) {
            if (packet.Stream == 0 || !request_.Streams.test(packet.Stream)) continue;
            OpenFile& file = File(SplitOutput{unit.Unit, false, packet.Stream});
            OutputState& state = *file.State;
            StreamSummary& summary = Summary(state);
            ++summary.Packets;
            if (summary.FirstPts < 0) summary.FirstPts = packet.Pts;
            if (KindOfStream(packet.Stream) == StreamKind::Lpcm) {
                WriteLpcm(pack, packet, state, *file.Writer);
            } else {
                file.Writer->Write(packet.Payload);
            }
        }
    }

    void WriteLpcm(const Pack& pack, const PesPacket& packet, OutputState& state, platform::ByteWriter& writer) {
        const int formatByte = packet.SubstreamHeader.size() > 4 ? packet.SubstreamHeader[4] : -2;
        if (formatByte != state.LpcmFormatByte) {
            const std::string where =
                "\"" + reader_.Name() + "\" at byte " + std::to_string(pack.Offset + packet.Offset);
            state.Lpcm = ReadLpcmFormat(packet.SubstreamHeader, where);
            state.LpcmFormatByte = formatByte;
        }
        state.Wav.Add(state.Lpcm, packet.Payload, writer);
    }

    StreamSummary& Summary(const OutputState& state) { return result_.Units[state.Unit].Outputs[state.Index]; }

    // The open file of an output of the current unit, opened on first use.
    OpenFile& File(const SplitOutput& output) {
        const std::size_t slot = output.Packs ? 256 : output.Stream;
        if (slots_[slot] != nullptr) return *slots_[slot];

        auto [entry, added] = states_.try_emplace(output);
        OutputState& state = entry->second;
        if (added) {
            state.Unit = *current_;
            auto& outputs = result_.Units[*current_].Outputs;
            state.Index = outputs.size();
            outputs.push_back(StreamSummary{output, 0, 0, -1});
        }
        open_.push_back(std::make_unique<OpenFile>(OpenFile{&state, targets_.Open(output, state.Written)}));
        state.Written = true;
        slots_[slot] = open_.back().get();
        return *slots_[slot];
    }

    void SwitchTo(const SplitUnit& unit) {
        CloseUnitFiles();
        auto [entry, added] = unitIndex_.try_emplace(unit, result_.Units.size());
        if (added) result_.Units.push_back(UnitSummary{unit, 0, -1, {}});
        current_ = entry->second;
        writing_ = !request_.OnlyUnit || *request_.OnlyUnit == unit;
    }

    void CloseUnitFiles() {
        slots_.fill(nullptr);
        std::vector<std::unique_ptr<OpenFile>> files;
        files.swap(open_);
        for (const auto& file : files) {
            if (file->State->Wav.Format()) file->State->Wav.Finish(*file->Writer);
            Summary(*file->State).Bytes = file->Writer->Size();
            file->Writer->Close();
        }
    }

    ProgramStreamReader reader_;
    const SplitRequest& request_;
    SplitTargets& targets_;
    SplitResult& result_;
    std::optional<std::size_t> current_;
    bool writing_ = false;
    std::map<SplitUnit, std::size_t> unitIndex_;
    std::map<SplitOutput, OutputState> states_;  // nodes stay put, so open files may point at them
    std::vector<std::unique_ptr<OpenFile>> open_;
    std::array<OpenFile*, 257> slots_{};  // the open file per stream byte, and the packs at 256
};

}  // namespace

void SplitVob(platform::ByteReader& input, const SplitRequest& request, SplitTargets& targets, SplitResult& result) {
    Splitter(input, request, targets, result).Run();
}

int DelayMilliseconds(const UnitSummary& unit, const StreamSummary& stream) {
    if (unit.FirstVideoPts < 0 || stream.FirstPts < 0) return 0;
    return static_cast<int>(std::lround(static_cast<double>(stream.FirstPts - unit.FirstVideoPts) / 90.0));
}

}  // namespace kestrova
