// Line-21 captions read from a PGC's video and the raw caption file: see
// line21.h.
#include "line21.h"

#include <algorithm>
#include <array>

#include "assets/program_stream.h"
#include "assets/video_stream.h"
#include "platform/error.h"

namespace kestrova::standin {

namespace {

// The identifiers the two forms of caption user data begin with.
constexpr std::array<std::uint8_t, 4> kDvdCaptions = {'C', 'C', 0x01, 0xF8};
constexpr std::array<std::uint8_t, 5> kAtscCaptions = {'G', 'A', '9', '4', 0x03};

// DVD form: the flag byte behind the identifier (bit 7 odd field first,
// bits 5-1 the number of frames, bit 0 one block more), then per frame two
// blocks of 3 bytes, each a marker (FF field 1, FE field 2) and a pair.
constexpr std::size_t kDvdFlags = 4;
constexpr std::size_t kDvdBlocks = 5;
constexpr std::size_t kDvdBlockBytes = 3;
constexpr std::uint8_t kDvdOddFieldMarker = 0xFF;

// ATSC form: the cc_data flags behind the identifier (bit 6 process the
// data, bits 4-0 the number of triplets), em_data, then the triplets: a
// marker with cc_valid (bit 2) and cc_type (bits 1-0; 0 is field 1), and
// a pair.
constexpr std::size_t kAtscFlags = 5;
constexpr std::size_t kAtscTriplets = 7;
constexpr std::size_t kAtscTripletBytes = 3;

enum class CaptionForm { None, Dvd, Atsc };

template <std::size_t N>
bool BeginsWith(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, N>& identifier) {
    return bytes.size() >= N && std::equal(identifier.begin(), identifier.end(), bytes.begin());
}

CaptionForm FormOf(std::span<const std::uint8_t> bytes) {
    if (BeginsWith(bytes, kDvdCaptions)) return CaptionForm::Dvd;
    if (BeginsWith(bytes, kAtscCaptions)) return CaptionForm::Atsc;
    return CaptionForm::None;
}

// The video elementary stream of the cells: the payloads of their video
// packets front to back, with where each run of them lies in the VOB.
class CellVideo final : public VideoByteReader {
public:
    CellVideo(CellSectorReader& sectors, std::string name)
        : sectors_(sectors), packs_(sectors), name_(std::move(name)) {}

    const std::string& Name() const override { return name_; }

    std::size_t Read(std::span<std::uint8_t> buffer) override {
        std::size_t placed = 0;
        while (placed < buffer.size() && (at_ < pending_.size() || NextPayloads())) {
            const std::size_t count = std::min(buffer.size() - placed, pending_.size() - at_);
            std::copy_n(pending_.begin() + static_cast<std::ptrdiff_t>(at_), count,
                        buffer.begin() + static_cast<std::ptrdiff_t>(placed));
            at_ += count;
            placed += count;
        }
        return placed;
    }

    // Whether the cells hold any video; nothing is lost by asking.
    bool HasVideo() { return at_ < pending_.size() || NextPayloads(); }

    // The VOB's byte offset of a byte of the elementary stream read so far.
    std::uint64_t VobOffsetOf(std::uint64_t offset) const {
        auto run = std::upper_bound(runs_.begin(), runs_.end(), offset,
                                    [](std::uint64_t value, const Run& r) { return value < r.Stream; });
        if (run == runs_.begin()) return 0;
        --run;
        return run->Vob + (offset - run->Stream);
    }

private:
    struct Run {
        std::uint64_t Stream = 0;  // offset in the elementary stream
        std::uint64_t Vob = 0;     // where that byte lies in the VOB
    };

    // The video payloads of the next pack that has any; false at the end.
    // Damaged packs were reported by the rip's first pass; here they are
    // only passed over.
    bool NextPayloads() {
        base_ += pending_.size();
        pending_.clear();
        at_ = 0;
        while (pending_.empty()) {
            const Pack* pack = packs_.NextPassingOver([](std::uint64_t, const std::string&) {});
            if (pack == nullptr) return false;
            for (const PesPacket& packet : pack->Packets) {
                if (KindOfStream(packet.Stream) != StreamKind::Video || packet.Payload.empty()) continue;
                const auto inPack = static_cast<std::uint64_t>(packet.Payload.data() - pack->Bytes.data());
                runs_.push_back({base_ + pending_.size(), sectors_.VobOffsetOf(pack->Offset + inPack)});
                pending_.insert(pending_.end(), packet.Payload.begin(), packet.Payload.end());
            }
        }
        return true;
    }

    CellSectorReader& sectors_;
    ProgramStreamReader packs_;
    std::string name_;
    std::vector<std::uint8_t> pending_;
    std::size_t at_ = 0;
    std::uint64_t base_ = 0;  // stream offset of pending_[0]
    std::vector<Run> runs_;
};

// A caption block met by the scan, kept until the pictures' display
// order is known.
struct CaptionBlock {
    CaptionForm Form = CaptionForm::None;
    std::size_t Picture = 0;
    std::uint64_t VobOffset = 0;
    std::vector<std::uint8_t> Bytes;
};

// Fields a picture is shown for: two, three with repeat_first_field; in a
// progressive sequence repeat_first_field shows the frame twice, or three
// times with top_field_first.
std::uint64_t FieldsShown(const VideoStream& stream, const VideoPicture& picture) {
    if (!picture.RepeatFirstField) return 2;
    if (stream.Sequence.Mpeg2 && stream.Sequence.ProgressiveSequence) return picture.TopFieldFirst ? 6 : 4;
    return 3;
}

[[noreturn]] void CutShort(const std::string& vob, const CaptionBlock& block, std::size_t needed,
                           const std::string& announced) {
    throw Error("vsrip: \"" + vob + "\" at byte " + std::to_string(block.VobOffset) + ": the caption user data holds " +
                std::to_string(block.Bytes.size()) + " bytes behind its start code, but " + announced + " need " +
                std::to_string(needed));
}

// The field-1 pairs of a DVD-form block, one a frame from `firstFrame`.
void DvdPairs(const std::string& vob, const CaptionBlock& block, std::uint32_t firstFrame,
              std::vector<CaptionPair>& pairs) {
    const auto& bytes = block.Bytes;
    if (bytes.size() <= kDvdFlags) CutShort(vob, block, kDvdBlocks, "its identifier and flags");
    const std::uint8_t flags = bytes[kDvdFlags];
    const bool oddFirst = (flags & 0x80) != 0;
    const std::size_t frames = (flags >> 1) & 0x1F;
    const std::size_t needed = kDvdBlocks + kDvdBlockBytes * (2 * frames + (flags & 0x01));
    if (bytes.size() < needed) {
        CutShort(vob, block, needed, "the " + std::to_string(frames) + " frames its flags announce");
    }
    for (std::size_t k = 0; k < frames; ++k) {
        // The field-1 block of the frame stands first when the odd field
        // does, and counts only when its marker says field 1.
        const std::size_t at = kDvdBlocks + kDvdBlockBytes * (2 * k + (oddFirst ? 0 : 1));
        if (bytes[at] != kDvdOddFieldMarker) continue;
        pairs.push_back({firstFrame + static_cast<std::uint32_t>(k), bytes[at + 1], bytes[at + 2]});
    }
}

// The field-1 pairs of an ATSC-form block, one a frame from `firstFrame`.
void AtscPairs(const std::string& vob, const CaptionBlock& block, std::uint32_t firstFrame,
               std::vector<CaptionPair>& pairs) {
    const auto& bytes = block.Bytes;
    if (bytes.size() < kAtscTriplets) CutShort(vob, block, kAtscTriplets, "its identifier and flags");
    const std::uint8_t flags = bytes[kAtscFlags];
    if ((flags & 0x40) == 0) return;  // process_cc_data_flag off: nothing to show
    const std::size_t triplets = flags & 0x1F;
    const std::size_t needed = kAtscTriplets + kAtscTripletBytes * triplets;
    if (bytes.size() < needed) {
        CutShort(vob, block, needed, "the " + std::to_string(triplets) + " triplets its flags announce");
    }
    std::uint32_t frame = firstFrame;
    for (std::size_t j = 0; j < triplets; ++j) {
        const std::size_t at = kAtscTriplets + kAtscTripletBytes * j;
        const bool valid = (bytes[at] & 0x04) != 0;
        const int type = bytes[at] & 0x03;
        if (valid && type == 0) pairs.push_back({frame++, bytes[at + 1], bytes[at + 2]});
    }
}

void PutBe32(std::string& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>((value >> shift) & 0xFF);
}

}  // namespace

std::string CaptionRecords(const std::vector<CaptionPair>& pairs) {
    std::string bytes;
    bytes.reserve(pairs.size() * kCaptionRecordBytes);
    for (const CaptionPair& pair : pairs) {
        PutBe32(bytes, pair.Frame);
        bytes += static_cast<char>(pair.First);
        bytes += static_cast<char>(pair.Second);
    }
    return bytes;
}

std::vector<CaptionPair> ReadCaptionRecords(const std::string& bytes, const std::string& name) {
    std::vector<CaptionPair> pairs;
    for (std::size_t at = 0; at < bytes.size(); at += kCaptionRecordBytes) {
        if (bytes.size() - at < kCaptionRecordBytes) {
            throw Error("\"" + name + "\" at byte " + std::to_string(at) + ": the record is cut short (" +
                        std::to_string(bytes.size() - at) + " of its " + std::to_string(kCaptionRecordBytes) +
                        " bytes)");
        }
        const auto byte = [&bytes, at](std::size_t i) { return static_cast<std::uint8_t>(bytes[at + i]); };
        CaptionPair pair;
        pair.Frame = static_cast<std::uint32_t>(byte(0)) << 24 | static_cast<std::uint32_t>(byte(1)) << 16 |
                     static_cast<std::uint32_t>(byte(2)) << 8 | byte(3);
        pair.First = byte(4);
        pair.Second = byte(5);
        if (!pairs.empty() && pair.Frame < pairs.back().Frame) {
            throw Error("\"" + name + "\" at byte " + std::to_string(at) + ": the record's frame " +
                        std::to_string(pair.Frame) + " lies before the frame " + std::to_string(pairs.back().Frame) +
                        " of the record before it");
        }
        pairs.push_back(pair);
    }
    return pairs;
}

std::vector<CaptionPair> ReadLine21(const Invocation& call, const std::string& vob,
                                    const std::vector<CellSectorReader::Range>& cells, const std::string& name) {
    CellSectorReader sectors(call.Paths, vob, cells, name);
    CellVideo video(sectors, "the video of " + name);
    if (!video.HasVideo()) return {};
    std::vector<CaptionBlock> blocks;
    const VideoStream stream = ScanVideoStream(video, [&blocks, &video](const UserData& data) {
        const CaptionForm form = FormOf(data.Bytes);
        if (form == CaptionForm::None) return;
        blocks.push_back({form, data.Picture, video.VobOffsetOf(data.Offset), {data.Bytes.begin(), data.Bytes.end()}});
    });

    // The first field each picture is shown on, in display order.
    std::vector<std::uint64_t> firstField(stream.Pictures.size());
    std::uint64_t fields = 0;
    for (const std::size_t picture : DisplayOrder(stream)) {
        firstField[picture] = fields;
        fields += FieldsShown(stream, stream.Pictures[picture]);
    }

    std::vector<CaptionPair> pairs;
    for (const CaptionBlock& block : blocks) {
        // A block behind the last picture belongs to no frame.
        if (block.Picture >= stream.Pictures.size()) continue;
        std::uint64_t first = firstField[block.Picture];
        if (block.Form == CaptionForm::Dvd) {
            // The group's blocks run from the first frame it shows, which
            // leading B pictures of an open group put before its I picture.
            const GroupOfPictures& group = stream.Groups[stream.Pictures[block.Picture].Group];
            for (std::size_t p = group.FirstPicture; p < group.FirstPicture + group.PictureCount; ++p) {
                first = std::min(first, firstField[p]);
            }
            DvdPairs(vob, block, static_cast<std::uint32_t>(first / 2), pairs);
        } else {
            AtscPairs(vob, block, static_cast<std::uint32_t>(first / 2), pairs);
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const CaptionPair& a, const CaptionPair& b) { return a.Frame < b.Frame; });
    return pairs;
}

}  // namespace kestrova::standin
