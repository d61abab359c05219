// Stream attributes of a menu domain: the video and audio attribute bytes of
// the IFO header turned into the program's words ("16 : 9", "AC3",
// "disallowed" ...), stored in the model; the pool of distinct palettes; and
// the per-domain table of which subpicture stream id serves which display
// mode.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "job/bits.h"
#include "job/context.h"

namespace kestrova {

// Positions of the thirteen texts GetVideoInfo returns.
enum VideoInfoField : int {
    kVideoCoding = 0,
    kVideoStandard = 1,
    kVideoAspect = 2,
    kVideoPanScan = 3,
    kVideoLetterBox = 4,
    kVideoField1 = 5,
    kVideoField2 = 6,
    kVideoBitRate = 7,
    kVideoSize = 8,
    kVideoCrop = 9,
    kVideoSource = 10,
    kVideoAudioCount = 11,
    kVideoSubCount = 12,
};
using VideoInfo = std::array<std::string, 13>;

// The two rows of GetAudioInfo: the coding words and the language names,
// one column per audio stream.
struct AudioInfo {
    std::vector<std::string> Coding;
    std::vector<std::string> Language;
};

// The four stream ids of a PGC's first subpicture control word.
struct SubpictureIds {
    int Normal = 0;
    int Wide = 0;
    int Letter = 0;
    int Pan = 0;
};

// Byte offsets of the menu attribute block, the same in VIDEO_TS.IFO and
// VTS_nn_0.IFO.
inline constexpr std::int64_t kVideoAttributes = 256;
inline constexpr std::int64_t kAudioStreamCount = 259;
inline constexpr std::int64_t kAudioAttributes = 260;
inline constexpr std::int64_t kAudioAttributeSize = 8;
inline constexpr std::int64_t kSubpictureStreamCount = 341;

// The video words of the attribute bytes at 256 and 257 and the two stream
// counts, logged; the first standard read becomes the job's VideoStandard
// when that is still empty.
VideoInfo GetVideoInfo(JobContext& job, const ByteSource& bytes);
// The coding and language name of each audio stream, logged.
AudioInfo GetAudioInfo(JobContext& job, const ByteSource& bytes);

// Store the words in item 1 of the domain's Video (made when missing) and
// the streams in its Audio list.
void AddVideoAttributes(JobContext& job, int domain, const VideoInfo& info);
void AddAudioAttributes(JobContext& job, int domain, const AudioInfo& table);

// Keeps the highest stream id met per display mode in Wide, Normal, Letter
// and Pan of the domain, choosing the modes by the video words.
void GetSubStream(JobContext& job, const SubpictureIds& ids, int domain, const VideoInfo& info);

// The position in PalettePool of a PGC's 64 palette bytes (16 groups of
// four, of which the first three count), added when new.
std::int16_t NewCheckPalette(JobContext& job, std::span<const std::uint8_t> bytes);

// "P/S and LB", "Only Panscan", "Only Letterbox" or "4:3" from the display
// flags and aspect of the domain's video record.
std::string GetAspect(const JobContext& job, int domain);

// Enters one PGC's stream ids into StreamUse of the domain as its
// GetAspect says; `language` is the Language_Folder of the unit in hand.
void FillStreamUse(JobContext& job, int domain, const SubpictureIds& ids, const std::string& language);

}  // namespace kestrova
