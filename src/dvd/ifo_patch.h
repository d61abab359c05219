// An IFO file taken apart by its header pointers and joined again, for the
// patchers that rebuild some of its tables: the split checks every pointer
// against the file and against the tables' disc order; the join lays the
// tables out sector by sector and points the header at them, so the pointers
// behind a table that changed size move with it; the write replaces the IFO
// and its .BUP each through a new file renamed into place.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dvd/ifo_table.h"
#include "platform/files.h"

namespace kestrova {

enum class IfoKind { Vmg, Vts };

// One header field holding the first sector of a table of the file.
struct IfoPointerField {
    std::int64_t Offset = 0;  // byte of the header
    const char* Table = "";   // the table's DVD name
};

// The table pointers of a VIDEO_TS.IFO or a VTS_nn_0.IFO, in the order the
// tables stand in the file.
std::span<const IfoPointerField> IfoPointerFields(IfoKind kind);

// One part of a split IFO: a table from its sector up to the next table or
// the end of the file.
struct IfoPart {
    std::int64_t Pointer = 0;  // header byte naming the part; 0 for the management table
    std::string Table;         // "VMGI_MAT", "VTSI_MAT" or the table's DVD name
    std::int64_t Sector = 0;
    std::int64_t Sectors = 0;
};

struct IfoLayout {
    IfoKind Kind = IfoKind::Vmg;
    std::vector<IfoPart> Parts;  // the management table first, then each set pointer's table in disc order

    // The part the header field names; none when the field holds 0.
    const IfoPart* Part(std::int64_t pointer) const;
};

// The IFO's parts. The kind comes from the identifier at byte 0. Throws
// the reader's Error, naming the file, the table, and the byte of its
// pointer, for a file of no whole number of sectors, a pointer at or past
// the end of the file, or a table that does not stand behind the one before
// it; a pointer that holds 0 names no part.
IfoLayout SplitIfo(const ByteSource& ifo);

// The bytes of one part.
std::span<const std::uint8_t> PartBytes(const ByteSource& ifo, const IfoPart& part);

// The sectors `bytes` bytes fill, the last one perhaps in part.
std::int64_t SectorsOf(std::int64_t bytes);
// Zeros up to the end of the last sector.
void PadToSectors(std::vector<std::uint8_t>& bytes);

// One table of an IFO being joined, and the header field that points at it.
struct IfoBlock {
    std::int64_t Pointer = 0;  // 0 for the management table, which comes first
    std::vector<std::uint8_t> Bytes;
};

// The blocks one after the other, each padded to whole sectors, with each
// pointer of the kind set to its block's first sector, or to 0 when no
// block is given for it. The first block is the management table (it
// carries the header); the others must follow in disc order and hold
// bytes. Throws Error naming the file otherwise.
std::vector<std::uint8_t> JoinIfo(const std::string& fileName, IfoKind kind, std::vector<IfoBlock> blocks);

// Writes the IFO and then its .BUP (the same name with ".BUP"), each as a
// new file renamed into place: a failure leaves each old file whole.
void WriteIfoFiles(const platform::FileSystem& files, const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace kestrova
