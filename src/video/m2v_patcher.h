// The patcher of MPEG-2 video elementary streams: it rewrites the flags an
// authoring engine reads from a stream (aspect ratio, frame rate, 3:2 soft
// pulldown, drop-frame group time codes, pan-scan extensions) and drops the
// sequence end codes where files were joined, in one pass from the first
// byte to the last. Only headers and extensions change: the bytes of every
// slice are copied as they came. It works on a fixed buffer whatever the
// stream's length.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/byte_streams.h"
#include "platform/files.h"

namespace kestrova {

enum class PulldownChange : std::uint8_t {
    Keep,       // field flags as the encoder left them
    Remove,     // repeat_first_field cleared in every picture
    // 23.976 progressive frames made 29.97 by soft pulldown: the frames
    // show 2 and 3 fields in turn, the first frame two (TwoThree) or three
    // (ThreeTwo) of them.
    TwoThree,
    ThreeTwo,
};

enum class PanScanChange : std::uint8_t {
    Keep,
    Add,        // a sequence display extension where a sequence lacks one, a centred picture display extension per picture
    Remove,     // sequence and picture display extensions dropped
};

struct M2vPatch {
    std::optional<std::uint8_t> AspectRatioCode;  // in every sequence header: 2 4:3, 3 16:9
    std::optional<std::uint8_t> FrameRateCode;    // in every sequence header: 3 25, 4 29.97
    // drop_frame_flag of every group header. When it is given, or the rate
    // changes, the group time codes are counted again from 00:00:00:00 at
    // the output rate, from the fields each picture shows.
    std::optional<bool> DropFrame;
    PulldownChange Pulldown = PulldownChange::Keep;
    PanScanChange PanScan = PanScanChange::Keep;
    // Drops the sequence end codes inside the stream (files joined one after
    // the other); the one that ends the stream stays.
    bool IgnoreSequenceEndCode = false;
};

// What a patch went through.
struct M2vPatchCounts {
    std::int64_t SequenceHeaders = 0;
    std::int64_t Groups = 0;
    std::int64_t Pictures = 0;                // picture headers (a field picture counts once)
    std::int64_t SequenceEndCodesDropped = 0;
    std::int64_t ExtensionsAdded = 0;
    std::int64_t ExtensionsDropped = 0;
};

// Copies `input` to `output` with the patch applied. Throws Error naming the
// input and the byte offset when the stream is empty, holds no sequence
// header in its first 2048 bytes, ends inside a header, is MPEG-1, or
// cannot take the patch (3:2 pulldown of a stream that is not 23.976
// progressive frames, drop-frame time codes at a rate other than 29.97).
// What was written by then is incomplete: the caller discards it.
M2vPatchCounts PatchM2v(platform::ByteReader& input, platform::ByteWriter& output, const M2vPatch& options);

// Patches the file at the drive path `inputPath` into `outputPath`. The
// stream is written to "<outputPath>.part" and renamed when it is whole; on
// any failure the part file is deleted and the Error passed on, so no
// output is left.
M2vPatchCounts PatchM2vFile(const platform::FileSystem& files, const std::string& inputPath,
                            const std::string& outputPath, const M2vPatch& options);

}  // namespace kestrova
