// The IFO reader: one VIDEO_TS.IFO or VTS_nn_0.IFO turned into one domain of
// the DVD model, with its language units, menu PGCs, programs, cells,
// commands, palettes and cell address table, and the title map filled from
// TT_SRPT and VTS_PTT_SRPT. Only the menu side of a file is read.
//
// Every read is checked: a truncated or inconsistent file ends the read with
// an Error naming the file, the table and the byte offset.
#pragma once

#include <string>

#include "dvd/dummy_scan.h"
#include "job/bits.h"
#include "job/context.h"

namespace kestrova {

// Byte offsets of the file header fields the reader uses.
inline constexpr std::int64_t kVmgTitleSetCount = 62;
inline constexpr std::int64_t kVmgTT_SRPT = 196;
inline constexpr std::int64_t kVmgmPGCI_UT = 200;
inline constexpr std::int64_t kVtsPTT_SRPT = 200;
inline constexpr std::int64_t kVtsmPGCI_UT = 208;
inline constexpr std::int64_t kMenuC_ADT = 216;

// Reads one IFO file (`path` a drive path) into a new domain at the end of
// DiscModel. readMenus false is the light read of language units and PGC
// categories; language "ALL" or a language name picks the units whose PGCs a
// full read goes through; isVideoTS chooses the VMG offsets. The read ends
// with the dummy scan, which measures zero-length cells through `dummyCells`.
void GetIFOParams(JobContext& job, const std::string& path, bool readMenus, const std::string& language,
                  bool isVideoTS, const DummyCellStages& dummyCells = {});

// The same read of a file already in memory (`bytes.FileName` is its path):
// what GetIFOParams does once it has read the file.
void GetIFOParamsFromBytes(JobContext& job, const ByteSource& bytes, bool readMenus, const std::string& language,
                           bool isVideoTS, const DummyCellStages& dummyCells = {});

// The menu cell address table (C_ADT) into the twin cell lists of the domain.
void GetVOBTable(JobContext& job, const ByteSource& bytes, int domain);
// One TitleMap record per title set, with the titles of TT_SRPT.
void GetVIDEOTSTitle(JobContext& job, const ByteSource& bytes);
// The chapter map of one title set from its VTS_PTT_SRPT.
void GetVTSTitle(JobContext& job, const ByteSource& bytes, int titleSet);

}  // namespace kestrova
