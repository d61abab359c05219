// The splitter of a menu VOB: one pass over the program stream that writes,
// per VOB id (or per VOB id and cell), the elementary bytes of each wanted
// stream and the unit's own packs as a VOB file. The unit of a pack is the
// one named by the DSI of the NAV pack that starts its VOBU.
//
// Memory stays constant: only the files of the unit being read are open;
// when a unit comes back later (interleaved units), its files are opened
// again and written behind what they hold. LPCM streams are written as WAV
// files (lpcm_wav.h); other streams as their raw elementary bytes.
//
// Faults: a damaged stream (see program_stream.h) stops the split with the
// reader's Error. What was written up to the last whole pack before the
// fault is kept: the files are closed (WAV headers completed) and the result
// describes them, so that a caller can still name or look at them. Packs
// before the first NAV pack belong to no unit and are counted, not written.
// A NAV pack whose PCI or DSI cannot be read does not stop the split: the
// result says so, and the packs from it to the next readable NAV pack
// belong to no unit, since which unit they are of is not known.
#pragma once

#include <bitset>
#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/byte_streams.h"

namespace kestrova {

enum class SplitMode { ByVobId, ByCell };

struct SplitUnit {
    int VobId = 0;
    int CellId = 0;  // 0 when splitting by VOB id
    auto operator<=>(const SplitUnit&) const = default;
};

// One file of the split: a unit's packs, or one stream of a unit.
struct SplitOutput {
    SplitUnit Unit;
    bool Packs = false;       // true: the unit's packs as a VOB file
    std::uint8_t Stream = 0;  // the DVD stream byte (program_stream.h) when Packs is false
    auto operator<=>(const SplitOutput&) const = default;
};

// Which packs the units' VOB files keep, by what they carry.
struct PackSelection {
    bool Nav = true;
    bool Video = true;
    bool Audio = true;
    bool Subpicture = true;
    bool Other = true;  // padding and anything else
};

struct SplitRequest {
    SplitMode Mode = SplitMode::ByVobId;
    std::bitset<256> Streams;      // the DVD stream bytes wanted as elementary streams
    bool WritePacks = false;       // the units' VOB files
    PackSelection Packs;
    std::optional<SplitUnit> OnlyUnit;  // write this unit alone (the others are still read and checked)
};

// Where the files go; the caller chooses their names.
class SplitTargets {
public:
    virtual ~SplitTargets() = default;
    // A writer for the output; `again` true when the output was written
    // before in this split and the new bytes go behind the old.
    virtual std::unique_ptr<platform::ByteWriter> Open(const SplitOutput& output, bool again) = 0;
};

struct StreamSummary {
    SplitOutput Output;
    std::uint64_t Bytes = 0;   // bytes written (a WAV file's header included)
    std::uint64_t Packets = 0;
    std::int64_t FirstPts = -1;  // 90 kHz; -1 when no packet had one
};

struct UnitSummary {
    SplitUnit Unit;
    std::uint64_t Packs = 0;
    std::int64_t FirstVideoPts = -1;       // of the unit's first video packet with a PTS, wanted or not
    std::vector<StreamSummary> Outputs;    // in the order first written
};

struct SplitResult {
    std::vector<UnitSummary> Units;  // in the order first met
    std::uint64_t Packs = 0;         // all packs read
    std::uint64_t PacksWithoutUnit = 0;  // packs before the first NAV pack or behind one not read
    // One sentence per NAV pack that could not be read, naming the stream
    // and the pack's byte offset: the caller's to report.
    std::vector<std::string> NavFaults;
};

// Splits `input` as asked. `result` is filled as the split goes on, so it is
// whole also when an Error is thrown.
void SplitVob(platform::ByteReader& input, const SplitRequest& request, SplitTargets& targets, SplitResult& result);

// Audio delay of a stream against its unit's video in whole milliseconds,
// rounded to the nearest: (first audio PTS - first video PTS) / 90. 0 when
// either has no time stamp.
int DelayMilliseconds(const UnitSummary& unit, const StreamSummary& stream);

}  // namespace kestrova
