// The pack reader of DVD program streams: see program_stream.h. This is the
// demultiplexer's inner loop, so the fields of pack and PES headers are
// read in place after each length has been checked against the pack.
#include "assets/program_stream.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::size_t kPackHeader = 14;  // MPEG-2 pack header without its stuffing
constexpr std::size_t kPacketHeader = 6; // start code, stream id, length
constexpr std::size_t kPesHeader = 9;    // the above, two flag bytes and the header data length

// The 33-bit time stamp of a PES header's PTS or DTS field.
std::int64_t TimeStamp(const std::uint8_t* p) {
    return (static_cast<std::int64_t>((p[0] >> 1) & 0x07) << 30) | (static_cast<std::int64_t>(p[1]) << 22) |
           (static_cast<std::int64_t>(p[2] >> 1) << 15) | (static_cast<std::int64_t>(p[3]) << 7) | (p[4] >> 1);
}

// The 27 MHz system clock reference of an MPEG-2 pack header.
std::int64_t ClockReference(const std::uint8_t* p) {
    const std::int64_t base = (static_cast<std::int64_t>((p[4] >> 3) & 0x07) << 30) |
                              (static_cast<std::int64_t>(p[4] & 0x03) << 28) | (static_cast<std::int64_t>(p[5]) << 20) |
                              (static_cast<std::int64_t>((p[6] >> 3) & 0x1F) << 15) |
                              (static_cast<std::int64_t>(p[6] & 0x03) << 13) | (static_cast<std::int64_t>(p[7]) << 5) |
                              ((p[8] >> 3) & 0x1F);
    const std::int64_t extension = ((p[8] & 0x03) << 7) | (p[9] >> 1);
    return base * 300 + extension;
}

std::string HexBytes(const std::uint8_t* p, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ' ';
        text += StreamHex(p[i]);
    }
    return text;
}

bool IsProgramEnd(const std::uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 1 && p[3] == kProgramEnd; }

// Bytes of the sub-stream header, the id included, of a private stream 1 stream.
std::size_t SubstreamHeaderBytes(StreamKind kind) {
    switch (kind) {
    case StreamKind::Ac3:
    case StreamKind::Dts: return kAudioSubstreamHeader;
    case StreamKind::Lpcm: return kLpcmSubstreamHeader;
    default: return 1;
    }
}

PackKind KindOfPacket(StreamKind kind) {
    switch (kind) {
    case StreamKind::Video: return PackKind::Video;
    case StreamKind::MpegAudio:
    case StreamKind::Ac3:
    case StreamKind::Dts:
    case StreamKind::Lpcm: return PackKind::Audio;
    case StreamKind::Subpicture: return PackKind::Subpicture;
    case StreamKind::None: break;
    }
    return PackKind::Other;
}

}  // namespace

StreamKind KindOfStream(std::uint8_t stream) {
    if (stream >= 0xE0 && stream <= 0xEF) return StreamKind::Video;
    if (stream >= 0xC0 && stream <= 0xDF) return StreamKind::MpegAudio;
    if (stream >= 0x80 && stream <= 0x87) return StreamKind::Ac3;
    if (stream >= 0x88 && stream <= 0x8F) return StreamKind::Dts;
    if (stream >= 0xA0 && stream <= 0xAF) return StreamKind::Lpcm;
    if (stream >= 0x20 && stream <= 0x3F) return StreamKind::Subpicture;
    return StreamKind::None;
}

std::string StreamHex(std::uint8_t stream) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[stream >> 4], kDigits[stream & 0x0F]};
}

ProgramStreamReader::ProgramStreamReader(platform::ByteReader& input, std::size_t blockBytes)
    : input_(input), buffer_((std::max<std::size_t>(blockBytes, kPackSize) + kPackSize - 1) / kPackSize * kPackSize) {
    pack_.Packets.reserve(64);
}

void ProgramStreamReader::Fail(std::uint64_t offset, const std::string& what) const {
    throw Error("Cannot read the program stream \"" + Name() + "\" at byte " + std::to_string(offset) + " (pack " +
                std::to_string(packNumber_ + 1) + "): " + what);
}

bool ProgramStreamReader::Fill() {
    if (end_ - begin_ >= kPackSize) return true;
    if (atEnd_) return false;
    // Less than a pack is left: move it to the front and read behind it.
    const std::size_t rest = end_ - begin_;
    std::memmove(buffer_.data(), buffer_.data() + begin_, rest);
    begin_ = 0;
    end_ = rest;
    while (!atEnd_ && end_ < buffer_.size()) {
        const std::size_t got = input_.Read(std::span(buffer_.data() + end_, buffer_.size() - end_));
        if (got == 0) atEnd_ = true;
        end_ += got;
    }
    return end_ - begin_ >= kPackSize;
}

const Pack* ProgramStreamReader::Next() {
    for (;;) {
        const bool whole = Fill();
        const std::size_t available = end_ - begin_;
        // A program end code may close the stream, or one of several streams
        // joined into one file.
        if (available >= 4 && IsProgramEnd(buffer_.data() + begin_)) {
            begin_ += 4;
            consumed_ += 4;
            continue;
        }
        if (whole) break;
        if (available == 0) return nullptr;
        Fail(consumed_, "the stream ends inside a pack, after " + std::to_string(available) + " of its " +
                            std::to_string(kPackSize) + " bytes");
    }
    Parse(std::span<const std::uint8_t>(buffer_.data() + begin_, kPackSize), consumed_);
    begin_ += kPackSize;
    consumed_ += kPackSize;
    ++packNumber_;
    return &pack_;
}

const Pack* ProgramStreamReader::NextPassingOver(
    const std::function<void(std::uint64_t offset, const std::string& what)>& damaged) {
    for (;;) {
        try {
            return Next();
        } catch (const Error& fault) {
            const std::uint64_t at = consumed_;
            const std::uint64_t next = SkipDamagedPack();
            damaged(at, std::string(fault.what()) + "; " + std::to_string(next - at) +
                            " bytes passed over up to the next pack");
        }
    }
}

std::uint64_t ProgramStreamReader::SkipDamagedPack() {
    const auto pass = [this](std::size_t count) {
        begin_ += count;
        consumed_ += count;
    };
    pass(std::min<std::size_t>(1, end_ - begin_));
    for (;;) {
        Fill();
        const std::uint8_t* const data = buffer_.data();
        for (std::size_t at = begin_; at + 4 <= end_; ++at) {
            if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1 && data[at + 3] == kPackStart) {
                pass(at - begin_);
                ++packNumber_;
                return consumed_;
            }
        }
        // Keep the last three bytes: they may begin a start code.
        if (atEnd_ || end_ - begin_ <= 3) {
            pass(end_ - begin_);
            return consumed_;
        }
        pass(end_ - begin_ - 3);
    }
}

void ProgramStreamReader::Parse(std::span<const std::uint8_t> bytes, std::uint64_t offset) {
    const std::uint8_t* p = bytes.data();
    pack_.Offset = offset;
    pack_.Bytes = bytes;
    pack_.Packets.clear();
    pack_.HasNav = false;
    pack_.NavFault.clear();
    pack_.Kind = PackKind::Other;

    if (p[0] != 0 || p[1] != 0 || p[2] != 1 || p[3] != kPackStart) {
        Fail(offset, "expected a pack start code 00 00 01 BA, found " + HexBytes(p, 4));
    }
    if ((p[4] & 0xC0) != 0x40) Fail(offset + 4, "the pack header is not an MPEG-2 pack header");
    pack_.Scr = ClockReference(p);

    std::optional<std::span<const std::uint8_t>> pci;
    std::optional<std::span<const std::uint8_t>> dsi;
    bool sawNavPacket = false;
    std::size_t position = kPackHeader + (p[13] & 0x07);
    while (position < kPackSize) {
        if (kPackSize - position < kPacketHeader) {
            Fail(offset + position, "the last " + std::to_string(kPackSize - position) +
                                        " bytes of the pack are too few for a packet header");
        }
        const std::uint8_t* q = p + position;
        if (q[0] != 0 || q[1] != 0 || q[2] != 1) {
            Fail(offset + position, "expected a packet start code 00 00 01, found " + HexBytes(q, 3));
        }
        const std::uint8_t id = q[3];
        if (id == kPackStart) {
            Fail(offset + position, "a pack header stands where a packet was expected: the pack is shorter than " +
                                        std::to_string(kPackSize) + " bytes");
        }
        if (id < kSystemHeader) Fail(offset + position, "stream id " + StreamHex(id) + " is not a packet's id");
        const std::size_t end = position + kPacketHeader + ((std::size_t{q[4]} << 8) | q[5]);
        if (end > kPackSize) {
            Fail(offset + position, "the packet of stream " + StreamHex(id) + " runs " +
                                        std::to_string(end - kPackSize) + " bytes past the end of its pack");
        }
        ParsePacket(bytes, position, id, end);
        if (id == kPrivateStream2) {
            sawNavPacket = true;
            // A packet without its sub-stream id is neither.
            const std::uint8_t sub = end > position + kPacketHeader ? q[kPacketHeader] : 0xFF;
            if (sub == 0x00) pci = pack_.Packets.back().Payload;
            if (sub == 0x01) dsi = pack_.Packets.back().Payload;
        }
        position = end;
    }

    if (sawNavPacket) {
        pack_.Kind = PackKind::Nav;
        ReadNav(pci, dsi);
        return;
    }
    for (const PesPacket& packet : pack_.Packets) {
        if (packet.Stream != 0) {
            pack_.Kind = KindOfPacket(KindOfStream(packet.Stream));
            break;
        }
    }
}

// A NAV pack that cannot be read leaves the stream around it whole, so it
// is described on the pack for the caller to report, not thrown.
void ProgramStreamReader::ReadNav(const std::optional<std::span<const std::uint8_t>>& pci,
                                  const std::optional<std::span<const std::uint8_t>>& dsi) {
    const std::string where = "\"" + Name() + "\" NAV pack at byte " + std::to_string(pack_.Offset) + " (sector " +
                              std::to_string(pack_.Offset / kPackSize) + ")";
    if (!pci || !dsi) {
        pack_.NavFault = where + ": it holds no " + (pci ? "DSI" : "PCI") + " packet";
        return;
    }
    try {
        pack_.Nav = ReadNavPack(*pci, *dsi, where);
        pack_.HasNav = true;
    } catch (const Error& fault) {
        pack_.NavFault = fault.what();
    }
}

void ProgramStreamReader::ParsePacket(std::span<const std::uint8_t> pack, std::size_t position, std::uint8_t id,
                                      std::size_t end) {
    const std::uint8_t* q = pack.data() + position;
    const std::uint64_t offset = pack_.Offset + position;
    PesPacket packet;
    packet.StreamId = id;
    packet.Offset = static_cast<std::uint32_t>(position);

    const bool hasPesHeader = id == kPrivateStream1 || (id >= 0xC0 && id <= 0xEF);
    if (!hasPesHeader) {
        // System header, padding, private stream 2: bytes behind the length;
        // private stream 2 keeps its sub-stream id out of the payload.
        std::size_t start = position + kPacketHeader;
        if (id == kPrivateStream2 && end > start) ++start;
        packet.Payload = pack.subspan(start, end - start);
        pack_.Packets.push_back(packet);
        return;
    }

    if (end - position < kPesHeader) {
        Fail(offset, "the packet of stream " + StreamHex(id) + " is too short for a PES header");
    }
    if ((q[6] & 0xC0) != 0x80) Fail(offset + 6, "the PES header of stream " + StreamHex(id) + " is not MPEG-2");
    const std::size_t headerData = q[8];
    const std::size_t start = position + kPesHeader + headerData;
    if (start > end) {
        Fail(offset + 8, "the PES header of stream " + StreamHex(id) + " claims " + std::to_string(headerData) +
                             " bytes, more than its packet holds");
    }
    if ((q[7] & 0x80) != 0) {
        if (headerData < 5) Fail(offset + 7, "the PES header of stream " + StreamHex(id) + " has no room for its PTS");
        packet.Pts = TimeStamp(q + kPesHeader);
    }
    auto data = pack.subspan(start, end - start);

    if (id != kPrivateStream1) {
        if (KindOfStream(id) != StreamKind::None) packet.Stream = id;
        packet.Payload = data;
        pack_.Packets.push_back(packet);
        return;
    }
    if (data.empty()) Fail(offset, "a private stream 1 packet has no sub-stream id");
    const std::uint8_t sub = data[0];
    const StreamKind kind = KindOfStream(sub);
    const bool dvdStream = kind != StreamKind::None && kind != StreamKind::Video && kind != StreamKind::MpegAudio;
    const std::size_t header = dvdStream ? SubstreamHeaderBytes(kind) : 1;
    if (data.size() < header) {
        Fail(offset, "the sub-stream " + StreamHex(sub) + " packet holds " + std::to_string(data.size()) +
                         " bytes, less than its " + std::to_string(header) + "-byte header");
    }
    if (dvdStream) packet.Stream = sub;
    packet.SubstreamHeader = data.subspan(1, header - 1);
    packet.Payload = data.subspan(header);
    pack_.Packets.push_back(packet);
}

}  // namespace kestrova
