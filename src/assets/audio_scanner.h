// The frame walk of the audio scanner, shared by files of their own and the
// sub-streams of a VOB: a window on the stream's bytes that the caller
// fills (a file a block at a time, a VOB a packet payload at a time), and a
// scanner that reads every frame the window holds. A frame counts as good
// when its header is valid and, for AC3, both CRCs hold or, for the
// formats without a check word, another frame of its kind follows at once.
// A bad spot is written down and the scanner looks for the next good frame
// from the first byte it cannot vouch for.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "assets/audio_frames.h"
#include "assets/audio_stream.h"

namespace kestrova {

// The bytes of one stream from the oldest one still needed. Offsets are
// counted in the stream's own bytes; each appended piece may say where it
// lies in the file read, so that bad spots can be placed in the file.
class StreamWindow {
public:
    // Stream offset of the first byte held, and one past the last.
    std::uint64_t Start() const { return start_; }
    std::uint64_t End() const { return start_ + (end_ - begin_); }
    // The byte at a stream offset in [Start(), End()).
    const std::uint8_t* At(std::uint64_t offset) const { return buffer_.data() + begin_ + (offset - start_); }

    // Forgets the bytes before `offset`; an offset past End() also drops
    // the bytes still to come up to it.
    void DropBefore(std::uint64_t offset);

    // Room for `count` more bytes behind End(), for a read straight into
    // the window; Added(n) then takes n of them in.
    std::span<std::uint8_t> Room(std::size_t count);
    void Added(std::size_t count);

    // Copies a piece in that starts at `fileOffset` in the file read.
    void Append(std::span<const std::uint8_t> bytes, std::uint64_t fileOffset);

    // The file offset of a stream offset (the same number when no piece gave one).
    std::uint64_t FileOffset(std::uint64_t streamOffset) const;

    // Bytes handed in so far, those passed over included.
    std::uint64_t Received() const { return received_; }

private:
    struct Piece {
        std::uint64_t Stream;
        std::uint64_t File;
    };
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t start_ = 0;
    std::uint64_t skip_ = 0;  // bytes still to come that DropBefore passed over
    std::uint64_t received_ = 0;
    std::deque<Piece> pieces_;
};

class FrameScanner {
public:
    // `frames`, when given, receives every AC3 frame counted.
    FrameScanner(AudioFormat format, std::string name, std::vector<Ac3Frame>* frames = nullptr);

    StreamWindow& Window() { return window_; }

    // Reads the frames the window holds; keeps a frame that may go on in
    // the bytes still to come. With `atEnd` the stream is complete.
    void Scan(bool atEnd);

    // The facts, after Scan(true).
    AudioStream Finish();

private:
    enum class Verdict { Good, Bad, More };

    // The CRC registers after crc1's part and after the whole frame; 0 when whole (and for formats without).
    struct FrameCheck {
        std::uint16_t Crc1 = 0;
        std::uint16_t Crc2 = 0;
        bool CrcOk() const { return Crc1 == 0 && Crc2 == 0; }
    };

    // A search for the next good frame.
    struct Search {
        std::uint64_t From = 0;        // the next stream offset to look at
        std::uint64_t FaultFile = 0;   // where the bad spot begins, in the file
        std::uint64_t FaultStream = 0;
        std::string Cause;             // what was wrong there
        // A frame whose header was read but that cannot be vouched for: a
        // good frame inside it means it was cut short.
        bool Suspect = false;
        FrameHeader Header;
        FrameCheck Check;
        bool PastEnd = false;          // it runs past the end of the stream
        std::uint64_t FrameEndFile = 0;
        std::string AfterFrame;        // what stands behind it
    };

    bool Scanning(bool atEnd);
    bool Resync(bool atEnd);
    void StartSearch(std::uint64_t offset, std::string cause);
    void StartSuspect(const FrameHeader& header, const FrameCheck& check, bool pastEnd);
    void EndSearch(std::optional<std::uint64_t> found);
    Verdict Candidate(std::uint64_t offset, bool atEnd);
    bool FollowedByFrame(std::uint64_t offset, std::uint32_t family, bool atEnd) const;
    FrameCheck CheckFrame(std::uint64_t offset, const FrameHeader& header) const;
    void Accept(std::uint64_t fileOffset, const FrameHeader& header, const FrameCheck& check);
    void AddFault(std::uint64_t fileOffset, std::string what);
    std::string Found(std::uint64_t offset) const;

    AudioFormat format_;
    std::size_t headerBytes_;
    StreamWindow window_;
    std::vector<Ac3Frame>* frames_;
    std::uint64_t position_ = 0;  // stream offset of the next frame
    std::optional<Search> search_;
    AudioStream stream_;
    FrameHeader last_;  // the facts of the last frame counted
};

}  // namespace kestrova
