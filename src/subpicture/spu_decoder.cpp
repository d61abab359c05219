// The subpicture decoder: see spu_decoder.h. Every byte of an SPU is read
// through SpuReader, which checks it against the SPU's size and turns a
// read out of range into the fault sentence; a fault ends the SPU, never
// the stream.
#include "subpicture/spu_decoder.h"

#include <algorithm>
#include <map>
#include <optional>

#include "assets/program_stream.h"
#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::uint32_t kSpuHeader = 4;       // size and first SP_DCSQ offset
constexpr std::uint32_t kSequenceHeader = 4;  // delay and next SP_DCSQ offset

// Bytes of the arguments behind each command byte; CHG_COLCON carries its own length.
std::uint32_t ArgumentBytes(SpuCommandCode code) {
    switch (code) {
    case SpuCommandCode::SET_COLOR:
    case SpuCommandCode::SET_CONTR: return 2;
    case SpuCommandCode::SET_DAREA: return 6;
    case SpuCommandCode::SET_DSPXA: return 4;
    default: return 0;
    }
}

bool IsCommand(std::uint8_t byte) { return byte <= 0x07 || byte == 0xFF; }

bool StartsDisplay(const DisplaySequence& sequence) {
    return std::any_of(sequence.Commands.begin(), sequence.Commands.end(), [](const SpuCommand& command) {
        return command.Code == SpuCommandCode::FSTA_DSP || command.Code == SpuCommandCode::STA_DSP;
    });
}

bool StopsDisplay(const DisplaySequence& sequence) {
    return std::any_of(sequence.Commands.begin(), sequence.Commands.end(),
                       [](const SpuCommand& command) { return command.Code == SpuCommandCode::STP_DSP; });
}

// The bytes of one SPU, read only through checked accessors.
class SpuReader {
public:
    SpuReader(std::span<const std::uint8_t> bytes, const SpuOrigin& origin) : bytes_(bytes), origin_(origin) {}

    std::uint32_t Size() const { return static_cast<std::uint32_t>(bytes_.size()); }

    [[noreturn]] void Fail(std::uint32_t at, const std::string& what) const {
        throw Error("\"" + origin_.Name + "\" at byte " + std::to_string(origin_.FileOffsetOf(at)) +
                    ", subpicture stream 0x" + StreamHex(origin_.Stream) + " (the SPU at byte " +
                    std::to_string(origin_.FileOffsetOf(0)) + "): " + what + "; the SPU is dropped");
    }

    // Throws unless `count` bytes from `at` lie inside the SPU; `what` names them.
    void Need(std::uint32_t at, std::uint32_t count, const std::string& what) const {
        if (at > Size() || count > Size() - at) {
            Fail(at, what + " (" + std::to_string(count) + " bytes at byte " + std::to_string(at) +
                         " of the SPU) run past its end at byte " + std::to_string(Size()));
        }
    }

    std::uint8_t Byte(std::uint32_t at, const std::string& what) const {
        Need(at, 1, what);
        return bytes_[at];
    }

    std::uint16_t Word(std::uint32_t at, const std::string& what) const {
        Need(at, 2, what);
        return static_cast<std::uint16_t>((bytes_[at] << 8) | bytes_[at + 1]);
    }

    std::span<const std::uint8_t> Bytes() const { return bytes_; }

private:
    std::span<const std::uint8_t> bytes_;
    const SpuOrigin& origin_;
};

SpuCommand ReadCommand(const SpuReader& spu, std::uint32_t at) {
    SpuCommand command;
    command.Offset = at;
    const std::uint8_t byte = spu.Byte(at, "a display control command");
    if (!IsCommand(byte)) {
        spu.Fail(at, "the byte " + StreamHex(byte) + " is no display control command (00 to 07 or FF expected)");
    }
    command.Code = static_cast<SpuCommandCode>(byte);
    const std::string name = SpuCommandName(command.Code);
    const std::uint32_t arguments = at + 1;
    spu.Need(arguments, ArgumentBytes(command.Code), "the arguments of " + name);
    const auto b = spu.Bytes().subspan(arguments);
    switch (command.Code) {
    case SpuCommandCode::SET_COLOR:
    case SpuCommandCode::SET_CONTR:
        // E2 E1 P Bg, one nibble each: pixel indices 3, 2, 1, 0.
        command.Values = {static_cast<std::uint8_t>(b[1] & 0x0F), static_cast<std::uint8_t>(b[1] >> 4),
                          static_cast<std::uint8_t>(b[0] & 0x0F), static_cast<std::uint8_t>(b[0] >> 4)};
        break;
    case SpuCommandCode::SET_DAREA: {
        // Four 12-bit values: X1 X2 Y1 Y2.
        SpuArea& area = command.Area;
        area.X1 = static_cast<std::uint16_t>((b[0] << 4) | (b[1] >> 4));
        area.X2 = static_cast<std::uint16_t>(((b[1] & 0x0F) << 8) | b[2]);
        area.Y1 = static_cast<std::uint16_t>((b[3] << 4) | (b[4] >> 4));
        area.Y2 = static_cast<std::uint16_t>(((b[4] & 0x0F) << 8) | b[5]);
        const std::string text = "the area " + std::to_string(area.X1) + "-" + std::to_string(area.X2) + " x " +
                                 std::to_string(area.Y1) + "-" + std::to_string(area.Y2);
        if (area.X1 > area.X2 || area.Y1 > area.Y2) spu.Fail(at, text + " is inverted");
        if (area.X2 >= kSpuMaxWidth || area.Y2 >= kSpuMaxHeight) {
            spu.Fail(at, text + " lies outside the " + std::to_string(kSpuMaxWidth) + "x" +
                             std::to_string(kSpuMaxHeight) + " picture");
        }
        break;
    }
    case SpuCommandCode::SET_DSPXA:
        command.TopField = spu.Word(arguments, "the top field offset");
        command.BottomField = spu.Word(arguments + 2, "the bottom field offset");
        for (const std::uint16_t field : {command.TopField, command.BottomField}) {
            if (field < kSpuHeader || field >= spu.Size()) {
                spu.Fail(arguments, "a field's coded lines are said to begin at byte " + std::to_string(field) +
                                        " of the SPU, outside its picture data (bytes 4 to " +
                                        std::to_string(spu.Size() - 1) + ")");
            }
        }
        break;
    case SpuCommandCode::CHG_COLCON:
        command.Length = spu.Word(arguments, "the length of CHG_COLCON");
        if (command.Length < 2) spu.Fail(arguments, "CHG_COLCON gives a length of " +
                                                        std::to_string(command.Length) + ", less than its own 2 bytes");
        spu.Need(arguments, command.Length, "the data of CHG_COLCON");
        break;
    default: break;
    }
    return command;
}

// Reads one SP_DCSQ up to its CMD_END; returns the offset behind CMD_END.
std::uint32_t ReadSequence(const SpuReader& spu, std::uint32_t at, DisplaySequence& sequence) {
    sequence.Offset = at;
    sequence.Delay = spu.Word(at, "the delay of a display control sequence");
    sequence.Next = spu.Word(at + 2, "the next-sequence offset of a display control sequence");
    std::uint32_t position = at + kSequenceHeader;
    for (;;) {
        const SpuCommand command = ReadCommand(spu, position);
        position += 1 + ArgumentBytes(command.Code) + command.Length;
        if (command.Code == SpuCommandCode::CMD_END) return position;
        sequence.Commands.push_back(command);
    }
}

// The chain of SP_DCSQs. Each must point to itself (the last) or to one
// lying wholly behind it, so the chain ends within the SPU's bytes.
void ReadSequences(const SpuReader& spu, SubpictureUnit& unit) {
    std::uint32_t at = unit.FirstSequence;
    for (;;) {
        DisplaySequence sequence;
        const std::uint32_t end = ReadSequence(spu, at, sequence);
        unit.Sequences.push_back(sequence);
        if (sequence.Next == at) return;
        if (sequence.Next < at) {
            spu.Fail(at + 2, "the display control sequence at byte " + std::to_string(at) +
                                 " of the SPU points back to byte " + std::to_string(sequence.Next) +
                                 " (its own offset, in the last sequence, or one behind it was expected)");
        }
        if (sequence.Next < end) {
            spu.Fail(at + 2, "the display control sequence at byte " + std::to_string(at) +
                                 " of the SPU points to byte " + std::to_string(sequence.Next) +
                                 ", inside its own commands, which end at byte " + std::to_string(end));
        }
        at = sequence.Next;
    }
}

// Start, stop, forced start and the area and field offsets in force at the start.
void SettleDisplay(SubpictureUnit& unit, std::int64_t pts) {
    bool started = false;
    for (const DisplaySequence& sequence : unit.Sequences) {
        for (const SpuCommand& command : sequence.Commands) {
            if (command.Code == SpuCommandCode::FSTA_DSP) unit.Forced = true;
            if (started) continue;
            if (command.Code == SpuCommandCode::SET_DAREA) unit.Area = command.Area;
            if (command.Code == SpuCommandCode::SET_DSPXA) {
                unit.FieldOffsets = std::array<std::uint16_t, 2>{command.TopField, command.BottomField};
            }
        }
        if (StartsDisplay(sequence) && !started) {
            started = true;
            if (pts >= 0) unit.Start = pts + sequence.DelayTicks();
        }
        if (StopsDisplay(sequence) && !unit.Stop && pts >= 0) unit.Stop = pts + sequence.DelayTicks();
    }
}

// Decodes the coded lines of one field into every second line of the
// bitmap from `firstLine`. Codes are 4, 8, 12 or 16 bits: a run length and
// a 2-bit pixel index; a 16-bit code of run 0 fills the rest of the line.
// Each line ends on a byte boundary.
void DecodeField(const SpuReader& spu, std::uint32_t start, std::uint32_t firstLine, const char* field,
                 SpuBitmap& bitmap) {
    const std::span<const std::uint8_t> bytes = spu.Bytes();
    const std::size_t endNibble = std::size_t{spu.Size()} * 2;
    std::size_t nibble = std::size_t{start} * 2;
    std::uint32_t line = firstLine;
    const auto next = [&]() -> std::uint32_t {
        if (nibble >= endNibble) {
            spu.Fail(spu.Size(), std::string("the coded lines of the ") + field + " field run past the end of the SPU "
                                     "in line " + std::to_string(line) + " of " + std::to_string(bitmap.Height));
        }
        const std::uint8_t byte = bytes[nibble / 2];
        return (nibble++ % 2 == 0) ? byte >> 4 : byte & 0x0F;
    };
    for (; line < bitmap.Height; line += 2) {
        std::uint8_t* row = bitmap.Pixels.data() + std::size_t{line} * bitmap.Width;
        std::uint32_t x = 0;
        while (x < bitmap.Width) {
            const std::size_t codeAt = nibble;
            std::uint32_t code = next();
            if (code < 0x4) {
                code = (code << 4) | next();
                if (code < 0x10) {
                    code = (code << 4) | next();
                    if (code < 0x40) code = (code << 4) | next();
                }
            }
            std::uint32_t run = code >> 2;
            if (run == 0) run = bitmap.Width - x;
            if (run > bitmap.Width - x) {
                spu.Fail(static_cast<std::uint32_t>(codeAt / 2),
                         "a run of " + std::to_string(run) + " pixels at column " + std::to_string(x) + " of line " +
                             std::to_string(line) + " (" + field + " field) crosses the end of the " +
                             std::to_string(bitmap.Width) + "-pixel line");
            }
            std::fill_n(row + x, run, static_cast<std::uint8_t>(code & 0x03));
            x += run;
        }
        nibble += nibble % 2;
    }
}

}  // namespace

const char* SpuCommandName(SpuCommandCode code) {
    switch (code) {
    case SpuCommandCode::FSTA_DSP: return "FSTA_DSP";
    case SpuCommandCode::STA_DSP: return "STA_DSP";
    case SpuCommandCode::STP_DSP: return "STP_DSP";
    case SpuCommandCode::SET_COLOR: return "SET_COLOR";
    case SpuCommandCode::SET_CONTR: return "SET_CONTR";
    case SpuCommandCode::SET_DAREA: return "SET_DAREA";
    case SpuCommandCode::SET_DSPXA: return "SET_DSPXA";
    case SpuCommandCode::CHG_COLCON: return "CHG_COLCON";
    case SpuCommandCode::CMD_END: return "CMD_END";
    }
    return "unknown";
}

std::uint64_t SpuOrigin::FileOffsetOf(std::uint32_t spuOffset) const {
    const Piece* holder = nullptr;
    for (const Piece& piece : Pieces) {
        if (piece.SpuOffset > spuOffset) break;
        holder = &piece;
    }
    return holder == nullptr ? spuOffset : holder->FileOffset + (spuOffset - holder->SpuOffset);
}

SubpictureUnit DecodeSubpictureUnit(std::span<const std::uint8_t> bytes, const SpuOrigin& origin, std::int64_t pts) {
    const SpuReader spu(bytes, origin);
    SubpictureUnit unit;
    unit.Stream = origin.Stream;
    unit.FileOffset = origin.FileOffsetOf(0);
    unit.Pts = pts;
    spu.Need(0, kSpuHeader, "the SPU header");
    unit.Size = spu.Word(0, "the SPU size");
    if (unit.Size != bytes.size()) {
        spu.Fail(0, "the SPU's size field gives " + std::to_string(unit.Size) + " bytes, but it holds " +
                        std::to_string(bytes.size()));
    }
    unit.FirstSequence = spu.Word(2, "the offset of the first display control sequence");
    if (unit.FirstSequence < kSpuHeader) {
        spu.Fail(2, "the first display control sequence is said to lie at byte " +
                        std::to_string(unit.FirstSequence) + ", inside the SPU header");
    }
    ReadSequences(spu, unit);
    SettleDisplay(unit, pts);
    if (unit.Area && unit.FieldOffsets) {
        SpuBitmap& bitmap = unit.Bitmap;
        bitmap.Width = unit.Area->Width();
        bitmap.Height = unit.Area->Height();
        bitmap.Pixels.assign(std::size_t{bitmap.Width} * bitmap.Height, 0);
        DecodeField(spu, (*unit.FieldOffsets)[0], 0, "top", bitmap);
        DecodeField(spu, (*unit.FieldOffsets)[1], 1, "bottom", bitmap);
    }
    unit.Bytes.assign(bytes.begin(), bytes.end());
    return unit;
}

namespace {

// Puts the SPUs of one subpicture stream together from its packets'
// payloads. A packet with a PTS begins an SPU; one without continues the
// SPU in hand, or begins one when there is none. The first two bytes give
// the SPU's size. After an SPU is dropped for its size, the packets without
// a PTS behind it are taken for the rest of it and passed over.
class SpuAssembler {
public:
    SpuAssembler(const std::string& name, std::uint8_t stream) {
        origin_.Name = name;
        origin_.Stream = stream;
    }

    // Adds the payload of one packet, whose first byte lies at `fileOffset`.
    // True when it completes an SPU: Bytes(), Origin() and Pts() give it
    // until the next call.
    bool Add(std::span<const std::uint8_t> payload, std::uint64_t fileOffset, std::int64_t pts,
             std::vector<SpuFault>& faults) {
        if (payload.empty()) return false;
        if (pts >= 0) passing_ = false;
        if (passing_) return false;
        if (open_ && pts >= 0) {
            Drop(fileOffset, "a new SPU begins at byte " + std::to_string(fileOffset) + " when only " + Held() +
                                 " were there",
                 faults);
        }
        if (!open_) {
            bytes_.clear();
            origin_.Pieces.clear();
            pts_ = pts;
            open_ = true;
        }
        origin_.Pieces.push_back({static_cast<std::uint32_t>(bytes_.size()), fileOffset});
        bytes_.insert(bytes_.end(), payload.begin(), payload.end());
        if (bytes_.size() < 2) return false;
        const std::size_t size = (std::size_t{bytes_[0]} << 8) | bytes_[1];
        if (size < kSpuHeader) {
            Drop(origin_.FileOffsetOf(0), "the SPU's size field gives " + std::to_string(size) +
                                              " bytes, fewer than its 4-byte header",
                 faults);
            passing_ = true;
            return false;
        }
        if (bytes_.size() > size) {
            Drop(fileOffset, "the packets of the SPU hold " + std::to_string(bytes_.size()) + " bytes, more than the " +
                                 std::to_string(size) + " its size field gives",
                 faults);
            passing_ = true;
            return false;
        }
        if (bytes_.size() < size) return false;
        open_ = false;
        return true;
    }

    // At the end of the stream: a fault for an SPU left incomplete.
    void Finish(std::uint64_t endOffset, std::vector<SpuFault>& faults) {
        if (open_) Drop(endOffset, "the stream ends when only " + Held() + " were there", faults);
    }

    std::span<const std::uint8_t> Bytes() const { return bytes_; }
    const SpuOrigin& Origin() const { return origin_; }
    std::int64_t Pts() const { return pts_; }

private:
    std::string Held() const {
        std::string text = std::to_string(bytes_.size()) + " bytes of it";
        if (bytes_.size() >= 2) text += ", of " + std::to_string((std::size_t{bytes_[0]} << 8) | bytes_[1]) + ",";
        return text;
    }

    void Drop(std::uint64_t at, const std::string& why, std::vector<SpuFault>& faults) {
        const std::uint64_t start = origin_.FileOffsetOf(0);
        faults.push_back({origin_.Stream, start,
                          "\"" + origin_.Name + "\" at byte " + std::to_string(at) + ", subpicture stream 0x" +
                              StreamHex(origin_.Stream) + ": the SPU begun at byte " + std::to_string(start) +
                              " is broken: " + why + "; the SPU is dropped"});
        open_ = false;
    }

    std::vector<std::uint8_t> bytes_;
    SpuOrigin origin_;
    std::int64_t pts_ = -1;
    bool open_ = false;
    bool passing_ = false;  // passing over the packets of a dropped SPU
};

void AddFault(VobSubpictures& result, SpuFault fault) {
    if (result.Faults.size() < kSpuFaultsListed) {
        result.Faults.push_back(std::move(fault));
    } else {
        ++result.FaultsNotListed;
    }
}

}  // namespace

VobSubpictures ReadVobSubpictures(platform::ByteReader& vob, const std::function<void(const SubpictureUnit&)>& unit) {
    VobSubpictures result;
    result.Name = vob.Name();
    std::map<std::uint8_t, SpuAssembler> assemblers;
    std::vector<SpuFault> faults;
    ProgramStreamReader reader(vob);
    for (;;) {
        const Pack* pack = reader.NextPassingOver(
            [&result](std::uint64_t at, const std::string& what) { AddFault(result, {0, at, what}); });
        if (pack == nullptr) break;
        ++result.Packs;
        for (const PesPacket& packet : pack->Packets) {
            if (KindOfStream(packet.Stream) != StreamKind::Subpicture) continue;
            const std::uint64_t offset =
                pack->Offset + static_cast<std::uint64_t>(packet.Payload.data() - pack->Bytes.data());
            SpuAssembler& assembler = assemblers.try_emplace(packet.Stream, vob.Name(), packet.Stream).first->second;
            const bool whole = assembler.Add(packet.Payload, offset, packet.Pts, faults);
            for (SpuFault& fault : faults) AddFault(result, std::move(fault));
            faults.clear();
            if (!whole) continue;
            // What the caller does with the SPU is no fault of the SPU.
            std::optional<SubpictureUnit> decoded;
            try {
                decoded = DecodeSubpictureUnit(assembler.Bytes(), assembler.Origin(), assembler.Pts());
            } catch (const Error& fault) {
                AddFault(result, {packet.Stream, assembler.Origin().FileOffsetOf(0), fault.what()});
            }
            if (decoded) unit(*decoded);
        }
    }
    for (auto& [stream, assembler] : assemblers) assembler.Finish(reader.Offset(), faults);
    for (SpuFault& fault : faults) AddFault(result, std::move(fault));
    return result;
}

}  // namespace kestrova
