// The decoder of DVD subpicture units (SPUs): the subpicture streams
// 0x20-0x3F of a program stream put together SPU by SPU, every display
// control sequence (SP_DCSQ) read with its commands, and the run-length
// coded picture of both fields decoded into a bitmap of 2-bit colour
// indices. Every read is checked against the SPU's own size: a broken SPU
// is a fault (a sentence naming the file, the byte offset and the stream),
// it is dropped and the read goes on with the next one. Only a file that
// cannot be read at all is an Error.
//
// An SPU: its size (2 bytes, these included), the offset of its first
// SP_DCSQ (2 bytes), the coded lines of the top and the bottom field, then
// the chain of SP_DCSQs. Each SP_DCSQ is a delay (2 bytes, in units of
// 1024/90000 s from the SPU's PTS), the offset of the next SP_DCSQ (its own
// offset in the last one) and commands up to CMD_END.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/byte_streams.h"

namespace kestrova {

// Display control commands, by their DVD names.
enum class SpuCommandCode : std::uint8_t {
    FSTA_DSP = 0x00,    // forced start of display (shown even with subpictures off)
    STA_DSP = 0x01,     // start of display
    STP_DSP = 0x02,     // stop of display
    SET_COLOR = 0x03,   // palette entries of the four pixel indices
    SET_CONTR = 0x04,   // contrast (opacity 0-15) of the four pixel indices
    SET_DAREA = 0x05,   // the display area
    SET_DSPXA = 0x06,   // offsets of the two fields' coded lines
    CHG_COLCON = 0x07,  // colour and contrast changes inside the area (passed over)
    CMD_END = 0xFF,
};

// "FSTA_DSP", "SET_COLOR", ...
const char* SpuCommandName(SpuCommandCode code);

// A display area: columns X1 to X2 and lines Y1 to Y2, both ends included.
struct SpuArea {
    std::uint16_t X1 = 0;
    std::uint16_t X2 = 0;
    std::uint16_t Y1 = 0;
    std::uint16_t Y2 = 0;

    std::uint32_t Width() const { return X2 - X1 + 1u; }
    std::uint32_t Height() const { return Y2 - Y1 + 1u; }
    bool operator==(const SpuArea&) const = default;
};

// The largest picture an area may cover.
inline constexpr std::uint32_t kSpuMaxWidth = 720;
inline constexpr std::uint32_t kSpuMaxHeight = 576;

struct SpuCommand {
    SpuCommandCode Code = SpuCommandCode::CMD_END;
    std::uint32_t Offset = 0;  // of the command byte in the SPU
    // SET_COLOR: the palette entries (0-15) of pixel indices 0 (background),
    // 1 (pattern), 2 (emphasis 1) and 3 (emphasis 2); SET_CONTR their
    // contrasts. The SPU holds them in the order E2 E1 P Bg.
    std::array<std::uint8_t, 4> Values{};
    SpuArea Area;                  // SET_DAREA
    std::uint16_t TopField = 0;    // SET_DSPXA: offsets in the SPU of the
    std::uint16_t BottomField = 0; // first coded line of each field
    std::uint16_t Length = 0;      // CHG_COLCON: bytes of its data, its length field included
};

// One SP_DCSQ.
struct DisplaySequence {
    std::uint32_t Offset = 0;   // in the SPU
    std::uint16_t Delay = 0;    // in units of 1024 ticks of 90 kHz
    std::uint16_t Next = 0;     // offset of the next sequence; its own in the last
    std::vector<SpuCommand> Commands;  // CMD_END not included

    std::int64_t DelayTicks() const { return std::int64_t{Delay} * 1024; }
};

// Pixel indices 0-3, one byte each, line by line from the area's top left.
struct SpuBitmap {
    std::uint32_t Width = 0;
    std::uint32_t Height = 0;
    std::vector<std::uint8_t> Pixels;
};

struct SubpictureUnit {
    std::uint8_t Stream = 0;       // 0x20-0x3F
    std::uint64_t FileOffset = 0;  // of the SPU's first byte in the file
    std::int64_t Pts = -1;         // 90 kHz, of its first packet; -1 without one
    std::uint16_t Size = 0;
    std::uint16_t FirstSequence = 0;
    std::vector<DisplaySequence> Sequences;
    // 90 kHz times: the PTS plus the delay of the first sequence that starts
    // (FSTA_DSP or STA_DSP), or that stops (STP_DSP), the display. None
    // without such a sequence or without a PTS.
    std::optional<std::int64_t> Start;
    std::optional<std::int64_t> Stop;
    bool Forced = false;           // a sequence holds FSTA_DSP
    // The area and field offsets in force when the display starts (the last
    // ones set by the sequences up to the first start; by all sequences when
    // none starts it). The bitmap is decoded when both are set.
    std::optional<SpuArea> Area;
    std::optional<std::array<std::uint16_t, 2>> FieldOffsets;  // top, bottom
    SpuBitmap Bitmap;
    std::vector<std::uint8_t> Bytes;  // the SPU as put together
};

// A fault of a subpicture stream, or of a pack (Stream 0) that could not be read.
struct SpuFault {
    std::uint8_t Stream = 0;
    std::uint64_t Offset = 0;  // in the file, of the dropped SPU's first byte or of the damaged pack
    std::string What;          // one sentence naming the file, the offset and the stream
};

// Where an SPU's bytes came from, to name file offsets in faults: the
// pieces the SPU was put together from, in order.
struct SpuOrigin {
    std::string Name;       // of the file
    std::uint8_t Stream = 0;
    struct Piece {
        std::uint32_t SpuOffset = 0;    // of the piece's first byte in the SPU
        std::uint64_t FileOffset = 0;   // of that byte in the file
    };
    std::vector<Piece> Pieces;

    // The file offset of a byte of the SPU (behind the last piece for an
    // offset past the SPU's bytes).
    std::uint64_t FileOffsetOf(std::uint32_t spuOffset) const;
};

// Reads one whole SPU: its size field must give the count of `bytes`.
// Throws Error with a sentence naming the file, the file offset of the bad
// byte, the stream and what was expected when any read would leave the
// SPU, the SP_DCSQ chain points backwards, a command is unknown or runs
// past the SPU, an area lies outside 720x576 or is inverted, or a field's
// coded lines run past the SPU or cross the end of a line.
// `pts` is the SPU's PTS (-1 without one), from which Start and Stop are
// counted.
SubpictureUnit DecodeSubpictureUnit(std::span<const std::uint8_t> bytes, const SpuOrigin& origin,
                                    std::int64_t pts = -1);

// Faults a read lists at most; further ones are only counted.
inline constexpr std::size_t kSpuFaultsListed = 1000;

struct VobSubpictures {
    std::string Name;
    std::uint64_t Packs = 0;
    std::vector<SpuFault> Faults;  // in file order
    std::uint64_t FaultsNotListed = 0;
};

// Reads every SPU of the subpicture streams of a program stream, front to
// back: each SPU that decodes is handed to `unit` as soon as it is whole
// (its bitmap is not kept), each broken one is a fault. Packs that cannot
// be read are faults of stream 0 and are passed over.
VobSubpictures ReadVobSubpictures(platform::ByteReader& vob, const std::function<void(const SubpictureUnit&)>& unit);

}  // namespace kestrova
