// The menu part of a domain's IFO rebuilt around the cells of its merged
// Muxman results: the source's menu PGC table with every cell re-pointed
// at the new NAV packs, a new cell address table and VOBU address map, and
// the pointers behind them moved. The result goes to the output's VIDEO_TS
// folder, never over the source.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// Rebuilds the menu part of the domain's IFO (entry of DiscModel, its
// OriginalIfo) from the sectors of its new NAV packs and its cells
// (DiscModel index, VOB, cell, first sector, last sector, last NAV pack
// sector), and writes it with its .BUP to Root of DiscModel(1)
// "\VIDEO_TS\" and the source's name. True when a cell of the menu PGCs
// found no row and kept its source's entry (each one logged). A missing
// or broken source, a cell the model lacks, a cell with two rows, or no
// cell or NAV pack at all throws Error naming the file, the table and the
// byte; nothing is written then.
bool CorrectMuxmanIfo(JobContext& job, int entry, const std::vector<std::int32_t>& navArray,
                      const std::vector<std::array<std::int32_t, 6>>& finishedNavs);

// The menu video attributes (bytes 256 and 257 of the header) of a
// converted domain: the video standard's bits become the target's (01 for
// PAL, 00 for NTSC) and bits 4-3 of byte 257 are cleared.
void CreateAspect(const JobContext& job, std::span<std::uint8_t> header, const std::string& fileName);

}  // namespace kestrova
