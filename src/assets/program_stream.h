// A reader of DVD MPEG-2 program streams (VOB files): it reads the stream
// in large blocks and hands out one 2048-byte pack at a time, with the pack
// header, the system header and every PES packet of the pack checked and
// located. DVD packs are always one sector long; a pack that is shorter or
// longer, a start code that is not one, or a length that runs past the
// pack or the stream ends the read with an Error naming the stream, the
// byte offset and what was expected. A NAV pack that is whole as a pack
// but whose PCI or DSI is missing or too short is no such fault: it is
// handed out without its NAV fields and with a sentence saying why, and
// the read goes on; one whose highlight alone cannot be read is handed out
// with its NAV fields and the highlight's fault (NavPack::HighlightFault).
//
// A DVD stream is named by one byte, as DVD tools name it: the MPEG stream
// id for video (0xE0) and MPEG audio (0xC0-0xCF), the sub-stream id for the
// streams inside private stream 1: AC3 0x80-0x87, DTS 0x88-0x8F, LPCM
// 0xA0-0xAF, subpictures 0x20-0x3F. The two ranges do not overlap.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "assets/nav_pack.h"
#include "platform/byte_streams.h"

namespace kestrova {

inline constexpr std::size_t kPackSize = 2048;

// MPEG stream ids of a DVD program stream.
inline constexpr std::uint8_t kProgramEnd = 0xB9;
inline constexpr std::uint8_t kPackStart = 0xBA;
inline constexpr std::uint8_t kSystemHeader = 0xBB;
inline constexpr std::uint8_t kPrivateStream1 = 0xBD;
inline constexpr std::uint8_t kPaddingStream = 0xBE;
inline constexpr std::uint8_t kPrivateStream2 = 0xBF;

enum class StreamKind { None, Video, MpegAudio, Ac3, Dts, Lpcm, Subpicture };

// What a DVD stream byte names; None for a byte that names no DVD stream.
StreamKind KindOfStream(std::uint8_t stream);

// Private stream 1 headers: the sub-stream id, then for AC3 and DTS the
// frame count and the first access unit pointer, for LPCM those and three
// bytes of audio format. Subpictures have the sub-stream id only.
inline constexpr std::size_t kAudioSubstreamHeader = 4;
inline constexpr std::size_t kLpcmSubstreamHeader = 7;

// One packet of a pack.
struct PesPacket {
    std::uint8_t StreamId = 0;   // the MPEG stream id (0xE0, 0xBD, 0xBE, ...)
    std::uint8_t Stream = 0;     // the DVD stream byte; 0 for packets of no DVD stream
    std::uint32_t Offset = 0;    // of the start code inside the pack
    std::int64_t Pts = -1;       // 90 kHz presentation time stamp; -1 without one
    // The elementary bytes: behind the PES header and, in private stream 1,
    // behind the sub-stream header.
    std::span<const std::uint8_t> Payload;
    // The sub-stream header behind the sub-stream id (LPCM: 6 bytes); empty
    // for other packets.
    std::span<const std::uint8_t> SubstreamHeader;
};

// What the packets of a pack carry, for choosing packs to keep.
enum class PackKind { Nav, Video, Audio, Subpicture, Other };

struct Pack {
    std::uint64_t Offset = 0;                // of the pack in the stream
    std::span<const std::uint8_t> Bytes;     // the whole pack, kPackSize bytes
    std::int64_t Scr = 0;                    // system clock reference, 27 MHz
    PackKind Kind = PackKind::Other;
    bool HasNav = false;                     // true when Nav holds the pack's PCI and DSI
    NavPack Nav;
    // For a NAV pack whose PCI or DSI cannot be read: why, in one sentence
    // naming the stream and the pack's byte offset. Empty otherwise.
    std::string NavFault;
    std::vector<PesPacket> Packets;          // in stream order, system header and padding included
};

class ProgramStreamReader {
public:
    // Reads from `input`, `blockBytes` at a time (rounded up to whole packs).
    explicit ProgramStreamReader(platform::ByteReader& input, std::size_t blockBytes = 1 << 20);

    // The next pack, or nullptr at the end of the stream. The pack stays
    // valid until the next call. A stream may end with an MPEG program end
    // code after its last pack. Throws Error at the first fault; the packs
    // handed out before it were whole.
    const Pack* Next();

    // Bytes of the stream consumed so far.
    std::uint64_t Offset() const { return consumed_; }

    // Next() for a reader that only reports damage: a pack that cannot be
    // read is passed over up to the next pack start code (00 00 01 BA) or
    // the end, and `damaged` is told its offset and what was wrong, with the
    // bytes passed over.
    const Pack* NextPassingOver(const std::function<void(std::uint64_t offset, const std::string& what)>& damaged);

    const std::string& Name() const { return input_.Name(); }

private:
    // After Next() threw: passes over the damaged pack; returns the offset
    // it stopped at.
    std::uint64_t SkipDamagedPack();

    bool Fill();
    void Parse(std::span<const std::uint8_t> bytes, std::uint64_t offset);
    void ParsePacket(std::span<const std::uint8_t> pack, std::size_t position, std::uint8_t id, std::size_t end);
    void ReadNav(const std::optional<std::span<const std::uint8_t>>& pci,
                 const std::optional<std::span<const std::uint8_t>>& dsi);
    [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const;

    platform::ByteReader& input_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;  // next unread byte of buffer_
    std::size_t end_ = 0;    // end of the bytes read into buffer_
    bool atEnd_ = false;
    std::uint64_t consumed_ = 0;
    std::uint64_t packNumber_ = 0;
    Pack pack_;
};

// Two hexadecimal digits in upper case ("E0", "80").
std::string StreamHex(std::uint8_t stream);

}  // namespace kestrova
