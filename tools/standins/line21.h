// Line-21 closed captions between the two stand-ins that handle them:
// vsrip reads them from the user data of a PGC's video and leaves the raw
// caption file PGC_<i>.cc.raw; vobsub2scc turns that file into a
// Scenarist caption file (.scc). tools/standins/README.md gives the format.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cell_sectors.h"
#include "standin.h"

namespace kestrova::standin {

// One field-1 (CC1/CC2) byte pair as the video carries it, parity bits
// kept, on the frame of the PGC's time line it is shown with: frames of
// 1/29.97 s in display order from the PGC's first, two fields a frame.
struct CaptionPair {
    std::uint32_t Frame = 0;
    std::uint8_t First = 0x80;
    std::uint8_t Second = 0x80;
    bool IsNull() const { return First == 0x80 && Second == 0x80; }
};

// The raw caption file: one record a pair, in time order. A record is the
// frame (4 bytes, big-endian) and the pair's two bytes.
inline constexpr std::size_t kCaptionRecordBytes = 6;

std::string CaptionRecords(const std::vector<CaptionPair>& pairs);
// Throws Error naming the file and the byte offset of a record cut short
// or one whose frame lies before the one before it.
std::vector<CaptionPair> ReadCaptionRecords(const std::string& bytes, const std::string& name);

// The field-1 pairs of the line-21 user data in the video of the PGC's
// cells (the ranges of `vob`, joined in cell order), in time order. Both
// forms are read: the DVD form of the group user data ("CC" 01 F8) and the
// ATSC form of the picture user data ("GA94" 03). A caption block cut
// short is an Error naming the VOB and the byte offset of its user data;
// a video stream the scanner refuses is an Error naming the stream and
// the offset in it.
std::vector<CaptionPair> ReadLine21(const Invocation& call, const std::string& vob,
                                    const std::vector<CellSectorReader::Range>& cells, const std::string& name);

}  // namespace kestrova::standin
