// The DVD model: the in-memory picture of one DVD-Video file set, a tree of
// 1-based lists of plain records. Item 1 of DiscModel is the Video Manager,
// item n + 1 is title set n.
#pragma once

#include <cstdint>
#include <string>

#include "job/collection.h"

namespace kestrova {

// One domain of the disc.
struct VTS_Properties {
    std::int32_t Title_Quantity = 0;
    std::string OutputDir;    // output folder of the domain's re-authored files
    std::string Root;         // work folder of the domain
    std::string OriginalIfo;  // full path of the IFO file read
    std::int16_t Split_Cell = 0;
    std::string Wide, Normal, Letter, Pan;  // subpicture stream id per display mode
    std::int16_t ForcedStrip = 0;
    std::int64_t Size = 0;  // bytes of the domain's assets
    std::int16_t Authored = 0;
    std::int16_t Abort = 0;
    std::int16_t SubsPresent = 0;
    std::int16_t UpdateIfoForSubs = 0;
};

using VTS = Collection<VTS_Properties>;

}  // namespace kestrova
