// The menu tables a patcher rebuilds, read and written as bytes: PGCI_UT
// (the language units with their PGCs), C_ADT (the cell address table) and
// VOBU_ADMAP (the VOBU address map). A read checks every count and offset
// against the table's own end address and that address against the part of
// the file the table may fill; a write sets each end address to the table's
// last byte, as libdvdread reads it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dvd/ifo_pgc.h"
#include "dvd/ifo_table.h"

namespace kestrova {

inline constexpr std::int64_t kPgciUtHeadSize = 8;
inline constexpr std::int64_t kLanguageUnitEntrySize = 8;
inline constexpr std::int64_t kC_ADTHeadSize = 8;
inline constexpr std::int64_t kCellAddressSize = 12;
inline constexpr std::int64_t kVOBU_ADMAPHeadSize = 4;

// One PGC of a language unit, where it stands and what its header counts.
struct MenuPgc {
    std::uint32_t Category = 0;  // the search entry's four bytes
    std::int64_t Offset = 0;     // from the unit's start
    PGCI Pgc;                    // the cell tables' offsets are from the PGC's start
};

// One language unit (PGCI_LU) with its bytes, which hold the offsets of its
// PGCs from its own start and so move as a block.
struct PGCI_LU {
    std::string Code;  // the two bytes of the language code as characters
    std::uint8_t CodeExtension = 0;
    std::uint8_t MenuExistence = 0;  // which menu types the unit has
    std::int64_t Offset = 0;         // from the table's start
    std::vector<std::uint8_t> Bytes;  // the unit, up to its last byte
    std::vector<MenuPgc> Pgcs;
};

struct PGCI_UT {
    std::int64_t Length = 0;  // the end address + 1
    std::vector<PGCI_LU> Units;
};

// Reads the table at the start of `table`, which may fill `limit` bytes.
// Throws the reader's Error naming the file, the table and the byte for an
// end address past the limit, no language unit, a unit or PGC whose offset
// or length runs outside its table, or a PGC that ReadPGCI refuses.
PGCI_UT ReadPGCI_UT(const IfoTable& table, std::int64_t limit);

// A table of the units in order, each unit's bytes as they are, its head
// and entries before them.
std::vector<std::uint8_t> WritePGCI_UT(std::span<const PGCI_LU> units);

// One row of C_ADT (12 bytes).
struct CellAddress {
    std::uint16_t VobId = 0;
    std::uint8_t CellId = 0;
    std::uint32_t FirstSector = 0;
    std::uint32_t LastSector = 0;
};

struct C_ADT {
    std::uint16_t VobCount = 0;
    std::vector<CellAddress> Cells;
};

// Throws for an end address past `limit` or one that does not close a
// whole number of rows.
C_ADT ReadC_ADT(const IfoTable& table, std::int64_t limit);
std::vector<std::uint8_t> WriteC_ADT(const C_ADT& table);

// The first sector of each VOBU. Throws for an end address past `limit` or
// one that does not close a whole number of entries.
std::vector<std::uint32_t> ReadVOBU_ADMAP(const IfoTable& table, std::int64_t limit);
std::vector<std::uint8_t> WriteVOBU_ADMAP(std::span<const std::uint32_t> sectors);

}  // namespace kestrova
