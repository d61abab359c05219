// The state of one run of the Scenarist script writer: the division of the
// title sets into batches, the batch being written, and the standard the
// disc is authored in. Every generator of a script takes it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "authoring/scenario_helpers.h"

namespace kestrova {

struct ScenaristRun {
    // Highest batch index, 0-based; per batch the first and the last index
    // into DiscModel.
    std::int16_t BatchCount = 0;
    std::vector<std::array<std::int16_t, 2>> BatchRanges;
    // The batch being written: its number from 1 and its two indices. Every
    // generator passes over a domain outside them.
    std::int16_t BatchNumber = 0;
    std::int16_t BatchFirstVTS = 0;
    std::int16_t BatchLastVTS = 0;
    // "PAL" or "NTSC", and ";" or ":" in front of the frames of every
    // timecode written.
    std::string TargetStandard;
    std::string TimecodeSeparator;
    // The titles the menus reach, filled before the dummy tracks are written.
    TitleArray Titles;
    // By DiscModel index: a cell of the domain was linked to its dummy
    // scene, so the domain's menu track list names the dummy track.
    std::vector<bool> DummySceneLinked;

    bool InBatch(int entry) const { return entry >= BatchFirstVTS && entry <= BatchLastVTS; }
    // "00:00:00;00" or "00:00:00:00".
    std::string ZeroTime() const { return "00:00:00" + TimecodeSeparator + "00"; }
    // One frame: the duration of a still's subpicture and highlight.
    std::string OneFrame() const { return "00:00:00" + TimecodeSeparator + "01"; }
};

}  // namespace kestrova
