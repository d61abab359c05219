// Counts the pictures of each cell's video in a VOB: the still test of a
// menu scan. A cell whose video holds exactly one picture is a still.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "assets/vob_split.h"
#include "platform/byte_streams.h"

namespace kestrova {

struct CellPictures {
    SplitUnit Cell;                  // VOB id and cell id from the NAV packs
    std::uint64_t Packs = 0;
    std::uint64_t VideoPackets = 0;  // packets of stream 0xE0
    std::uint64_t Pictures = 0;      // picture start codes 00 00 01 00 in its bytes

    bool IsStill() const { return Pictures == 1; }
};

// One entry per (VOB id, cell) in the order first met. A start code cut
// between two packets of the cell counts. Throws the reader's Error for a
// damaged stream. A NAV pack that cannot be read adds its sentence to
// `navFaults`, and the packs up to the next readable one count for no cell.
std::vector<CellPictures> CountCellPictures(platform::ByteReader& input, std::vector<std::string>& navFaults);

}  // namespace kestrova
